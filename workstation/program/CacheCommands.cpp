// cache info|remove: the project's files on this workstation.
#include <CLI/CLI.hpp>
#include <memory>

#include "platform/Text.h"
#include "workstation/Session.h"
#include "workstation/program/CacheContent.h"
#include "workstation/program/CacheTrash.h"
#include "workstation/program/Commands.h"
#include "workstation/program/Context.h"
#include "workstation/program/LeavingProject.h"
#include "workstation/program/Saving.h"

namespace workstation::program {

namespace {

std::vector<Field> fieldsOf(const std::wstring& project, const CacheContent& content) {
  return {{"project", project},
          {"directory", shownDirectory(content)},
          {"files", static_cast<std::int64_t>(content.files)},
          {"bytes", static_cast<std::int64_t>(content.bytes)},
          {"complete", content.isWhole},
          {"unsent", static_cast<std::int64_t>(content.unsent.size())}};
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
  const bool isInTrash = dryRun || takeAway(left.uuid, content, options.permanently);
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
