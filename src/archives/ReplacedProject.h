// A project's directory on its way out of another's place, without loss.
#pragma once

#include <string>

#include "platform/WindowsTypes.h"

namespace Quorvel::FileAccess {

class ReplacedProject {
 public:
  explicit ReplacedProject(std::wstring directory);

  /// Moves it into the trash, or where there is none beside its place, with ".bak" and a number behind its name. A
  /// project that is open, here or elsewhere, stays.
  /// @return false, with failure(), when it stays
  bool setAside();
  /// Undoes setAside() while its place is free; otherwise it stays where it went, which the log has.
  void bringBack();
  const std::wstring& failure() const { return failure_; }

 private:
  bool fail(const std::wstring& reason);
  bool renameBeside();

  std::wstring directory_;
  std::string thrown_;   // where it lies in the trash; empty when it is not there
  std::wstring backup_;  // its name beside; empty when it has none
  std::wstring failure_;
};

}  // namespace Quorvel::FileAccess
