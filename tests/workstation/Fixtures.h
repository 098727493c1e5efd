// What the tests of several rooms set up alike.
#pragma once

#include <sys/resource.h>

#include <csignal>
#include <string>

#include "tests/support/TestWorkstation.h"

namespace zephor_test {

/// A workstation that is connected to no store.
inline TestWorkstationOptions offline() {
  TestWorkstationOptions options;
  options.withStore = false;
  return options;
}

/// No file of the process can grow beyond a size while this lives, as on a full disk; writes that try fail.
class FileSizeLimit {
 public:
  explicit FileSizeLimit(rlim_t bytes) {
    std::signal(SIGXFSZ, SIG_IGN);
    getrlimit(RLIMIT_FSIZE, &before_);
    const rlimit limit{bytes, before_.rlim_max};
    setrlimit(RLIMIT_FSIZE, &limit);
  }
  ~FileSizeLimit() { setrlimit(RLIMIT_FSIZE, &before_); }
  FileSizeLimit(const FileSizeLimit&) = delete;
  FileSizeLimit& operator=(const FileSizeLimit&) = delete;

 private:
  rlimit before_{};
};

}  // namespace zephor_test
