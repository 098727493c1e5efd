#include "workstation/program/CacheContent.h"

#include <algorithm>
#include <filesystem>
#include <map>
#include <memory>
#include <set>

#include "host/FileTypes.h"
#include "host/Project.h"
#include "platform/Files.h"
#include "platform/Paths.h"
#include "platform/Text.h"
#include "platform/Time.h"
#include "workstation/objects/LockNames.h"
#include "workstation/program/Context.h"
#include "workstation/program/Objects.h"
#include "workstation/program/People.h"
#include "workstation/program/ProjectComparison.h"
#include "workstation/program/SyncBase.h"
#include "workstation/store/CacheRecord.h"
#include "workstation/store/CloudStore.h"
#include "zephor/NotUploadedFiles.h"

namespace workstation::program {

namespace {

namespace fs = std::filesystem;

using Stored = std::map<std::wstring, StoredFile>;  // by name in lower case

bool hasHexNumber(std::wstring_view lowerName, std::size_t begin) {
  constexpr std::size_t kDigits = 16;
  return lowerName.size() >= begin + kDigits &&
         lowerName.substr(begin, kDigits).find_first_not_of(L"0123456789abcdef") == std::wstring_view::npos;
}

/// What a load that was killed has left of a file that did not come whole. One with more to its name may be somebody's
/// work that was just changing places.
bool isLoadLeftover(std::wstring_view lowerBase) {
  constexpr std::size_t kLength = 21;
  return lowerBase.size() == kLength && lowerBase.starts_with(L'~') && lowerBase.ends_with(L".tmp") &&
         hasHexNumber(lowerBase, 1);
}

/// What a killed write of a whole file has left beside it.
bool isWriteLeftover(std::wstring_view lowerBase) {
  constexpr std::size_t kEnding = 21;  // ".", the number and ".tmp"
  return lowerBase.size() > kEnding && lowerBase.starts_with(L'.') && lowerBase.ends_with(L".tmp") &&
         hasHexNumber(lowerBase, lowerBase.size() - kEnding + 1);
}

std::wstring_view baseOf(std::wstring_view name) {
  return name.substr(name.rfind(L'\\') + 1);
}

bool isObjectFile(const std::wstring& name) {
  QuorvelFileType type = eFileType_Unknown;
  int number = 0;
  return GetTypeFromFilePathName(name, type, number) &&
         (type == eFileType_Teilbild || type == eFileType_Plan || type == eFileType_Zeichnung);
}

bool isBackup(const std::wstring& lowerName) {
  return lowerName.starts_with(L"backup\\") || lowerName.find(L"\\backup\\") != std::wstring::npos;
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
    case ObjectState::OlderInStore:
    case ObjectState::OnlyHere:
      return stateName(view.state);
    default:
      return {};
  }
}

/// Why an object counts as unsent by what this workstation remembers.
std::wstring reasonAlone(const std::wstring& name, const SyncBase& bases) {
  const ItemView view = readLocal(itemOfFile(name));
  const auto base = bases.get(view.fileName);
  return view.here && base && *view.here == base->here ? L"" : L"can't be compared with the store";
}

/// Walks over the files of the open project.
class CacheReader {
 public:
  CacheReader(Context& context, bool withStore, CacheContent& content)
      : withStore_(withStore),
        content_(content),
        project_(get_ActivePrj().GetOndrathProjectUuid()),
        record_(CacheRecord::of(project_, content.directory)),
        bases_(project_) {
    content.isWhole = isCacheWhole(project_, content.directory);
    if (!withStore) return;
    for (const ItemView& view : readObjects()) {
      objects_.insert(platform::toLower(view.fileName));
      note(view.label(), reasonOf(view));
    }
    std::vector<StoredFile> listed;
    check(context.store().files(context.actor(), project_, kAllClasses, listed));
    for (StoredFile& file : listed) stored_.emplace(platform::toLower(file.name), std::move(file));
  }

