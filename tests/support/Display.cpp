#include "tests/support/Display.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>

namespace zephor_test {

namespace {

[[noreturn]] void becomeServer(int report, int ownEnd) {
  ::prctl(PR_SET_PDEATHSIG, SIGKILL);
  ::close(ownEnd);
  const int nowhere = ::open("/dev/null", O_RDWR);
  for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) ::dup2(nowhere, stream);
  const std::string number = std::to_string(report);
  ::execlp("Xvfb", "Xvfb", "-displayfd", number.c_str(), "-screen", "0", "1280x800x24", "-nolisten", "tcp", "-noreset",
           static_cast<char*>(nullptr));
  ::_exit(127);
}

}  // namespace

Display::Display() {
  int ends[2];
  if (::pipe(ends) != 0) return;
  process_ = ::fork();
  if (process_ == 0) becomeServer(ends[1], ends[0]);
  ::close(ends[1]);
  std::string number;
  char digit = 0;
  while (::read(ends[0], &digit, 1) == 1 && digit != '\n') number += digit;
  ::close(ends[0]);
  if (number.empty()) return;
  name_ = ":" + number;
  ::setenv("DISPLAY", name_.c_str(), 1);
  for (const char* const other : {"WAYLAND_DISPLAY", "QT_QPA_PLATFORM", "QT_SCALE_FACTOR"}) ::unsetenv(other);
}

Display::~Display() {
  if (process_ <= 0) return;
  ::kill(process_, SIGTERM);
  ::waitpid(process_, nullptr, 0);
}

}  // namespace zephor_test
