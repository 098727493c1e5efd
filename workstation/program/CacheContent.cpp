#include "workstation/program/CacheContent.h"

#include <filesystem>
#include <map>

#include "host/FileTypes.h"
#include "host/Project.h"
#include "platform/Files.h"
#include "platform/Paths.h"
#include "platform/Text.h"
#include "platform/Time.h"
#include "workstation/program/Context.h"
#include "workstation/program/Objects.h"
#include "workstation/program/People.h"
#include "workstation/store/CacheRecord.h"
#include "workstation/store/CloudStore.h"
#include "zephor/NotUploadedFiles.h"
#include "zephor/UploadFilters.h"

namespace workstation::program {

namespace {

namespace fs = std::filesystem;

using Stored = std::map<std::wstring, StoredFile>;  // by name in lower case

/// True for what another workstation makes for itself.
bool isOwnFile(const Quorvel::FileAccess::WGO_FileFilter& filter, const std::wstring& name) {
  return isPrivateFile(name) || platform::equalsIgnoreCase(name, L"Net\\user.cfg") ||
         filter.IsFileOrDirectoryExcluded(name.c_str());
}

bool isObjectFile(const std::wstring& name) {
  QuorvelFileType type = eFileType_Unknown;
  int number = 0;
  return GetTypeFromFilePathName(name, type, number) &&
         (type == eFileType_Teilbild || type == eFileType_Plan || type == eFileType_Zeichnung);
}

/// Why a file other than an object counts as unsent; empty when it does not.
std::wstring reasonOf(const std::wstring& name, const FileContent& here, const Stored& stored, CacheRecord* record) {
  const auto found = stored.find(platform::toLower(name));
  if (found != stored.end() && here.looksLike(contentOf(found->second))) return {};
  const SeenFile* seen = record != nullptr ? record->find(name) : nullptr;
  const bool isOld = seen != nullptr && (seen->settled.looksLike(here) || seen->announced.looksLike(here));
  if (isOld) return {};
  return found != stored.end() ? L"differs from the store's" : L"is only here";
}

std::wstring reasonOf(const ItemView& view) {
  if (view.damagedHere) return L"can't be read";
  if (existsEntryInNotUploadedFilesList(view.fileName.c_str())) return L"could not be sent";
  switch (view.state) {
    case ObjectState::ChangedHere:
    case ObjectState::ChangedOnBoth:
    case ObjectState::OnlyHere:
      return stateName(view.state);
    default:
      return {};
  }
}

void readFiles(Context& context, const std::wstring& project, CacheContent& content) {
  std::vector<StoredFile> listed;
  check(context.store().files(context.actor(), project, kAllClasses, listed));
  Stored stored;
  for (StoredFile& file : listed) stored.emplace(platform::toLower(file.name), std::move(file));
  const auto record = CacheRecord::of(project, content.directory);
  content.isWhole = record != nullptr && record->isWhole();
  Quorvel::FileAccess::WGO_FileFilter filter;
  Quorvel::FileAccess::WGO_GetPrjCopyUploadFilter(filter);
  const fs::path root = platform::systemPath(content.directory);
  std::error_code error;
  fs::recursive_directory_iterator entry(root, error);
  for (; !error && entry != fs::recursive_directory_iterator(); entry.increment(error)) {
    if (!entry->is_regular_file(error)) continue;
    std::wstring name = platform::fromUtf8(entry->path().lexically_relative(root).generic_string());
    for (wchar_t& c : name) c = c == L'/' ? L'\\' : c;
    const platform::FileStatus status = platform::fileStatus(platform::joinPath(content.directory, name));
    ++content.files;
    content.bytes += status.size;
    // The objects proper lie in the project's own directory; they are read with their headers.
    if ((name.find(L'\\') == std::wstring::npos && isObjectFile(name)) || isOwnFile(filter, name)) continue;
    const FileContent here{
        static_cast<std::int64_t>(status.size), static_cast<std::int64_t>(platform::toTicks(status.writeTime)), {}};
    const std::wstring reason = reasonOf(name, here, stored, record.get());
    if (!reason.empty()) content.unsent.push_back({name, reason});
  }
  if (error) {
    throw CommandFailure{ExitCode::Failure,
                         content.directory + L" can't be read: " + platform::fromUtf8(error.message())};
  }
}

}  // namespace

CacheContent readCache(Context& context) {
  CacheContent content;
  content.directory = get_ActPrjPath();
  std::vector<std::wstring> waiting;
  getNotUploadedFilesList(waiting);
  for (const ItemView& view : readObjects()) {
    const std::wstring reason = reasonOf(view);
    if (!reason.empty()) content.unsent.push_back({view.label(), reason});
  }
  readFiles(context, get_ActivePrj().GetOndrathProjectUuid(), content);
  return content;
}

}  // namespace workstation::program
