// `zephor desktop`: the open project in a window.
#include <CLI/CLI.hpp>

#include "workstation/desktop/Desktop.h"
#include "workstation/program/Commands.h"
#include "workstation/program/Context.h"
#include "workstation/program/DesktopModule.h"

namespace workstation::program {
namespace {

ExitCode showWindow(Context& /*context*/) {
  std::string error;
  const int code = desktopWindow({}, error);
  if (code < 0) throw CommandFailure{ExitCode::Failure, wide(error)};
  return static_cast<ExitCode>(code);
}

}  // namespace

void addDesktopCommand(CLI::App& app, Action& selected) {
  auto* const command = app.add_subcommand("desktop", "Show the open project in a window");
  command->callback([&selected] { selected = showWindow; });
}

}  // namespace workstation::program
