// Compressing a Teilbild in place: what is found out before the file is touched.
#include "archives/ArchiveFailure.h"
#include "archives/InPlaceWorkers.h"
#include "archives/ObjectFileHandle.h"
#include "host/FileTypes.h"
#include "host/Files.h"
#include "host/Headers.h"
#include "host/ObjectFiles.h"
#include "platform/Files.h"
#include "platform/Text.h"
#include "zephor/Archives.h"

namespace Quorvel::FileAccess {
namespace {

constexpr const wchar_t* kOperation = L"Quorvel::FileAccess::WGO_zipProjectFileEx";
constexpr int kLowestNumber = 1;
constexpr int kHighestNumber = 9999;

/// The number in a path such as `X:\dir\tb000123.zdw`, -1 for a name of another ending. Letter case counts as little
/// as where the host tells the type by the name.
int numberInPath(const std::wstring& path) {
  constexpr std::size_t kPrefixLength = 2;
  if (platform::findIgnoreCase(path, L".zdw") == std::wstring::npos &&
      platform::findIgnoreCase(path, L".zpl") == std::wstring::npos) {
    return -1;
  }
  const std::size_t separator = path.find_last_of(L'\\');
  const std::size_t begin = separator == std::wstring::npos ? 0 : separator + 1;
  return begin + kPrefixLength <= path.size() ? _wtoi(path.c_str() + begin + kPrefixLength) : -1;
}

/// The record that the file carries, or a default one of that number. @return whether the file gave it
bool readRecord(int number, TeilbildHeader& record) {
  record = clearedHeader<TeilbildHeader>();
  ZP_Header_TBFileBase::InitDefaults(record, 0, nullptr, nullptr, 0, 1);
  const bool isRead =
      ZP_Header_Teilbild::CheckOpenAndReadInfo(kHeaderPathNumber, static_cast<unsigned>(number), record, true) == 0;
  if (!isRead && number >= kLowestNumber) record.number = number;
  return isRead;
}

}  // namespace

unsigned long WGO_zipProjectFile(const std::wstring& path) {
  return WGO_zipProjectFileEx(path, nullptr);
}

unsigned long WGO_zipProjectFileEx(const std::wstring& path, WIN32_FIND_DATAW* info) {
  QuorvelFileType type = eFileType_Unknown;
  int numberOfName = -1;
  if (!GetTypeFromFilePathName(path, type, numberOfName) || type != eFileType_Teilbild) return ERROR_INVALID_NAME;
  if (WGO_isZipFile(path.c_str(), nullptr)) return ERROR_ALREADY_EXISTS;
  const platform::FileStatus status = platform::fileStatus(path);
  if (!status.exists || status.isDirectory || status.size == 0) return ERROR_SUCCESS;

  const HANDLE handle = getOpenFileHandle_FromFileName(path);
  const bool isOpen = ObjectFileHandle::isReal(handle);
  CompressionJob job;
  job.path = path;
  job.info = info;
  job.fileSize = status.size;
  job.number = numberInPath(path);
  if (isOpen && (job.number < kLowestNumber || job.number > kHighestNumber)) {
    return failWithBox(ERROR_INVALID_NAME, kOperation, path);
  }
  std::wstring directory;
  if (!lfSplitPath(path, directory, job.name)) return ERROR_PATH_NOT_FOUND;
  const ScopedPathPut headerPath(kHeaderPathNumber, directory);
  job.hasRecord = readRecord(job.number, job.record);
  // A file that is not open is compressed even so: what can't be read of it goes into the archive unchanged.
  if (!job.hasRecord && isOpen) return ERROR_SUCCESS;
  return isOpen ? lcfile_doLowlevelOnFile(handle, &my_WGO_zipProjectFile, &job) : my_WGO_zipProjectFile(nullptr, &job);
}

}  // namespace Quorvel::FileAccess
