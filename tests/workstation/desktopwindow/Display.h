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
    char text[16] = {};
    const ssize_t size = ::read(ends[0], text, sizeof text - 1);
    ::close(ends[0]);
    if (size <= 0) return false;
    ::setenv("DISPLAY", (":" + std::string(text, static_cast<std::size_t>(size - 1))).c_str(), 1);
    return true;
  }();
  return started;
}
}  // namespace zephor_test
