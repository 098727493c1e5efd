#include "workstation/program/CacheTrash.h"

#include <algorithm>
#include <filesystem>
#include <system_error>

#include "platform/CheckedRemoval.h"
#include "platform/Files.h"
#include "platform/Paths.h"
#include "platform/Text.h"
#include "workstation/Session.h"
#include "workstation/program/CacheContent.h"
#include "workstation/program/Context.h"
#include "workstation/program/ProjectRecord.h"
#include "workstation/program/Saving.h"
#include "zephor/NotUploadedFiles.h"

namespace workstation::program {

namespace {

[[noreturn]] void tellWhatStays(const std::wstring& begin, const std::string& directory,
                                const std::vector<std::string>& left) {
  constexpr std::size_t kTold = 10;
  std::wstring text = begin + L"; in " + platform::fromUtf8(directory) + L" stays";
  for (std::size_t i = 0; i < std::min(left.size(), kTold); ++i) text += L"\n  " + platform::fromUtf8(left[i]);
  if (left.size() > kTold) text += platform::formatWide(L"\n  and %d more", left.size() - kTold);
  throw CommandFailure{ExitCode::Failure, text};
}

[[noreturn]] void tellWhyNotTrashed(const CacheContent& content, const platform::TrashFailure& failure, DWORD code) {
  const std::wstring where = shownDirectory(content);
  if (failure.isInTrash) {
    tellWhatStays(
        where + L" is in the trash, but not all of it could be removed (" + platform::fromUtf8(failure.reason) + L")",
        failure.place, failure.left);
  }
  const bool isOpen = code == ERROR_SHARING_VIOLATION && failure.trash.empty();
  if (isOpen)
    throw CommandFailure{ExitCode::Failure, L"a file in " + where + L" is open in another program; close it first"};
  const bool isAside = !failure.place.empty() && failure.place != platform::systemPath(content.directory);
  throw CommandFailure{ExitCode::Failure,
                       platform::formatWide(L"%s can't be moved to the trash %s, and stays%s: %s; with --permanently "
                                            L"it is deleted for good where there is no trash",
                                            where, platform::fromUtf8(failure.trash),
                                            isAside ? L" as " + platform::fromUtf8(failure.place) : std::wstring(),
                                            platform::fromUtf8(failure.reason))};
}

/// What the library keeps beside the directory of the files in it.
void removeRecord(const std::wstring& projectUuid, const CacheContent& content) {
  DeleteFileW(platform::joinPath(platform::directoryOf(content.directory), projectUuid + L".files").c_str());
}

}  // namespace

std::wstring shownDirectory(const CacheContent& content) {
  return platform::fromUtf8(platform::systemPath(content.directory));
}

void reportUnsent(const Context& context, const CacheContent& content) {
  const bool tellsAll = context.output().json() || context.options().verbosity > 0;
  for (const auto& unsent : content.unsent) {
    if (tellsAll || !unsent.isBackup) report(context, unsent.item, L"not sent", unsent.reason);
  }
  if (!tellsAll && content.backups > 0)
    context.output().message(counted(content.backups, L"backup copy", L"backup copies") + L" (-v names them)");
}

void refuseLink(const CacheContent& content) {
  std::error_code error;
  const auto path = platform::systemPath(content.directory);
  if (std::filesystem::is_symlink(path, error) || error) {
    throw CommandFailure{ExitCode::Failure,
                         shownDirectory(content) + L" is a link; take away yourself what it leads to, then the link"};
  }
}

bool takeAway(const std::wstring& projectUuid, const CacheContent& content, bool permanently) {
  closeProject();
  resetNotUploadedFilesList();
  RecordsSetAside records(projectUuid);
  platform::TrashFailure failure;
  const DWORD notTrashed = platform::moveToTrash(content.directory, &failure);
  if (notTrashed == ERROR_SUCCESS) {
    records.forget();
    removeRecord(projectUuid, content);
    return true;
  }
  const bool isDeleted = permanently && !failure.isInTrash && notTrashed != ERROR_SHARING_VIOLATION;
  if (failure.isInTrash || isDeleted) records.forget();
  if (!isDeleted) tellWhyNotTrashed(content, failure, notTrashed);
  const std::string directory = platform::systemPath(content.directory);
  const platform::RemovalResult removal =
      platform::removeChecked(directory, [&](const std::string& name, const platform::EntryMark& mark) {
        const auto counted = content.marks.find(name);
        return counted == content.marks.end() ? isOwnInCache(nameInCache(name)) : counted->second == mark;
      });
  if (removal.error != 0) {
    tellWhatStays(platform::formatWide(L"%s can't be deleted whole (%s)", shownDirectory(content),
                                       platform::fromUtf8(std::generic_category().message(removal.error))),
                  directory, removal.left);
  }
  removeRecord(projectUuid, content);
  return false;
}

}  // namespace workstation::program
