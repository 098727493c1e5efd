#include "archives/ObjectFileHandle.h"

#include "platform/Files.h"

namespace Quorvel::FileAccess {
namespace {

constexpr std::size_t kLargestPiece = 0xFFFFFFFF;

/// Why a call of the platform failed, which may have said nothing.
DWORD reason(DWORD fallback) {
  const DWORD code = GetLastError();
  return code != ERROR_SUCCESS ? code : fallback;
}

}  // namespace

bool ObjectFileHandle::isReal(HANDLE handle) {
  return handle != nullptr && handle != INVALID_HANDLE_VALUE;
}

DWORD ObjectFileHandle::open(const std::wstring& path, DWORD access, DWORD shareMode) {
  close();
  const HANDLE file =
      CreateFileW(path.c_str(), access, shareMode, nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
  if (!isReal(file)) return reason(ERROR_FILE_NOT_FOUND);
  handle_ = file;
  owned_ = true;
  return ERROR_SUCCESS;
}

DWORD ObjectFileHandle::size(std::uint64_t& out) const {
  SetLastError(ERROR_SUCCESS);
  DWORD high = 0;
  const DWORD low = GetFileSize(handle_, &high);
  if (low == INVALID_FILE_SIZE && GetLastError() != ERROR_SUCCESS) return GetLastError();
  out = (std::uint64_t{high} << 32U) | low;
  return ERROR_SUCCESS;
}

DWORD ObjectFileHandle::seek(std::uint64_t position) const {
  SetLastError(ERROR_SUCCESS);
  auto high = static_cast<LONG>(position >> 32U);
  const DWORD low = SetFilePointer(handle_, static_cast<LONG>(position & 0xFFFFFFFFU), &high, FILE_BEGIN);
  return low == INVALID_SET_FILE_POINTER ? GetLastError() : ERROR_SUCCESS;
}

DWORD ObjectFileHandle::read(void* buffer, std::size_t size) const {
  if (size > kLargestPiece) return ERROR_BAD_LENGTH;
  SetLastError(ERROR_SUCCESS);
  DWORD count = 0;
  const BOOL done = ReadFile(handle_, buffer, static_cast<DWORD>(size), &count, nullptr);
  if (done != FALSE && count == size) return ERROR_SUCCESS;
  return reason(done != FALSE ? ERROR_HANDLE_EOF : ERROR_READ_FAULT);
}

DWORD ObjectFileHandle::write(const void* data, std::size_t size) const {
  if (size > kLargestPiece) return ERROR_BAD_LENGTH;
  SetLastError(ERROR_SUCCESS);
  DWORD count = 0;
  const BOOL done = WriteFile(handle_, data, static_cast<DWORD>(size), &count, nullptr);
  return done != FALSE && count == size ? ERROR_SUCCESS : reason(ERROR_WRITE_FAULT);
}

DWORD ObjectFileHandle::cut() const {
  SetLastError(ERROR_SUCCESS);
  return SetEndOfFile(handle_) != FALSE ? ERROR_SUCCESS : reason(ERROR_WRITE_FAULT);
}

DWORD ObjectFileHandle::flush() const {
  SetLastError(ERROR_SUCCESS);
  return FlushFileBuffers(handle_) != FALSE ? ERROR_SUCCESS : reason(ERROR_WRITE_FAULT);
}

void ObjectFileHandle::close() {
  if (owned_ && isReal(handle_)) CloseHandle(handle_);
  handle_ = nullptr;
}

}  // namespace Quorvel::FileAccess
