#include "workstation/objects/BlockFile.h"

#include <algorithm>
#include <atomic>
#include <vector>

#include "platform/Files.h"
#include "platform/Permissions.h"
#include "platform/Synchronisation.h"
#include "platform/Text.h"

namespace workstation {
namespace {

constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;

/// The last error of a call that failed, never 0.
DWORD lastFailure() {
  const DWORD error = GetLastError();
  return error != ERROR_SUCCESS ? error : ERROR_GEN_FAILURE;
}

}  // namespace

BlockFile::~BlockFile() {
  close();
}

DWORD BlockFile::close() {
  if (!owned_) return ERROR_SUCCESS;
  owned_ = false;
  const HANDLE handle = handle_;
  handle_ = nullptr;
  return CloseHandle(handle) != FALSE ? ERROR_SUCCESS : lastFailure();
}

DWORD BlockFile::openForReading(const std::wstring& path) {
  const HANDLE handle =
      CreateFileW(path.c_str(), GENERIC_READ, kShareAll, nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
  if (handle == INVALID_HANDLE_VALUE) return lastFailure();
  handle_ = handle;
  owned_ = true;
  return ERROR_SUCCESS;
}

DWORD BlockFile::create(const std::wstring& path, const std::wstring& replaced) {
  const HANDLE handle = CreateFileW(path.c_str(), GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ, nullptr, CREATE_NEW,
                                    FILE_ATTRIBUTE_NORMAL, nullptr);
  if (handle == INVALID_HANDLE_VALUE) return lastFailure();
  platform::takePermissions(handle, replaced);
  handle_ = handle;
  owned_ = true;
  return ERROR_SUCCESS;
}

DWORD BlockFile::size(std::uint64_t& out) const {
  DWORD high = 0;
  SetLastError(ERROR_SUCCESS);
  const DWORD low = GetFileSize(handle_, &high);
  if (low == INVALID_FILE_SIZE && GetLastError() != ERROR_SUCCESS) return GetLastError();
  out = (static_cast<std::uint64_t>(high) << 32U) | low;
  return ERROR_SUCCESS;
}

DWORD BlockFile::seek(std::uint64_t position) const {
  auto high = static_cast<LONG>(position >> 32U);
  SetLastError(ERROR_SUCCESS);
  const DWORD low = SetFilePointer(handle_, static_cast<LONG>(position & 0xFFFFFFFFU), &high, FILE_BEGIN);
  return low == INVALID_SET_FILE_POINTER && GetLastError() != ERROR_SUCCESS ? GetLastError() : ERROR_SUCCESS;
}

DWORD BlockFile::readSome(void* buffer, std::size_t size, std::size_t& read) const {
  DWORD got = 0;
  const auto wanted = static_cast<DWORD>(std::min(size, kBlockSize));
  if (ReadFile(handle_, buffer, wanted, &got, nullptr) == FALSE) return lastFailure();
  read = got;
  return ERROR_SUCCESS;
}

DWORD BlockFile::readAt(std::uint64_t position, void* buffer, std::size_t size) const {
  if (const DWORD error = seek(position)) return error;
  auto* out = static_cast<std::uint8_t*>(buffer);
  while (size > 0) {
    std::size_t got = 0;
    if (const DWORD error = readSome(out, size, got)) return error;
    if (got == 0) return ERROR_HANDLE_EOF;
    out += got;
    size -= got;
  }
  return ERROR_SUCCESS;
}

DWORD BlockFile::writeAt(std::uint64_t position, const void* buffer, std::size_t size) const {
  if (const DWORD error = seek(position)) return error;
  const auto* in = static_cast<const std::uint8_t*>(buffer);
  while (size > 0) {
    DWORD done = 0;
    const auto wanted = static_cast<DWORD>(std::min(size, kBlockSize));
    if (WriteFile(handle_, in, wanted, &done, nullptr) == FALSE) return lastFailure();
    if (done == 0) return ERROR_WRITE_FAULT;
    in += done;
    size -= done;
  }
  return ERROR_SUCCESS;
}

DWORD BlockFile::finish(std::uint64_t size) const {
  if (const DWORD error = seek(size)) return error;
  if (SetEndOfFile(handle_) == FALSE) return lastFailure();
  return FlushFileBuffers(handle_) != FALSE ? ERROR_SUCCESS : lastFailure();
}

DWORD copyBlocks(const BlockFile& from, const BlockFile& to, std::uint64_t position, std::uint64_t limit,
                 const BlockObserver& observer, std::uint64_t& copied) {
  std::vector<std::uint8_t> block(static_cast<std::size_t>(std::min<std::uint64_t>(limit, kBlockSize)));
  copied = 0;
  while (copied < limit) {
    const auto wanted = static_cast<std::size_t>(std::min<std::uint64_t>(limit - copied, block.size()));
    std::size_t got = 0;
    if (const DWORD error = from.readSome(block.data(), wanted, got)) return error;
    if (got == 0) break;
    if (const DWORD error = to.writeAt(position + copied, block.data(), got)) return error;
    if (observer) observer(block.data(), got);
    copied += got;
  }
  return ERROR_SUCCESS;
}

std::wstring temporaryBeside(const std::wstring& path) {
  static std::atomic<unsigned> counter{0};
  return platform::formatWide(L"%s.%u-%u.part", path, GetCurrentProcessId(), ++counter);
}

TemporaryFileGuard::~TemporaryFileGuard() {
  if (path_.empty()) return;
  const DWORD before = GetLastError();
  DeleteFileW(path_.c_str());
  SetLastError(before);
}

}  // namespace workstation
