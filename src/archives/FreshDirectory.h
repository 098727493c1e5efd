// A directory that grows beside its future place and takes that place whole.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "platform/WindowsTypes.h"
#include "toolkit/OpenFile.h"

namespace Quorvel::FileAccess {

/// Named `.<name>.<guid>.tmp`. Removed with all in it by the destructor unless it took its place; so are the empty
/// directories above it that were made for it. One that a process left behind when it was killed goes with the next
/// that is made beside it, a day later at the earliest: it holds a mark that its owner keeps open.
class FreshDirectory {
 public:
  FreshDirectory(const std::wstring& parent, const std::wstring& name);
  /// Beside a target.
  explicit FreshDirectory(const std::wstring& target);
  ~FreshDirectory();
  FreshDirectory(const FreshDirectory&) = delete;
  FreshDirectory& operator=(const FreshDirectory&) = delete;

  /// 0, or why it could not be made.
  DWORD error() const { return error_; }
  const std::wstring& path() const { return path_; }
  /// Makes what is in it outlive a power failure first. Never replaces anything. @return 0, or the error
  DWORD takePlace(const std::wstring& target);

 private:
  std::wstring path_;
  std::optional<OpenFile> mark_;
  std::vector<std::wstring> parents_;  // that were made, the deepest first
  DWORD error_ = ERROR_SUCCESS;
  bool isPlaced_ = false;
};

/// The user's directory for temporary files.
std::wstring temporaryDirectory();

}  // namespace Quorvel::FileAccess
