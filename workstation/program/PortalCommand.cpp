// portal: opens the web portal, a project in it or the viewer, or prints the link.
#include <CLI/CLI.hpp>
#include <memory>

#include "host/Cloud.h"
#include "host/Project.h"
#include "platform/UserInterface.h"
#include "workstation/Session.h"
#include "workstation/program/Commands.h"
#include "workstation/program/Context.h"
#include "workstation/program/People.h"
#include "workstation/store/CloudStore.h"
#include "zephor/Portal.h"

namespace workstation::program {

namespace {

struct Arguments {
  std::string project;
  bool viewer = false;
  bool print = false;
  bool withToken = false;
};

/// Keeps the link that would be opened; everything else goes on to the user interface before it.
class LinkCatcher final : public platform::IUserInterface {
 public:
  LinkCatcher() : before_(*platform::setUserInterface(this)) {}
  ~LinkCatcher() override { platform::setUserInterface(&before_); }
  LinkCatcher(const LinkCatcher&) = delete;
  LinkCatcher& operator=(const LinkCatcher&) = delete;

  int messageBox(const platform::MessageBoxRequest& request) override { return before_.messageBox(request); }
  std::unique_ptr<platform::IProgressWindow> createProgressWindow(const std::wstring& title, int width,
                                                                  int height) override {
    return before_.createProgressWindow(title, width, height);
  }
  int pixelDensity() const override { return before_.pixelDensity(); }
  void setBusyCursor(bool busy) override { before_.setBusyCursor(busy); }
  int open(const std::wstring& target) override {
    constexpr int kOpened = 33;
    link_ = target;
    return kOpened;
  }
  const std::wstring& link() const { return link_; }

 private:
  platform::IUserInterface& before_;
  std::wstring link_;
};

/// The link without the session, for everybody to see. Whoever opens it signs on at the portal.
std::wstring withoutToken(std::wstring link) {
  std::wstring token;
  QuorvelCloudController()->GetAccessToken(token);
  if (token.empty()) return link;
  const std::wstring part = L"/?token=" + token;
  if (const std::size_t at = link.find(part); at != std::wstring::npos) link.erase(at, part.size());
  // Never by mistake.
  if (link.find(token) != std::wstring::npos) throw CommandFailure{ExitCode::Failure, L"the link can't be printed"};
  return link;
}

/// The project that is named, or the open one where the viewer needs one; empty for the portal itself.
std::wstring wantedProject(Context& context, const Arguments& arguments) {
  const std::string& name = arguments.project.empty() ? context.options().project : arguments.project;
  std::wstring uuid;
  std::wstring error;
  if (!name.empty()) {
    if (!findProjectUuid(wide(name), uuid, error)) throw CommandFailure{ExitCode::Failure, error};
  } else if (arguments.viewer) {
    context.startInProject();
    uuid = get_ActivePrj().GetOndrathProjectUuid();
  }
  return uuid;
}

bool browse(Context& context, const std::wstring& uuid, bool viewer) {
  if (uuid.empty()) return Quorvel::FileAccess::browseOndrathPortal(nullptr);
  StoreProject project;
  check(context.store().project(context.actor(), uuid, project));
  const PRJ prj(project.teamUuid, project.teamName, project.name, project.uuid, true);
  return Quorvel::FileAccess::browseOndrathProject(nullptr, prj, viewer);
}

ExitCode portal(Context& context, const Arguments& arguments) {
  if (arguments.withToken && !arguments.print)
    throw CommandFailure{ExitCode::Usage, L"--with-token goes with --print; a link that is opened has it"};
  context.startOnline();
  const std::wstring uuid = wantedProject(context, arguments);
  if (arguments.print || context.options().dryRun) {
    const LinkCatcher catcher;
    if (!browse(context, uuid, arguments.viewer) || catcher.link().empty())
      throw CommandFailure{ExitCode::Failure, L"there is no link to the portal"};
    const std::wstring link = arguments.withToken ? catcher.link() : withoutToken(catcher.link());
    context.output().result((arguments.print ? L"" : L"would open ") + link, {{"link", link}});
    return ExitCode::Done;
  }
  if (!browse(context, uuid, arguments.viewer))
    throw CommandFailure{ExitCode::Failure, L"the portal could not be opened; zephor portal --print tells its link"};
  context.output().result(L"opened the portal", {{"opened", true}});
  return ExitCode::Done;
}

}  // namespace

void addPortalCommand(CLI::App& app, Action& selected) {
  auto* command = app.add_subcommand("portal", "Open the web portal in the desktop's browser");
  auto arguments = std::make_shared<Arguments>();
  command->add_option("PROJECT", arguments->project, "Name, team/name, or UUID (default: the portal itself)");
  command->add_flag("--viewer", arguments->viewer, "The project (default: the open one) in the viewer");
  command->add_flag("--print", arguments->print, "Print the link instead");
  command->add_flag("--with-token", arguments->withToken,
                    "With the session in the printed link: whoever has it acts as you while it lasts");
  command->callback(
      [&selected, arguments] { selected = [arguments](Context& context) { return portal(context, *arguments); }; });
}

}  // namespace workstation::program
