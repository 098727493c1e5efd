// cache info|remove: the project's files on this workstation.
#include <CLI/CLI.hpp>
#include <algorithm>
#include <filesystem>
#include <memory>
#include <system_error>

#include "host/Project.h"
#include "platform/CheckedRemoval.h"
#include "platform/Files.h"
#include "platform/Paths.h"
#include "platform/Text.h"
#include "workstation/Session.h"
#include "workstation/program/CacheContent.h"
#include "workstation/program/Commands.h"
#include "workstation/program/Context.h"
#include "workstation/program/LeavingProject.h"
#include "workstation/program/ProjectRecord.h"
#include "workstation/program/Saving.h"
#include "zephor/NotUploadedFiles.h"

namespace workstation::program {

namespace {

std::wstring shownDirectory(const CacheContent& content) {
  return platform::fromUtf8(platform::systemPath(content.directory));
}

std::vector<Field> fieldsOf(const std::wstring& project, const CacheContent& content) {
  return {{"project", project},
          {"directory", shownDirectory(content)},
          {"files", static_cast<std::int64_t>(content.files)},
          {"bytes", static_cast<std::int64_t>(content.bytes)},
          {"complete", content.isWhole},
          {"unsent", static_cast<std::int64_t>(content.unsent.size())}};
}

void reportUnsent(const Context& context, const CacheContent& content) {
  const bool tellsAll = context.output().json() || context.options().verbosity > 0;
  for (const auto& unsent : content.unsent) {
    if (tellsAll || !unsent.isBackup) report(context, unsent.item, L"not sent", unsent.reason);
  }
  if (!tellsAll && content.backups > 0)
    context.output().message(counted(content.backups, L"backup copy", L"backup copies") + L" (-v names them)");
}

void tellWithoutStore(Context& context, const LeftProject& left) {
  if (left.hasStore) return;
  context.output().error(L"zephor: the store does not tell what it has of the project (" + left.whyNot +
                         L"); what can't be told counts as not sent");
}

ExitCode info(Context& context) {
  const LeftProject left = openToLeave(context, wide(context.options().project));
  tellWithoutStore(context, left);
  const CacheContent content = readCache(context, left.hasStore);
  const std::wstring text =
      platform::formatWide(L"%s: %s, %s, %s, %s", left.name, shownDirectory(content),
                           counted(content.files, L"file", L"files"), counted(content.bytes, L"byte", L"bytes"),
                           content.isWhole ? L"complete" : L"not complete; zephor sync brings the rest");
  context.output().result(text, fieldsOf(left.name, content));
  reportUnsent(context, content);
  return ExitCode::Done;
}

struct RemoveOptions {
  bool force = false;
  bool keepLocks = false;
  bool permanently = false;
};

/// A link would go to the trash, and all that it leads to stay.
void refuseLink(const CacheContent& content) {
  std::error_code error;
  const auto path = platform::systemPath(content.directory);
  if (std::filesystem::is_symlink(path, error) || error) {
    throw CommandFailure{ExitCode::Failure,
                         shownDirectory(content) + L" is a link; take away yourself what it leads to, then the link"};
  }
}

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

/// What is remembered goes first: what a broken run leaves of the directory must not look as if the rest was deleted by
/// the user.
/// @return true when it is in the trash, false when it was deleted for good
bool takeAway(const LeftProject& left, const CacheContent& content, bool permanently) {
  closeProject();
  resetNotUploadedFilesList();
  RecordsSetAside records(left.uuid);
  platform::TrashFailure failure;
  const DWORD notTrashed = platform::moveToTrash(content.directory, &failure);
  if (notTrashed == ERROR_SUCCESS) {
    records.forget();
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
  return false;
}

void giveLocksBack(Context& context, const LeftProject& left, bool keepLocks) {
  for (const ObjectLock& lock : left.locks) {
    if (keepLocks) {
      report(context, nameOf(lock), L"stays locked", L"");
    } else if (context.options().dryRun) {
      report(context, nameOf(lock), L"would be unlocked", L"");
    } else {
      const CloudStatus status = context.store().unlockObject(context.actor(), left.uuid, lock.objectType, lock.number);
      report(context, nameOf(lock), status == kStoreOk ? L"unlocked" : L"could not be unlocked",
             status == kStoreOk ? L"" : CloudStore::lastText());
    }
  }
}

ExitCode remove(Context& context, const RemoveOptions& options) {
  const LeftProject left = openToLeave(context, wide(context.options().project));
  const ProjectGuard guard = context.guardProject();
  std::wstring error;
  const std::shared_ptr<void> alone = takeProjectAlone(error);
  if (alone == nullptr) throw CommandFailure{ExitCode::Failure, error};
  tellWithoutStore(context, left);
  const CacheContent content = readCache(context, left.hasStore);
  refuseLink(content);
  reportUnsent(context, content);
  // Copies that were kept go to the trash with the rest, where whoever misses one finds it.
  const bool onlyBackups = content.unsent.size() == content.backups && !options.permanently;
  if (!content.unsent.empty() && !onlyBackups && !options.force) {
    throw CommandFailure{
        ExitCode::Failure,
        L"the store does not have all that is here. Send it: zephor sync, or take it to the trash with "
        L"the rest: zephor cache remove --force"};
  }
  const bool dryRun = context.options().dryRun;
  const bool isInTrash = dryRun || takeAway(left, content, options.permanently);
  if (!dryRun && !forgetProject(left.uuid, error)) context.output().error(L"zephor: " + error);
  giveLocksBack(context, left, options.keepLocks);
  const std::wstring outcome = dryRun      ? L"would be moved to the trash"
                               : isInTrash ? L"moved to the trash"
                                           : L"deleted for good";
  std::vector<Field> fields = fieldsOf(left.name, content);
  fields.emplace_back("outcome", outcome);
  context.output().result(shownDirectory(content) + L": " + outcome + L", " + counted(content.files, L"file", L"files"),
                          fields);
  return ExitCode::Done;
}

}  // namespace

void addCacheCommands(CLI::App& app, Action& selected) {
  auto* cache = app.add_subcommand("cache", "The project's files on this workstation")->require_subcommand(1);
  cache->add_subcommand("info", "Tell what is here, and what of it the store does not have")->callback([&selected] {
    selected = info;
  });
  auto* removeCommand =
      cache->add_subcommand("remove", "Take the project's directory to the trash; the store keeps what it has");
  auto options = std::make_shared<RemoveOptions>();
  removeCommand->add_flag("--force", options->force, "Also what the store does not have");
  removeCommand->add_flag("--keep-locks", options->keepLocks, "Do not give this user's locks back");
  removeCommand->add_flag("--permanently", options->permanently, "Delete for good where the trash does not take it");
  removeCommand->callback(
      [&selected, options] { selected = [options](Context& context) { return remove(context, *options); }; });
}

}  // namespace workstation::program
