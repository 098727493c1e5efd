#include "workstation/program/InterfaceChoice.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>

#include "tests/support/Display.h"
#include "workstation/program/Context.h"
#include "workstation/ui/Terminal.h"
#include "workstation/ui/TerminalInterface.h"

namespace {

using workstation::program::CommandFailure;
using workstation::program::desktopIfWanted;
using workstation::program::GlobalOptions;

/// Standard streams that lead where a launcher lets them lead, while it lives.
class Streams {
 public:
  explicit Streams(bool outputIsRead) {
    const int nowhere = ::open("/dev/null", O_RDWR);
    int pipe[2];
    if (::pipe(pipe) != 0) throw std::runtime_error("no pipe");
    for (int stream = 0; stream < 3; ++stream) {
      kept_[stream] = ::dup(stream);
      ::dup2(stream == STDERR_FILENO && outputIsRead ? pipe[1] : nowhere, stream);
    }
    for (const int each : {nowhere, pipe[0], pipe[1]}) ::close(each);
  }
  ~Streams() {
    for (int stream = 0; stream < 3; ++stream) {
      ::dup2(kept_[stream], stream);
      ::close(kept_[stream]);
    }
  }
  Streams(const Streams&) = delete;
  Streams& operator=(const Streams&) = delete;

 private:
  int kept_[3];
};

class InterfaceChoice : public ::testing::Test {
 protected:
  InterfaceChoice() { setenv("DESKTOP_STARTUP_ID", "1", 1); }

  static bool isDesktop(const GlobalOptions& options, bool outputIsRead = false) {
    workstation::TerminalInterface terminal(workstation::standardTerminal(), {});
    const Streams streams(outputIsRead);
    return desktopIfWanted(options, terminal) != nullptr;
  }
  static GlobalOptions wanting(const char* face) {
    GlobalOptions options;
    options.interface = face;
    return options;
  }
};

TEST_F(InterfaceChoice, DisplayAloneMakesNoWindows) {
  const zephor_test::Display display;
  if (!display.isThere()) GTEST_SKIP() << "Xvfb is not installed";
  EXPECT_TRUE(isDesktop({}));
  EXPECT_TRUE(isDesktop(wanting("desktop"), true));
  EXPECT_FALSE(isDesktop({}, true)) << "somebody reads what it says";
  EXPECT_FALSE(isDesktop(wanting("terminal")));
  for (bool GlobalOptions::*const flag :
       {&GlobalOptions::yes, &GlobalOptions::no, &GlobalOptions::json, &GlobalOptions::quiet}) {
    GlobalOptions options;
    options.*flag = true;
    EXPECT_FALSE(isDesktop(options));
  }
  unsetenv("DESKTOP_STARTUP_ID");
  EXPECT_FALSE(isDesktop({})) << "a job that nobody started from the desktop";
}

TEST_F(InterfaceChoice, GivenAnswersHoldWithWindows) {
  const zephor_test::Display display;
  if (!display.isThere()) GTEST_SKIP() << "Xvfb is not installed";
  GlobalOptions options = wanting("desktop");
  options.yes = true;
  workstation::TerminalOptions terminalOptions;
  terminalOptions.assumeYes = true;
  workstation::TerminalInterface terminal(workstation::standardTerminal(), terminalOptions);
  platform::MessageBoxRequest box;
  box.style = MB_YESNO;
  EXPECT_EQ(desktopIfWanted(options, terminal)->messageBox(box), IDYES);
}

TEST_F(InterfaceChoice, WindowsThatCanNotBeAreToldOrDoneWithout) {
  setenv("DISPLAY", ":987", 1);
  EXPECT_FALSE(isDesktop({}));
  try {
    isDesktop(wanting("desktop"));
    ADD_FAILURE() << "windows on no display";
  } catch (const CommandFailure& failure) {
    EXPECT_NE(failure.message.find(L"the display :987 can't be reached"), std::wstring::npos);
  }
}

}  // namespace
