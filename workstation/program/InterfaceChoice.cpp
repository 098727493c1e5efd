#include "workstation/program/InterfaceChoice.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <mutex>

#include "platform/Text.h"
#include "workstation/program/Context.h"
#include "workstation/program/DesktopModule.h"
#include "workstation/ui/TerminalInterface.h"

namespace workstation::program {

namespace {

/// True when a person started the program from the desktop. A display alone says nothing: jobs and build machines have
/// one too, and a box that nobody sees would stop them for ever. Launchers leave a mark.
bool isFromLauncher() {
  for (const char* const mark : {"DESKTOP_STARTUP_ID", "XDG_ACTIVATION_TOKEN", "GIO_LAUNCHED_DESKTOP_FILE"}) {
    if (const char* const value = std::getenv(mark); value != nullptr && *value != '\0') {
      return leadsNowhere(STDIN_FILENO) && leadsNowhere(STDOUT_FILENO) && leadsNowhere(STDERR_FILENO);
    }
  }
  return false;
}

/// Windows, and the terminal for questions that the command line has answered. Nothing is started before there is
/// something to show: a command may go on in a process of its own, which a thread of windows would not come along to.
class DesktopWithAnswers final : public platform::IUserInterface {
 public:
  DesktopWithAnswers(const GlobalOptions& options, TerminalInterface& terminal)
      : terminal_(terminal), isAnswered_(options.yes || options.no), isQuiet_(options.quiet) {}

  int messageBox(const platform::MessageBoxRequest& request) override { return questions().messageBox(request); }
  std::wstring askFileName(const platform::FileNameRequest& request) override {
    return questions().askFileName(request);
  }
  int showDialog(platform::Dialog& dialog) override { return questions().showDialog(dialog); }
  std::unique_ptr<platform::IProgressWindow> createProgressWindow(const std::wstring& title, int width,
                                                                  int height) override {
    return isQuiet_ ? nullptr : windows().createProgressWindow(title, width, height);
  }
  int pixelDensity() const override { return windows().pixelDensity(); }
  void setBusyCursor(bool busy) override {
    if (!isQuiet_) windows().setBusyCursor(busy);
  }
  int open(const std::wstring& target) override { return platform::openWithDesktop(target); }

 private:
  platform::IUserInterface& questions() { return isAnswered_ ? terminal_ : windows(); }
  /// The terminal where the display went away since it was looked at.
  platform::IUserInterface& windows() const {
    std::call_once(started_, [this] {
      std::string error;
      desktop_ = desktopInterface(error);
    });
    return desktop_ ? *desktop_ : terminal_;
  }

  platform::IUserInterface& terminal_;
  const bool isAnswered_;
  const bool isQuiet_;
  mutable std::once_flag started_;
  mutable std::unique_ptr<platform::IUserInterface> desktop_;
};

}  // namespace

bool leadsNowhere(int stream) {
  struct stat info {};
  if (::fstat(stream, &info) != 0) return true;
  return !S_ISFIFO(info.st_mode) && !S_ISREG(info.st_mode) && ::isatty(stream) == 0;
}

std::unique_ptr<platform::IUserInterface> desktopIfWanted(const GlobalOptions& options, TerminalInterface& terminal) {
  const bool isDemanded = options.interface == "desktop";
  if (!isDemanded) {
    const bool isForPrograms = options.yes || options.no || options.json || options.quiet;
    if (options.interface == "terminal" || isForPrograms || !isDisplayThere() || !isFromLauncher()) return nullptr;
  }
  std::string error;
  if (isDesktopUsable(error)) return std::make_unique<DesktopWithAnswers>(options, terminal);
  if (isDemanded)
    throw CommandFailure{ExitCode::Failure, L"there can be no windows: " + platform::fromUtf8(error) +
                                                L"; without --interface desktop the terminal asks"};
  return nullptr;
}

}  // namespace workstation::program
