// An open file of the platform that closes itself. Internal to the toolkit.
#pragma once

#include <cstdint>
#include <string>

#include "platform/Files.h"

namespace Quorvel::FileAccess {

/// Operations that fail answer false and leave why in the thread's last error. Belongs to one thread.
class OpenFile {
 public:
  OpenFile(const std::wstring& path, DWORD access, DWORD shareMode, DWORD disposition)
      : handle_(CreateFileW(path.c_str(), access, shareMode, nullptr, disposition, 0, nullptr)) {}
  ~OpenFile() { close(); }
  OpenFile(const OpenFile&) = delete;
  OpenFile& operator=(const OpenFile&) = delete;

  bool isOpen() const { return handle_ != INVALID_HANDLE_VALUE; }
  HANDLE handle() const { return handle_; }

  /// In bytes, as it is now.
  std::uint64_t size() const {
    DWORD high = 0;
    const DWORD low = GetFileSize(handle_, &high);
    return (std::uint64_t{high} << 32U) | low;
  }
  /// @param read  bytes; fewer than `size` at the end of the file only
  bool read(void* buffer, DWORD size, DWORD& read) const {
    return ReadFile(handle_, buffer, size, &read, nullptr) != FALSE;
  }
  bool write(const void* data, DWORD size) const {
    DWORD written = 0;
    return WriteFile(handle_, data, size, &written, nullptr) != FALSE;
  }
  /// Takes the whole content away; the position must be at the start.
  bool empty() const { return SetEndOfFile(handle_) != FALSE; }
  bool flush() const { return FlushFileBuffers(handle_) != FALSE; }
  bool seek(std::uint64_t offset) const {
    auto high = static_cast<LONG>(offset >> 32U);
    SetLastError(ERROR_SUCCESS);
    const DWORD low = SetFilePointer(handle_, static_cast<LONG>(offset & 0xFFFFFFFFU), &high, FILE_BEGIN);
    return low != INVALID_SET_FILE_POINTER || GetLastError() == ERROR_SUCCESS;
  }
  bool close() {
    const HANDLE handle = handle_;
    handle_ = INVALID_HANDLE_VALUE;
    return handle == INVALID_HANDLE_VALUE || CloseHandle(handle) != FALSE;
  }

 private:
  HANDLE handle_;
};

constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;

}  // namespace Quorvel::FileAccess
