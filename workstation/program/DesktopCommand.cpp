// `zephor desktop`: the open project in a window.
#include <CLI/CLI.hpp>
#include <filesystem>

#include "workstation/Session.h"
#include "workstation/desktop/Desktop.h"
#include "workstation/program/Commands.h"
#include "workstation/program/Context.h"
#include "workstation/program/DesktopModule.h"
#include "workstation/ui/HostInterface.h"

namespace workstation::program {
namespace {

constexpr const char* kOwnProgram = "/proc/self/exe";

/// What each command of the window is given as the window was, whether by a flag or by the environment.
std::vector<std::string> argumentsOf(const GlobalOptions& options) {
  std::vector<std::string> arguments;
  const auto add = [&](const char* name, const std::string& value) {
    if (!value.empty()) arguments.push_back(name + ("=" + value));
  };
  add("--workstation", options.workstation);
  add("--store", options.store);
  add("--project", options.project);
  add("--language", options.language);
  if (options.dryRun) arguments.emplace_back("--dry-run");
  if (options.yes) arguments.emplace_back("--yes");
  if (options.no) arguments.emplace_back("--no");
  return arguments;
}

/// The workstation's language, which the window speaks too. The window has no session, which would end with the
/// store's.
void chooseLanguage(const GlobalOptions& options) {
  WorkstationConfiguration configuration;
  std::wstring ignored;  // each command tells what is wrong with the workstation
  if (options.language.empty()) readConfiguration(options.workstation, configuration, ignored);
  setLanguage(options.language.empty() ? configuration.language : options.language);
}

ExitCode showWindow(Context& context) {
  std::error_code failure;
  const std::filesystem::path program = std::filesystem::read_symlink(kOwnProgram, failure);
  if (failure)
    throw CommandFailure{ExitCode::Failure, wide(std::string(kOwnProgram) + " can't be read: " + failure.message())};
  chooseLanguage(context.options());
  std::string error;
  const int code = desktopWindow({program.string(), argumentsOf(context.options())}, error);
  if (code < 0) throw CommandFailure{ExitCode::Failure, wide(error)};
  return static_cast<ExitCode>(code);
}

}  // namespace

void addDesktopCommand(CLI::App& app, Action& selected) {
  auto* const command = app.add_subcommand("desktop", "Show the open project in a window");
  command->callback([&selected] { selected = showWindow; });
}

}  // namespace workstation::program
