// open: a project becomes the one that commands work in, and its files come to a workstation that never had them.
#include <CLI/CLI.hpp>
#include <chrono>
#include <memory>

#include "host/Project.h"
#include "platform/Paths.h"
#include "platform/Text.h"
#include "workstation/Session.h"
#include "workstation/program/CacheContent.h"
#include "workstation/program/Commands.h"
#include "workstation/program/Context.h"
#include "workstation/program/People.h"
#include "workstation/program/ProjectComparison.h"

namespace workstation::program {

namespace {

std::wstring loadedText(const LoadedFiles& loaded, double seconds) {
  constexpr double kMegabyte = 1e6;
  if (loaded.files == 0) return {};
  return L": " + counted(loaded.files, L"file", L"files") +
         platform::formatWide(L", %.1f MB, in %.1f s", static_cast<double>(loaded.bytes) / kMegabyte, seconds);
}

/// Looks the project up and counts what would come; nothing is made.
ExitCode tellOpening(Context& context, const std::wstring& name, bool loads) {
  std::wstring uuid;
  std::wstring error;
  if (!findProjectUuid(name, uuid, error)) throw CommandFailure{ExitCode::Failure, error};
  std::vector<Field> fields{{"project", name}, {"uuid", uuid}};
  std::wstring text = L"would open " + name;
  std::wstring unknown;
  const bool isHere = openCache(uuid, unknown);
  const bool isWhole = isHere && isCacheWhole(uuid, get_ActivePrj().GetFullProjectPath(true));
  if (loads && !isWhole) {
    std::vector<StoredFile> files;
    check(context.store().files(context.actor(), uuid, kAllClasses, files));
    text += isHere ? L"; what is missing here of " : L"; ";
    text += counted(files.size(), L"file", L"files") + L" would come";
    fields.emplace_back("files", static_cast<std::int64_t>(files.size()));
  }
  context.output().result(text, fields);
  return ExitCode::Done;
}

ExitCode open(Context& context, const std::wstring& name, bool loads) {
  context.startOnline();
  if (context.options().dryRun) return tellOpening(context, name, loads);
  std::wstring error;
  if (!openProject(name, error)) throw CommandFailure{ExitCode::Failure, error};
  const PRJ project = get_ActivePrj();
  const std::wstring directory = platform::fromUtf8(platform::systemPath(project.GetFullProjectPath(true)));
  std::wstring text = L"opened " + project.GetProjectDisplayName() + L" in " + directory;
  std::vector<Field> fields{{"project", project.GetProjectDisplayName()},
                            {"uuid", project.GetOndrathProjectUuid()},
                            {"directory", directory}};
  const auto isLoaded = [&] { return isCacheWhole(project.GetOndrathProjectUuid(), project.GetFullProjectPath(true)); };
  bool isWhole = isLoaded();
  LoadedFiles loaded;
  std::size_t rescued = 0;
  if (!isWhole && loads) {
    Context::enterProject();
    const ProjectGuard guard = context.guardProject();
    const auto start = std::chrono::steady_clock::now();
    rescued = rescueLeftovers(context);
    const bool hasLoaded = loadFreshCache(context, &loaded);
    const std::chrono::duration<double> seconds = std::chrono::steady_clock::now() - start;
    isWhole = isLoaded();
    if (hasLoaded) {
      text += loadedText(loaded, seconds.count());
      fields.emplace_back("files", static_cast<std::int64_t>(loaded.files));
      fields.emplace_back("bytes", static_cast<std::int64_t>(loaded.bytes));
    }
  }
  fields.emplace_back("complete", isWhole);
  context.output().result(text, fields);
  if (!isWhole) {
    context.output().message(loads ? L"not everything came; zephor sync brings the rest"
                                   : L"the project's files are not here yet; zephor sync brings them");
  }
  if (loaded.left != 0) {
    context.output().message(counted(loaded.left, L"file here differs", L"files here differ") +
                             L" from the store's and stays as it is; zephor sync tells of it");
  }
  return rescued == 0 ? ExitCode::Done : ExitCode::PartlyDone;
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
