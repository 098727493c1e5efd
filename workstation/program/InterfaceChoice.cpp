#include "workstation/program/InterfaceChoice.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <utility>

#include "platform/Text.h"
#include "workstation/program/Context.h"
#include "workstation/program/DesktopModule.h"
#include "workstation/ui/TerminalInterface.h"

namespace workstation::program {

namespace {

/// True for a stream that nobody and nothing sits at: no terminal, pipe or file.
bool leadsNowhere(int stream) {
  struct stat info {};
  if (::fstat(stream, &info) != 0) return true;
  return !S_ISFIFO(info.st_mode) && !S_ISREG(info.st_mode) && ::isatty(stream) == 0;
}

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

/// Windows, and the terminal for questions that the command line has answered.
class DesktopWithAnswers final : public platform::IUserInterface {
 public:
  DesktopWithAnswers(std::unique_ptr<platform::IUserInterface> desktop, const GlobalOptions& options,
                     TerminalInterface& terminal)
      : desktop_(std::move(desktop)),
        questions_(options.yes || options.no ? static_cast<platform::IUserInterface&>(terminal) : *desktop_),
        isQuiet_(options.quiet) {}

  int messageBox(const platform::MessageBoxRequest& request) override { return questions_.messageBox(request); }
  std::wstring askFileName(const platform::FileNameRequest& request) override {
    return questions_.askFileName(request);
  }
  int showDialog(platform::Dialog& dialog) override { return questions_.showDialog(dialog); }
  std::unique_ptr<platform::IProgressWindow> createProgressWindow(const std::wstring& title, int width,
                                                                  int height) override {
    return isQuiet_ ? nullptr : desktop_->createProgressWindow(title, width, height);
  }
  int pixelDensity() const override { return desktop_->pixelDensity(); }
  void setBusyCursor(bool busy) override { desktop_->setBusyCursor(busy); }
  int open(const std::wstring& target) override { return desktop_->open(target); }

 private:
  const std::unique_ptr<platform::IUserInterface> desktop_;
  platform::IUserInterface& questions_;
  const bool isQuiet_;
};

}  // namespace

std::unique_ptr<platform::IUserInterface> desktopIfWanted(const GlobalOptions& options, TerminalInterface& terminal) {
  const bool isDemanded = options.interface == "desktop";
  if (!isDemanded) {
    const bool isForPrograms = options.yes || options.no || options.json || options.quiet;
    if (options.interface == "terminal" || isForPrograms || !isDisplayThere() || !isFromLauncher()) return nullptr;
  }
  std::string error;
  std::unique_ptr<platform::IUserInterface> desktop = desktopInterface(error);
  if (desktop) return std::make_unique<DesktopWithAnswers>(std::move(desktop), options, terminal);
  if (isDemanded)
    throw CommandFailure{ExitCode::Failure, L"there can be no windows: " + platform::fromUtf8(error) +
                                                L"; without --interface desktop the terminal asks"};
  return nullptr;
}

}  // namespace workstation::program
