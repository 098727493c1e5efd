#include "toolkit/ByteData.h"

#include <libdeflate.h>

#include <algorithm>
#include <new>
#include <stdexcept>

#include "toolkit/OpenFile.h"

namespace Quorvel::FileAccess {

namespace {

constexpr std::uint64_t kPiece = std::uint64_t{1} << 20U;

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
    const bool isRead = file.read(bytes.data() + before, room, read);
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
  const OpenFile file(path, GENERIC_READ, kShareAll, OPEN_EXISTING);
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
