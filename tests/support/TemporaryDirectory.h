// A directory of its own for one test, removed with everything in it.
#pragma once

#include <string>

namespace zephor_test {

class TemporaryDirectory {
 public:
  TemporaryDirectory();
  ~TemporaryDirectory();
  TemporaryDirectory(const TemporaryDirectory&) = delete;
  TemporaryDirectory& operator=(const TemporaryDirectory&) = delete;

  /// Path of the system, without a separator at its end.
  const std::string& path() const { return path_; }
  /// Path of the system of a name in it; the name may go deeper.
  std::string path(const std::string& name) const { return path_ + "/" + name; }
  /// The same as a library path, with backslashes.
  std::wstring libraryPath() const;

 private:
  std::string path_;
};

/// Whole content of a file; empty when there is none.
std::string contentOf(const std::string& systemPath);

}  // namespace zephor_test
