// One file of an ordinary zip archive, replaced or added.
#include <memory>

#include "archives/ArchiveFailure.h"
#include "host/Files.h"
#include "host/Trace.h"
#include "platform/Files.h"
#include "toolkit/ZipW.h"
#include "zephor/Archives.h"

namespace Quorvel::FileAccess {
namespace {

constexpr const wchar_t* kOperation = L"Quorvel::FileAccess::WGO_addFileToProjectZipFile";

bool isFile(const std::wstring& path) {
  const platform::FileStatus status = platform::fileStatus(path);
  return status.exists && !status.isDirectory;
}

/// Takes the entry of that name out, if there is one.
bool removeEntry(CkZipW& zip, const std::wstring& name) {
  const std::unique_ptr<CkZipEntryW> entry = zip.GetEntryByName(name.c_str());
  return entry == nullptr || zip.DeleteEntry(*entry);
}

}  // namespace

unsigned long WGO_addFileToProjectZipFile(const std::wstring& zipPath, const std::wstring& filePath) {
  if (!isFile(zipPath) || !isFile(filePath)) return ERROR_FILE_NOT_FOUND;
  SetLastError(ERROR_SUCCESS);
  CkZipW zip;
  // An archive made by another tool may hold the file by its path; what is added here has the bare name.
  const bool isDone = zip.OpenZip(zipPath.c_str()) && removeEntry(zip, filePath) &&
                      removeEntry(zip, CDirectoryUtility::GetFileNameFromPath(filePath)) &&
                      zip.AppendOneFileOrDir(filePath.c_str(), false) && zip.WriteZipAndClose();
  if (isDone) return ERROR_SUCCESS;
  const DWORD error = GetLastError();
  lfperrC(L"%s: %s\n", kOperation, zip.lastErrorText());
  return failWithBox(error != ERROR_SUCCESS ? error : kToolkitFailure, kOperation, filePath);
}

}  // namespace Quorvel::FileAccess
