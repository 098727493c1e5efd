// cache info|remove: the project's files on this workstation.
#include <CLI/CLI.hpp>
#include <filesystem>
#include <memory>

#include "host/Project.h"
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
  for (const auto& unsent : content.unsent) report(context, unsent.item, L"not sent", unsent.reason);
}

ExitCode info(Context& context) {
  context.startInProject();
  const CacheContent content = readCache(context);
  const std::wstring text = platform::formatWide(
      L"%s: %s, %d files, %d bytes, %s", get_ActivePrj().GetProjectDisplayName(), shownDirectory(content),
      static_cast<long long>(content.files), static_cast<long long>(content.bytes),
      content.isWhole ? L"complete" : L"not complete; the next load brings everything");
  context.output().result(text, fieldsOf(get_ActivePrj().GetProjectDisplayName(), content));
  reportUnsent(context, content);
  return ExitCode::Done;
}

struct RemoveOptions {
  bool force = false;
  bool keepLocks = false;
  bool permanently = false;
};

std::uint64_t countFiles(const std::wstring& directory) {
  namespace fs = std::filesystem;
  std::uint64_t count = 0;
  std::error_code error;
  fs::recursive_directory_iterator entry(platform::systemPath(directory), error);
  for (; !error && entry != fs::recursive_directory_iterator(); entry.increment(error)) {
    if (entry->is_regular_file()) ++count;
  }
  return error ? 0 : count;
}

/// A link would go to the trash, and all that it leads to stay.
void refuseLink(const CacheContent& content) {
  std::error_code error;
  const auto path = platform::systemPath(content.directory);
  if (std::filesystem::is_symlink(path, error) || error) {
    throw CommandFailure{ExitCode::Failure,
                         shownDirectory(content) + L" is a link; take away yourself what it leads to, then the link"};
  }
}

/// What is remembered goes first: what a broken run leaves of the directory must not look as if the rest was deleted by
/// the user.
/// @return true when it is in the trash, false when it was deleted for good
bool takeAway(const LeftProject& left, const CacheContent& content, bool permanently) {
  closeProject();
  resetNotUploadedFilesList();
  RecordsSetAside records(left.uuid);
  const DWORD notTrashed = platform::moveToTrash(content.directory);
  if (notTrashed == ERROR_SUCCESS) {
    records.forget();
    return true;
  }
  const std::wstring where = shownDirectory(content);
  if (notTrashed == ERROR_SHARING_VIOLATION)
    throw CommandFailure{ExitCode::Failure, L"a file in " + where + L" is open in another program; close it first"};
  const bool isWhole = countFiles(content.directory) == content.files;
  if (!isWhole || permanently) records.forget();
  if (!permanently) {
    throw CommandFailure{
        ExitCode::Failure,
        platform::formatWide(L"%s %s (error %u); with --permanently it is deleted for good where there is no trash",
                             where,
                             isWhole ? L"can't be moved to the trash, and stays"
                                     : L"is in the trash, but not all of it could be removed",
                             notTrashed)};
  }
  if (const DWORD error = platform::removeTree(content.directory))
    throw CommandFailure{ExitCode::Failure, platform::formatWide(L"%s can't be deleted (error %u)", where, error)};
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
  if (!left.hasStore) {
    context.output().error(L"zephor: the store does not tell what it has of the project (" + left.whyNot +
                           L"); what can't be told counts as not sent");
  }
  const CacheContent content = readCache(context, left.hasStore);
  refuseLink(content);
  reportUnsent(context, content);
  if (!content.unsent.empty() && !options.force) {
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
  context.output().result(platform::formatWide(L"%s: %s, %d files", shownDirectory(content), outcome,
                                               static_cast<long long>(content.files)),
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
