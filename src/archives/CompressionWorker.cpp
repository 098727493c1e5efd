// Compressing a Teilbild in place: from here on the file is held.
#include <cstring>
#include <new>
#include <stdexcept>
#include <utility>
#include <vector>

#include "archives/ArchiveFailure.h"
#include "archives/CompressedFormat.h"
#include "archives/InPlaceWorkers.h"
#include "archives/ObjectFileHandle.h"
#include "archives/OpenProjectRow.h"
#include "host/Headers.h"
#include "host/ObjectFiles.h"
#include "host/System.h"
#include "host/Trace.h"
#include "platform/Files.h"
#include "toolkit/ZipW.h"

namespace Quorvel::FileAccess {
namespace {

using Bytes = std::vector<std::uint8_t>;

constexpr const wchar_t* kOperation = L"Quorvel::FileAccess::my_WGO_zipProjectFile";
constexpr int kCompressionLevel = 6;
constexpr std::uint64_t kSmallestFile = 100;
constexpr std::uint64_t kLargestFile = 0xFFFFFFFF;

/// What of the uncompressed file stays readable, taken out before its bytes go into the archive.
struct PlainSections {
  CompressedHeader header;
  Bytes head;
  Bytes tables;
  bool areInside = false;  ///< both lie within the file
  bool isValidHead = false;
  DWORD headError = ERROR_SUCCESS;  ///< why the host does not know the head
};

PlainSections takeSections(const Bytes& file) {
  PlainSections sections;
  SetLastError(ERROR_SUCCESS);
  sections.isValidHead = HEAD_t_IsValidHead(file.data(), file.size());
  const DWORD error = GetLastError();
  if (!sections.isValidHead) sections.headError = error != ERROR_SUCCESS ? error : ERROR_INVALID_DATA;

  CompressedHeader& header = sections.header;
  cgpver(header.programVersion.data());
  header.uncompressedSize = static_cast<std::int64_t>(file.size());
  header.headSize = HEAD_t_GetSizeOfSectionFileHead();
  header.tablesSize = HEAD_t_GetSizeOfSectionFileTables(file.data(), file.size());
  const std::size_t tables = HEAD_t_GetPosOfSectionFileTables(file.data(), file.size());
  sections.areInside =
      header.headSize <= file.size() && tables <= file.size() && header.tablesSize <= file.size() - tables;
  if (!sections.areInside) return sections;
  const auto at = [&file](std::size_t position) { return file.begin() + static_cast<std::ptrdiff_t>(position); };
  sections.head.assign(at(0), at(header.headSize));
  sections.tables.assign(at(tables), at(tables + header.tablesSize));
  return sections;
}

bool isCompressed(const Bytes& file) {
  CompressedHeaderBytes bytes{};
  if (file.size() < bytes.size()) return false;
  std::memcpy(bytes.data(), file.data(), bytes.size());
  return hasCompressedMagic(bytes);
}

/// Reads the whole file. Its size is taken now, since it may have been saved after the caller looked.
DWORD readAll(const ObjectFileHandle& file, Bytes& bytes) {
  std::uint64_t size = 0;
  if (const DWORD code = file.size(size)) return code;
  if (size > kLargestFile) return ERROR_BAD_LENGTH;
  try {
    bytes.resize(static_cast<std::size_t>(size));
  } catch (const std::bad_alloc&) {
    return ERROR_OUTOFMEMORY;
  } catch (const std::length_error&) {
    return ERROR_OUTOFMEMORY;
  }
  if (const DWORD code = file.seek(0)) return code;
  return file.read(bytes.data(), bytes.size());
}

/// The file as it was read: another program may compress the same file at the same time.
bool isUnchanged(const ObjectFileHandle& file, const PlainSections& sections) {
  std::uint64_t size = 0;
  Bytes head(sections.head.size());
  return file.size(size) == ERROR_SUCCESS && size == static_cast<std::uint64_t>(sections.header.uncompressedSize) &&
         file.seek(0) == ERROR_SUCCESS && file.read(head.data(), head.size()) == ERROR_SUCCESS && head == sections.head;
}

/// The header of what was read: a save between the caller's look and the holding of the file brought another.
DWORD readRecordAgain(CompressionJob& job) {
  TeilbildHeader record = job.record;
  const int code =
      ZP_Header_Teilbild::CheckOpenAndReadInfo(kHeaderPathNumber, static_cast<unsigned>(job.number), record, true);
  if (code == 0) job.record = record;
  return job.hasRecord ? static_cast<DWORD>(code) : ERROR_SUCCESS;
}

/// @return 0, or the code of a failure that was shown
DWORD packInto(CkByteData& archive, const std::wstring& name, Bytes file) {
  CkZipW zip;
  zip.SetCompressionLevel(kCompressionLevel);
  const bool isPacked =
      zip.AppendData(name.c_str(), CkByteData(std::move(file))) != nullptr && zip.WriteToMemory(archive);
  return isPacked ? ERROR_SUCCESS : failInToolkit(kOperation, zip.lastErrorText());
}

void tellSaving(const CompressionJob& job, std::size_t archiveSize) {
  const auto size = static_cast<long long>(job.fileSize);
  const auto zipSize = static_cast<long long>(archiveSize);
  const long long saving = (size - zipSize) / (size / static_cast<long long>(kSmallestFile));
  if (job.info != nullptr) job.info->dwReserved1 = static_cast<DWORD>(saving);
  if (getFileAccessTrace() > 0) {
    lfperrC(L"%s: file= \"%s\", fileSize=%ld zipSize=%ld compression=%ld%% \n", kOperation, job.path, size, zipSize,
            saving);
  }
}

/// Everything in front of the archive.
Bytes frontOf(const PlainSections& sections, const TeilbildHeader& record) {
  const CompressedHeaderBytes header = encodeCompressedHeader(sections.header);
  Bytes front;
  front.reserve(sections.header.archivePosition());
  front.insert(front.end(), header.begin(), header.end());
  front.resize(front.size() + sizeof record);
  std::memcpy(front.data() + sections.header.recordPosition(), &record, sizeof record);
  front.insert(front.end(), sections.head.begin(), sections.head.end());
  front.insert(front.end(), sections.tables.begin(), sections.tables.end());
  return front;
}

/// Writes the new content. The file is empty as soon as this begins, and an unknown head leaves it so.
DWORD rewrite(const ObjectFileHandle& file, const PlainSections& sections, const TeilbildHeader& record,
              const CkByteData& archive) {
  if (const DWORD code = file.seek(0)) return code;
  if (const DWORD code = file.cut()) return code;
  if (!sections.isValidHead) return sections.headError;
  const Bytes front = frontOf(sections, record);
  if (const DWORD code = file.write(front.data(), front.size())) return code;
  if (const DWORD code = file.write(archive.getData(), archive.getSize())) return code;
  if (const DWORD code = file.flush()) return code;
  return file.cut();
}

/// Tells the host what the file is from now on.
void noteCompressed(HANDLE handle, const CompressionJob& job, std::size_t newSize) {
  if (ObjectFileHandle::isReal(handle) && !setOpenFileZippedMode_FromFileHandle(handle, true)) {
    lfperrC(L"%s: TB %d not found in open file list \n", kOperation, job.number);
  }
  if (getFileAccessTrace() > 0) lfperrC(L"%s: at end fileSize=%ld\n", kOperation, newSize);
  storeOpenProjectRow(job.path, job.number, job.record);
}

}  // namespace

unsigned long my_WGO_zipProjectFile(HANDLE handle, void* arguments) {
  CompressionJob& job = *static_cast<CompressionJob*>(arguments);
  const auto fail = [&job](DWORD code) { return failWithBox(code, kOperation, job.path); };
  const bool isOpen = ObjectFileHandle::isReal(handle);
  ObjectFileHandle file(isOpen ? handle : nullptr);
  if (!isOpen) {
    if (const DWORD code = file.open(job.path, GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE))
      return fail(code);
  }
  Bytes bytes;
  if (const DWORD code = readAll(file, bytes)) return fail(code);
  if (isCompressed(bytes)) return ERROR_ALREADY_EXISTS;
  job.fileSize = bytes.size();
  const PlainSections sections = takeSections(bytes);
  CkByteData archive;
  if (const DWORD code = packInto(archive, job.name, std::move(bytes))) return code;
  if (job.fileSize < kSmallestFile) return ERROR_SUCCESS;
  tellSaving(job, archive.getSize());

  // The old content is gone with the first byte of the new one, so whatever can be known is asked before.
  if (archive.getSize() == 0 || archive.getSize() > kLargestFile) return fail(ERROR_BAD_LENGTH);
  if (!sections.areInside || !fitsCompressedFormat(sections.header)) return fail(ERROR_BAD_LENGTH);
  if (const DWORD code = readRecordAgain(job)) return fail(code);
  if (!isUnchanged(file, sections)) return fail(ERROR_SHARING_VIOLATION);
  job.record.compressedMark = 1;
  if (const DWORD code = rewrite(file, sections, job.record, archive)) return fail(code);
  noteCompressed(handle, job, sections.header.archivePosition() + archive.getSize());
  return ERROR_SUCCESS;
}

}  // namespace Quorvel::FileAccess
