#include <array>
#include <cstdint>
#include <cstring>
#include <string>

#include "host/FileTypes.h"
#include "host/Files.h"
#include "host/Project.h"
#include "host/System.h"
#include "host/Trace.h"
#include "platform/Files.h"
#include "zephor/Archives.h"
#include "zephor/FileServices.h"

namespace Quorvel::FileAccess {
namespace {

constexpr std::array<std::uint8_t, 4> kMagic{'Q', 'V', 'P', 'K'};
constexpr std::size_t kSizePosition = 24;

/// The fixed header; the Teilbild's record follows it at once.
using FileHeader = std::array<std::uint8_t, 48>;

class ReadOnlyFile {
 public:
  explicit ReadOnlyFile(const std::wstring& path)
      : handle_(CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_EXISTING,
                            FILE_ATTRIBUTE_NORMAL, nullptr)) {}
  ~ReadOnlyFile() {
    if (isOpen()) CloseHandle(handle_);
  }
  ReadOnlyFile(const ReadOnlyFile&) = delete;
  ReadOnlyFile& operator=(const ReadOnlyFile&) = delete;

  bool isOpen() const { return handle_ != INVALID_HANDLE_VALUE; }
  /// @return false when fewer than `size` bytes are left
  bool read(void* buffer, std::size_t size) {
    DWORD count = 0;
    return isOpen() && ReadFile(handle_, buffer, static_cast<DWORD>(size), &count, nullptr) != FALSE && count == size;
  }

 private:
  HANDLE handle_;
};

bool hasMagic(const FileHeader& header) {
  return std::memcmp(header.data(), kMagic.data(), kMagic.size()) == 0;
}

std::int64_t uncompressedSizeOf(const FileHeader& header) {
  std::uint64_t size = 0;
  for (std::size_t byte = 0; byte < sizeof size; ++byte) {
    size |= static_cast<std::uint64_t>(header.at(kSizePosition + byte)) << (8 * byte);
  }
  return static_cast<std::int64_t>(size);
}

/// Full path of a Teilbild below a host path; empty when the host can't tell it or the type is another.
std::wstring teilbildPath(int pathNumber, int fileType, int number) {
  if (fileType != eFileType_Teilbild) return {};
  int error = 0;
  const std::wstring name = lfznamC(fileType, number, 0, error);
  const std::wstring directory = lfinigC(pathNumber);
  return error != 0 || directory.empty() ? std::wstring() : directory + name;
}

bool exists(const std::wstring& path) {
  return ReadOnlyFile(path).isOpen();
}

bool readRecord(const std::wstring& path, TeilbildHeader& out) {
  ReadOnlyFile file(path);
  FileHeader header{};
  TeilbildHeader record;
  if (!file.read(header.data(), header.size()) || !hasMagic(header) || !file.read(&record, sizeof record)) return false;
  out = record;
  return true;
}

}  // namespace

bool WGO_isZipFile(const wchar_t* path, long long* uncompressedSize) {
  if (path == nullptr) return false;
  ReadOnlyFile file(path);
  FileHeader header{};
  if (!file.read(header.data(), header.size())) return false;
  // Given before the magic is looked at: a file that proves to be uncompressed has given it too.
  if (uncompressedSize != nullptr) *uncompressedSize = uncompressedSizeOf(header);
  return hasMagic(header);
}

bool WGO_isZipFile(const int& pathNumber, const int& fileType, const int& number) {
  const std::wstring path = teilbildPath(pathNumber, fileType, number);
  return !path.empty() && WGO_isZipFile(path.c_str(), nullptr);
}

bool WGO_getTBHeaderFromZipFile(const wchar_t* path, TeilbildHeader* out) {
  if (out == nullptr) return false;
  *out = clearedHeader<TeilbildHeader>();
  if (path == nullptr) return false;
  if (!exists(path)) WGO_downloadFile(get_ActivePrj(), path, false);
  const bool success = readRecord(path, *out);
  if (getFileAccessTrace() > 0) {
    lfperrC(L"%s: err = %d\n", L"Quorvel::FileAccess::WGO_getTBHeaderFromZipFile", success ? 0 : 1);
  }
  return success;
}

bool WGO_getTBHeaderFromZipFile(const int& pathNumber, const int& fileType, const int& number, TeilbildHeader* out) {
  const std::wstring path = teilbildPath(pathNumber, fileType, number);
  return WGO_getTBHeaderFromZipFile(path.empty() ? nullptr : path.c_str(), out);
}

}  // namespace Quorvel::FileAccess
