// cache info|remove: the project's files on this workstation.
#include <CLI/CLI.hpp>
#include <memory>

#include "host/Project.h"
#include "platform/Paths.h"
#include "platform/Text.h"
#include "workstation/Session.h"
#include "workstation/program/CacheContent.h"
#include "workstation/program/Commands.h"
#include "workstation/program/Context.h"
#include "workstation/program/Saving.h"
#include "zephor/NotUploadedFiles.h"
#include "zephor/ProjectCache.h"

namespace workstation::program {

namespace {

std::wstring shownDirectory(const CacheContent& content) {
  return platform::fromUtf8(platform::systemPath(content.directory));
}

std::vector<Field> fieldsOf(const PRJ& project, const CacheContent& content) {
  return {{"project", project.GetProjectDisplayName()},
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
  context.output().result(text, fieldsOf(get_ActivePrj(), content));
  reportUnsent(context, content);
  return ExitCode::Done;
}

ExitCode remove(Context& context, bool force) {
  context.startInProject();
  const ProjectGuard guard = context.guardProject();
  const PRJ project = get_ActivePrj();
  const CacheContent content = readCache(context);
  if (!content.unsent.empty() && !force) {
    reportUnsent(context, content);
    throw CommandFailure{
        ExitCode::Failure,
        L"the store does not have all that is here; save it, or take it to the trash with cache remove --force"};
  }
  const bool dryRun = context.options().dryRun;
  if (!dryRun) {
    closeProject();
    if (!Quorvel::FileAccess::WGO_deleteLocalProjectCache(project, true)) {
      throw CommandFailure{ExitCode::Failure, shownDirectory(content) + L" could not be removed"};
    }
    resetNotUploadedFilesList();
    std::wstring name;
    std::wstring error;
    if (!forgetLastProject(name, error)) context.output().error(L"zephor: " + error);
  }
  std::vector<Field> fields = fieldsOf(project, content);
  fields.emplace_back("action", std::wstring(dryRun ? L"would remove" : L"removed"));
  context.output().result(platform::formatWide(L"%s %s, %d files, to the trash", dryRun ? L"would move" : L"moved",
                                               shownDirectory(content), static_cast<long long>(content.files)),
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
      cache->add_subcommand("remove", "Take the project's directory to the trash; the store keeps all");
  auto force = std::make_shared<bool>(false);
  removeCommand->add_flag("--force", *force, "Also when the store does not have all that is here");
  removeCommand->callback(
      [&selected, force] { selected = [force](Context& context) { return remove(context, *force); }; });
}

}  // namespace workstation::program
