// Expanding a compressed Teilbild in place: from here on the file is held.
#include <cstring>
#include <memory>
#include <new>
#include <stdexcept>
#include <utility>
#include <vector>

#include "archives/ArchiveFailure.h"
#include "archives/CompressedFormat.h"
#include "archives/InPlaceWorkers.h"
#include "archives/ObjectFileHandle.h"
#include "archives/OpenProjectRow.h"
#include "host/Files.h"
#include "host/ObjectFiles.h"
#include "host/System.h"
#include "host/Trace.h"
#include "platform/Files.h"
#include "platform/Paths.h"
#include "toolkit/ZipW.h"

namespace Quorvel::FileAccess {
namespace {

constexpr const wchar_t* kOperation = L"Quorvel::FileAccess::my_WGO_unzipProjectFile";
constexpr const wchar_t* kEntryPattern = L"*.zdw";

struct PackedDrawing {
  std::uint64_t expandedSize = 0;  // as the header tells it
  CkByteData archive;
};

DWORD readHeader(const ObjectFileHandle& file, ExpansionJob& job, CompressedHeader& header) {
  CompressedHeaderBytes bytes{};
  if (const DWORD code = file.seek(0)) return code;
  if (const DWORD code = file.read(bytes.data(), bytes.size())) return code;
  if (!hasCompressedMagic(bytes)) return ERROR_INVALID_DATA;
  if (const DWORD code = file.size(job.fileSize)) return code;
  std::wstring problem;
  if (decodeCompressedHeader(bytes, job.fileSize, header, problem)) return ERROR_SUCCESS;
  lfperrC(L"%s: \"%s\", %s\n", kOperation, job.path, problem);
  return ERROR_INVALID_DATA;
}

/// Reads record and archive of the file, whose header was checked against its size.
DWORD readPacked(const ObjectFileHandle& file, ExpansionJob& job, PackedDrawing& drawing) {
  CompressedHeader header;
  if (const DWORD code = readHeader(file, job, header)) return code;
  if (const DWORD code = file.seek(header.recordPosition())) return code;
  if (const DWORD code = file.read(&job.record, sizeof job.record)) return code;
  // The file's name decides: one that was copied to another number is that Teilbild.
  job.record.number = job.number;

  const std::uint64_t size = job.fileSize - header.archivePosition();
  if (getFileAccessTrace() > 1) lfperrC(L"%s: to read fileSize=%ld\n", kOperation, size);
  std::vector<std::uint8_t> bytes;
  try {
    bytes.resize(static_cast<std::size_t>(size));
  } catch (const std::bad_alloc&) {
    return ERROR_OUTOFMEMORY;
  } catch (const std::length_error&) {
    return ERROR_OUTOFMEMORY;
  }
  if (const DWORD code = file.seek(header.archivePosition())) return code;
  if (const DWORD code = file.read(bytes.data(), bytes.size())) return code;
  drawing.archive = CkByteData(std::move(bytes));
  drawing.expandedSize = static_cast<std::uint64_t>(header.uncompressedSize);
  return ERROR_SUCCESS;
}

/// Writes the drawing through the host's handle. The file is empty as soon as this begins, and an entry that can't be
/// inflated leaves it so.
DWORD expandThroughHandle(const ObjectFileHandle& file, CkZipEntryW& entry, std::size_t zipSize, std::uint64_t& size) {
  if (const DWORD code = file.seek(0)) return code;
  if (const DWORD code = file.cut()) return code;
  CkByteData drawing;
  if (!entry.Inflate(drawing)) lfperrC(L"%s: error at Inflate\n", kOperation);
  size = drawing.getSize();
  if (getFileAccessTrace() > 0) lfperrC(L"%s: fileSize=%ld zipSize=%ld\n", kOperation, size, zipSize);
  if (size == 0) return ERROR_BAD_LENGTH;
  if (const DWORD code = file.write(drawing.getData(), drawing.getSize())) return code;
  if (const DWORD code = file.flush()) return code;
  return file.seek(0);
}

/// Replaces the file by the entry, whole or not at all, under the file's own name; a link to it stays one.
bool extractOver(const std::wstring& path, CkZipEntryW& entry) {
  std::wstring directory;
  std::wstring name;
  if (!lfSplitPath(platform::weaklyCanonical(path), directory, name)) return false;
  CkString stored;
  entry.get_FileName(stored);
  if (stored.text() != name && !entry.put_FileName(name.c_str())) return false;
  return entry.ExtractAsNew(directory.c_str());
}

/// Tells the host what the file is from now on.
void noteExpanded(HANDLE handle, ExpansionJob& job, std::uint64_t newSize) {
  job.record.compressedMark = 0;
  storeOpenProjectRow(job.path, job.number, job.record);
  if (ObjectFileHandle::isReal(handle) && !setOpenFileZippedMode_FromFileHandle(handle, false)) {
    lfperrC(L"%s: TB %d not found in open file list \n", kOperation, job.number);
  }
  if (getFileAccessTrace() > 0) lfperrC(L"%s: at end fileSize=%ld\n", kOperation, newSize);
}

}  // namespace

unsigned long my_WGO_unzipProjectFile(HANDLE handle, void* arguments) {
  ExpansionJob& job = *static_cast<ExpansionJob*>(arguments);
  const auto fail = [&job](DWORD code) { return failWithBox(code, kOperation, job.path); };
  const bool isOpen = ObjectFileHandle::isReal(handle);
  ObjectFileHandle file(isOpen ? handle : nullptr);
  if (!isOpen) {
    if (const DWORD code = file.open(job.path, GENERIC_READ, 0)) return fail(code);
  }
  PackedDrawing drawing;
  if (const DWORD code = readPacked(file, job, drawing)) return fail(code);
  file.close();

  const std::size_t zipSize = drawing.archive.getSize();
  CkZipW zip;
  if (!zip.OpenFromByteData(std::move(drawing.archive))) return failInToolkit(kOperation, zip.lastErrorText());
  const std::unique_ptr<CkZipEntryW> entry = zip.FirstMatchingEntry(kEntryPattern);
  if (entry == nullptr) return failInToolkit(kOperation, zip.lastErrorText());
  // Asked before the cut: an entry of another size is not the drawing that the header describes.
  if (entry->get_UncompressedSize() != drawing.expandedSize) {
    lfperrC(L"%s: \"%s\", entry of %llu bytes, expected %llu as in the header\n", kOperation, job.path,
            static_cast<unsigned long long>(entry->get_UncompressedSize()),
            static_cast<unsigned long long>(drawing.expandedSize));
    return fail(ERROR_INVALID_DATA);
  }
  std::uint64_t newSize = 0;
  if (isOpen) {
    const ObjectFileHandle open(handle);
    if (const DWORD code = expandThroughHandle(open, *entry, zipSize, newSize)) return fail(code);
  } else {
    if (!extractOver(job.path, *entry)) return failInToolkit(kOperation, zip.lastErrorText());
    newSize = platform::fileStatus(job.path).size;
  }
  noteExpanded(handle, job, newSize);
  return ERROR_SUCCESS;
}

}  // namespace Quorvel::FileAccess
