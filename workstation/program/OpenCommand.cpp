// open: a project becomes the one that commands work in, and its files come to a workstation that never had them.
#include <CLI/CLI.hpp>
#include <chrono>
#include <memory>

#include "host/Project.h"
#include "platform/Paths.h"
#include "platform/Text.h"
#include "workstation/Session.h"
#include "workstation/program/Commands.h"
#include "workstation/program/Context.h"
#include "workstation/program/ProjectComparison.h"

namespace workstation::program {

namespace {

bool isCacheWhole(const PRJ& project) {
  const auto record = CacheRecord::of(project.GetOndrathProjectUuid(), project.GetFullProjectPath(true));
  return record != nullptr && record->isWhole() && !isLoadUnfinished(project.GetOndrathProjectUuid());
}

ExitCode open(Context& context, const std::wstring& name, bool loads) {
  context.startOnline();
  if (context.options().dryRun) {
    context.output().result(L"would open " + name, {{"project", name}});
    return ExitCode::Done;
  }
  std::wstring error;
  if (!openProject(name, error)) throw CommandFailure{ExitCode::Failure, error};
  const PRJ project = get_ActivePrj();
  const std::wstring directory = platform::fromUtf8(platform::systemPath(project.GetFullProjectPath(true)));
  std::wstring text = L"opened " + project.GetProjectDisplayName() + L" in " + directory;
  std::vector<Field> fields{{"project", project.GetProjectDisplayName()},
                            {"uuid", project.GetOndrathProjectUuid()},
                            {"directory", directory}};
  bool isWhole = isCacheWhole(project);
  if (!isWhole && loads) {
    Context::enterProject();
    const ProjectGuard guard = context.guardProject();
    LoadedFiles loaded;
    const auto start = std::chrono::steady_clock::now();
    const bool hasLoaded = loadFreshCache(context, &loaded);
    const std::chrono::duration<double> seconds = std::chrono::steady_clock::now() - start;
    isWhole = isCacheWhole(project);
    if (hasLoaded) {
      constexpr double kMegabyte = 1e6;
      text += platform::formatWide(L": %d files, %.1f MB, in %.1f s", loaded.files,
                                   static_cast<double>(loaded.bytes) / kMegabyte, seconds.count());
      fields.emplace_back("files", static_cast<std::int64_t>(loaded.files));
      fields.emplace_back("bytes", static_cast<std::int64_t>(loaded.bytes));
    }
  }
  fields.emplace_back("complete", isWhole);
  context.output().result(text, fields);
  if (!isWhole) {
    context.output().message(loads
                                 ? L"what is here was not all sent, so nothing was loaded; zephor sync brings the rest"
                                 : L"the project's files are not here yet; zephor sync brings them");
  }
  return ExitCode::Done;
}

}  // namespace

void addOpenCommand(CLI::App& app, Action& selected) {
  struct Arguments {
    std::string name;
    bool noLoad = false;
  };
  auto arguments = std::make_shared<Arguments>();
  auto* command =
      app.add_subcommand("open", "Open a project: this and later commands work in it; the first time its files come");
  command->add_option("PROJECT", arguments->name, "Name, team/name, or UUID")->required();
  command->add_flag("--no-load", arguments->noLoad, "Leave the files in the store");
  command->callback([&selected, arguments] {
    selected = [arguments](Context& context) { return open(context, wide(arguments->name), !arguments->noLoad); };
  });
}

}  // namespace workstation::program
