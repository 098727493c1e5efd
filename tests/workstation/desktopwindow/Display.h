#pragma once
#include <signal.h>
#include <sys/prctl.h>
#include <unistd.h>
#include <cstdlib>
#include <string>
namespace zephor_test {
inline bool startDisplay() {
  static const bool started = [] {
    int ends[2];
    if (::pipe(ends) != 0) return false;
    const pid_t child = ::fork();
    if (child == 0) {
      ::prctl(PR_SET_PDEATHSIG, SIGTERM);
      const std::string number = std::to_string(ends[1]);
      ::close(ends[0]);
      ::execlp("Xvfb", "Xvfb", "-displayfd", number.c_str(), "-nolisten", "tcp", "-noreset", "-screen", "0", "1280x900x24",
               nullptr);
      ::_exit(127);
    }
    ::close(ends[1]);
    std::string name = ":";
    char letter = 0;
    while (::read(ends[0], &letter, 1) == 1 && letter != '\n') name += letter;
    ::close(ends[0]);
    if (letter != '\n') return false;
    ::setenv("DISPLAY", name.c_str(), 1);
    return true;
  }();
  return started;
}
}  // namespace zephor_test
