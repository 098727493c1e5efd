// login: signs on to the store and tells who works here.
#include <CLI/CLI.hpp>
#include <memory>

#include "host/Cloud.h"
#include "workstation/Session.h"
#include "workstation/program/Commands.h"
#include "workstation/program/Context.h"
#include "workstation/program/People.h"
#include "workstation/store/CloudStore.h"

namespace workstation::program {

namespace {

ExitCode login(Context& context, bool logsOut) {
  context.startOnline();
  const bool ends = logsOut && !context.options().dryRun;
  if (ends) QuorvelSsoController()->Logout();
  std::wstring state;
  bool isUp = false;
  bool ignored = false;
  const CloudStatus status = QuorvelCloudController()->GetProjectService()->GetSessionState(state, isUp, ignored);
  if (ends == isUp) check(status == kStoreOk ? kStoreNotConnected : status);
  const CloudUser& user = identity().user;
  const std::wstring directory = wide(context.store().directory());
  const std::wstring who = user.name + L" <" + user.email + L"> at " + identity().workstationName;
  context.output().result(logsOut ? (ends ? L"signed off " : L"would sign off ") + who + L" from the store " + directory
                                  : L"signed on " + who + L" to the store " + directory + L", session " + state,
                          {{"user", user.name},
                           {"email", user.email},
                           {"uuid", user.uuid},
                           {"workstation", identity().workstationName},
                           {"store", directory},
                           {"session", state}});
  context.output().message(L"this store asks for no password: each command signs on by itself, and off at its end");
  return ExitCode::Done;
}

}  // namespace

void addLoginCommand(CLI::App& app, Action& selected) {
  auto* command = app.add_subcommand("login", "Sign on to the store and tell who works here");
  auto logsOut = std::make_shared<bool>(false);
  command->add_flag("--logout", *logsOut, "Sign off");
  command->callback(
      [&selected, logsOut] { selected = [logsOut](Context& context) { return login(context, *logsOut); }; });
}

}  // namespace workstation::program
