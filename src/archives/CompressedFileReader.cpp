#include "archives/CompressedFormat.h"
#include "archives/ObjectFileHandle.h"
#include "archives/TeilbildPath.h"
#include "host/Project.h"
#include "host/System.h"
#include "host/Trace.h"
#include "platform/Files.h"
#include "zephor/Archives.h"
#include "zephor/FileServices.h"

namespace Quorvel::FileAccess {
namespace {

bool openForReading(ObjectFileHandle& file, const wchar_t* path) {
  return file.open(path, GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE) == ERROR_SUCCESS;
}

/// The record alone is read: what stands behind it may be damaged.
bool readRecord(const ObjectFileHandle& file, TeilbildHeader& out) {
  CompressedHeaderBytes header{};
  if (file.read(header.data(), header.size()) != ERROR_SUCCESS || !hasCompressedMagic(header)) return false;
  TeilbildHeader record;
  if (file.read(&record, sizeof record) != ERROR_SUCCESS) return false;
  out = record;
  return true;
}

}  // namespace

bool WGO_isZipFile(const wchar_t* path, long long* uncompressedSize) {
  if (path == nullptr) return false;
  ObjectFileHandle file;
  CompressedHeaderBytes header{};
  if (!openForReading(file, path) || file.read(header.data(), header.size()) != ERROR_SUCCESS) return false;
  // Given before the magic is looked at: a file that proves to be uncompressed has given it too.
  if (uncompressedSize != nullptr) *uncompressedSize = uncompressedSizeOf(header);
  return hasCompressedMagic(header);
}

bool WGO_isZipFile(const int& pathNumber, const int& fileType, const int& number) {
  const std::wstring path = teilbildPath(pathNumber, fileType, number);
  return !path.empty() && WGO_isZipFile(path.c_str(), nullptr);
}

bool WGO_getTBHeaderFromZipFile(const wchar_t* path, TeilbildHeader* out) {
  if (out == nullptr) return false;
  *out = clearedHeader<TeilbildHeader>();
  if (path == nullptr) return false;
  ObjectFileHandle file;
  if (!openForReading(file, path)) {
    WGO_downloadFile(get_ActivePrj(), path, false);
    openForReading(file, path);
  }
  const bool success = readRecord(file, *out);
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