  void read() {
    const fs::path root = platform::systemPath(content_.directory);
    std::error_code error;
    fs::recursive_directory_iterator entry(root, error);
    for (; !error && entry != fs::recursive_directory_iterator(); entry.increment(error)) {
      std::error_code unknown;
      if (entry->symlink_status(unknown).type() == fs::file_type::directory) continue;
      const std::string relative = entry->path().lexically_relative(root).generic_string();
      const std::wstring name = nameInCache(relative);
      if (isLoadLeftover(platform::toLower(baseOf(name)))) continue;
      // Before it is looked at, so that what is written from now on tells.
      const auto mark = platform::markOf(entry->path().string());
      if (mark && !isOwnInCache(name)) content_.marks.insert_or_assign(relative, *mark);
      if (!entry->is_regular_file(unknown)) {
        note(name, entry->is_symlink(unknown) ? L"is a link; not sent" : L"is no file; not sent");
        continue;
      }
      const platform::FileStatus status = platform::fileStatus(platform::joinPath(content_.directory, name));
      ++content_.files;
      content_.bytes += status.size;
      const FileContent here{
          static_cast<std::int64_t>(status.size), static_cast<std::int64_t>(platform::toTicks(status.writeTime)), {}};
      const bool isCopy = isBackup(platform::toLower(name));
      content_.backups += isCopy ? 1 : 0;
      note(name, isCopy ? L"is a backup copy" : reasonOfFile(name, here), isCopy);
    }
    if (error) {
      throw CommandFailure{ExitCode::Failure,
                           content_.directory + L" can't be read: " + platform::fromUtf8(error.message())};
    }
  }

 private:
  void note(const std::wstring& item, const std::wstring& reason, bool isBackup = false) {
    if (!reason.empty()) content_.unsent.push_back({item, reason, isBackup});
  }

  std::wstring reasonOfFile(const std::wstring& name, const FileContent& here) {
    const std::wstring lower = platform::toLower(name);
    if (isOwnInCache(name)) return {};
    if (!names_.insert(lower).second) return L"differs only in letter case from another one here";
    // The objects proper lie in the project's own directory; they are read with their headers.
    if (objects_.contains(lower)) return {};
    const bool isObject = name.find(L'\\') == std::wstring::npos && isObjectFile(name);
    if (isObject && !withStore_) return reasonAlone(name, bases_);
    const std::wstring reason = reasonOf(name, here, stored_, record_.get());
    return reason.empty() || withStore_ ? reason : L"can't be compared with the store";
  }

  bool withStore_;
  CacheContent& content_;
  std::wstring project_;
  std::unique_ptr<CacheRecord> record_;
  SyncBase bases_;
  Stored stored_;
  std::set<std::wstring> objects_;  // that were looked at; in lower case
  std::set<std::wstring> names_;    // that the walk has met; in lower case
};

}  // namespace

bool isCacheWhole(const std::wstring& projectUuid, const std::wstring& directory) {
  const auto record = CacheRecord::of(projectUuid, directory);
  return record != nullptr && record->isWhole();
}

std::wstring counted(std::uint64_t number, const wchar_t* one, const wchar_t* many) {
  return std::to_wstring(number) + L' ' + (number == 1 ? one : many);
}

std::wstring nameInCache(const std::string& relativePath) {
  std::wstring name = platform::fromUtf8(relativePath);
  std::replace(name.begin(), name.end(), L'/', L'\\');
  return name;
}

bool isOwnInCache(const std::wstring& name) {
  const std::wstring lower = platform::toLower(name);
  for (const wchar_t* const prefix :
       {L"quorvelprojectdb", L"notuploadedfiles.", L"project1.dat.xml", L"ondrathbackgroundservice.log.xml"}) {
    if (lower.starts_with(prefix)) return true;
  }
  // The library makes the first two of them for itself wherever a project is entered.
  for (const wchar_t* const own : {L"net\\data.cfg", L"ondrathcopy.tmp", L"net\\user.cfg", L"wgo_syncfilter.xml"}) {
    if (lower == own) return true;
  }
  const std::wstring_view base = baseOf(lower);
  return isLoadLeftover(base) || isWriteLeftover(base) || parseLockName(base).has_value() ||
         (lower.starts_with(L"wgo_syncfilter.xml.") && lower.ends_with(L".part"));
}

CacheContent readCache(Context& context, bool withStore) {
  CacheContent content;
  content.directory = get_ActPrjPath();
  std::vector<std::wstring> waiting;
  getNotUploadedFilesList(waiting);
  CacheReader(context, withStore, content).read();
  return content;
}

}  // namespace workstation::program
