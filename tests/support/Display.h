// A display of its own for a test program: windows are real, and nobody sees them.
#pragma once

#include <string>

namespace zephor_test {

/// Starts one, and makes it that of this process. It ends with this object, and also when the test crashes.
class Display {
 public:
  Display();
  ~Display();
  Display(const Display&) = delete;
  Display& operator=(const Display&) = delete;

  /// False where there is no Xvfb.
  bool isThere() const { return !name_.empty(); }
  /// As ":5".
  const std::string& name() const { return name_; }

 private:
  int process_ = -1;
  std::string name_;
};

}  // namespace zephor_test
