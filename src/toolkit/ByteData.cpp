#include "toolkit/ByteData.h"

#include <libdeflate.h>

#include <algorithm>
#include <new>
#include <stdexcept>

#include "platform/Files.h"

namespace Quorvel::FileAccess {

namespace {

constexpr std::uint64_t kPiece = std::uint64_t{1} << 20U;

class OpenFile {
 public:
  explicit OpenFile(const std::wstring& path)
      : handle_(CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                            OPEN_EXISTING, 0, nullptr)) {}
  ~OpenFile() {
    if (isOpen()) CloseHandle(handle_);
  }
  OpenFile(const OpenFile&) = delete;
  OpenFile& operator=(const OpenFile&) = delete;

  bool isOpen() const { return handle_ != INVALID_HANDLE_VALUE; }
  HANDLE get() const { return handle_; }
  std::uint64_t size() const {
    DWORD high = 0;
    const DWORD low = GetFileSize(handle_, &high);
    return (std::uint64_t{high} << 32U) | low;
  }

 private:
  HANDLE handle_;
};

/// Reads to the end that the file has then: its size at the start is a guess, since it may grow or shrink meanwhile.
DWORD readAll(const OpenFile& file, std::vector<std::uint8_t>& bytes) {
  const std::uint64_t expected = file.size();
  if (expected >= bytes.max_size()) return ERROR_NOT_ENOUGH_MEMORY;
  bytes.reserve(static_cast<std::size_t>(expected) + 1);
  for (;;) {
    const std::size_t before = bytes.size();
    // One byte more than is expected shows the end without a further read.
    const auto room = static_cast<DWORD>(before > expected ? kPiece : std::min(expected - before + 1, kPiece));
    bytes.resize(before + room);
    DWORD read = 0;
    const bool isRead = ReadFile(file.get(), bytes.data() + before, room, &read, nullptr) != FALSE;
    bytes.resize(before + read);
    if (!isRead) return GetLastError();
    if (read < room) return ERROR_SUCCESS;
  }
}

}  // namespace

void CkByteData::append(const void* data, std::size_t size) {
  const auto* bytes = static_cast<const std::uint8_t*>(data);
  if (size > 0) bytes_.insert(bytes_.end(), bytes, bytes + size);
}

bool CkByteData::loadFile(const std::wstring& path) {
  bytes_.clear();
  const OpenFile file(path);
  if (!file.isOpen()) return false;
  DWORD error = ERROR_SUCCESS;
  try {
    error = readAll(file, bytes_);
  } catch (const std::bad_alloc&) {
    error = ERROR_NOT_ENOUGH_MEMORY;
  } catch (const std::length_error&) {
    error = ERROR_NOT_ENOUGH_MEMORY;
  }
  if (error == ERROR_SUCCESS) return true;
  bytes_ = {};
  SetLastError(error);
  return false;
}

std::uint32_t CkZipCrc::CalculateCrc(const CkByteData& data) {
  return data.getSize() == 0 ? 0 : libdeflate_crc32(0, data.getData(), data.getSize());
}

}  // namespace Quorvel::FileAccess
