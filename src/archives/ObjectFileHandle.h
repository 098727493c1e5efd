// An open object file with exact reads and writes, whose answer is the error code.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "platform/WindowsTypes.h"

namespace Quorvel::FileAccess {

/// Works on the host's handle, which stays the host's, or on a file of its own, which is closed by the destructor.
///
/// Operations answer 0 or an error code, never 0 for what was not done whole. Sizes are those of one call of the
/// platform, below 4 GiB. Belongs to one thread.
class ObjectFileHandle {
 public:
  ObjectFileHandle() = default;
  explicit ObjectFileHandle(HANDLE borrowed) : handle_(borrowed), owned_(false) {}
  ~ObjectFileHandle() { close(); }
  ObjectFileHandle(const ObjectFileHandle&) = delete;
  ObjectFileHandle& operator=(const ObjectFileHandle&) = delete;

  /// A handle that a file can stand behind: neither null nor INVALID_HANDLE_VALUE.
  static bool isReal(HANDLE handle);

  /// Opens an existing file. @param shareMode  what others may do with it meanwhile
  DWORD open(const std::wstring& path, DWORD access, DWORD shareMode);
  DWORD size(std::uint64_t& out) const;
  DWORD seek(std::uint64_t position) const;
  DWORD read(void* buffer, std::size_t size) const;
  DWORD write(const void* data, std::size_t size) const;
  /// Cuts the file at the current position.
  DWORD cut() const;
  DWORD flush() const;
  /// Closes a file of its own.
  void close();

 private:
  HANDLE handle_ = nullptr;
  bool owned_ = true;
};

}  // namespace Quorvel::FileAccess
