#include <algorithm>

#include "cloud/Ondrath_Services.h"
#include "core/ObjectNames.h"
#include "host/Files.h"
#include "host/ObjectFiles.h"
#include "host/Project.h"
#include "host/System.h"
#include "host/Trace.h"
#include "host/Users.h"
#include "platform/Text.h"
#include "services/DatabaseRow.h"
#include "services/DisplayAllowed.h"
#include "services/FileServicesState.h"
#include "services/ObjectVersions.h"
#include "services/ServedProject.h"
#include "zephor/FileServices.h"
#include "zephor/NotUploadedFiles.h"

namespace Quorvel::FileAccess {
namespace {

/// No object has a number below 1: a negative one is refused as zero is.
bool isObject(int number, int type) {
  return number > 0 && objectTypeOf(type).has_value();
}

/// True when the server's file has to come: it is newer, or there is none here.
bool hasToCome(UpdateVerdict verdict) {
  return verdict == eVerdict_ServerNewer || verdict == eVerdict_LocalMissing;
}

void traceModified(int number) {
  const CConsoleTrace trace(
      platform::formatWide(L"\n\nTB%d has been modified, therefore download will be skipped!\n\n", number), 1);
}

bool downloadToHandle(int handle, int number, int type) {
  const void* const value = reinterpret_cast<const void*>(static_cast<std::intptr_t>(handle));
  return WGO_DownloadToOpenFile(&value, number, static_cast<QuorvelFileType>(type));
}

bool downloadOpenObject(int handle, int number, int type) {
  // Local changes that were not uploaded win over the server.
  if (type == eFileType_Teilbild && lcfile_GetForUpload(handle)) {
    traceModified(number);
    return true;
  }
  return downloadToHandle(handle, number, type);
}

bool isNotUploaded(const std::wstring& path) {
  std::vector<std::wstring> loaded;
  getNotUploadedFilesList(loaded);
  return existsEntryInNotUploadedFilesList(path.c_str());
}

/// True when a file that the server's is about to replace may hold work that has not gone up: an upload that was
/// blocked, refused or forbidden to ask leaves no trace but the header of who saved last.
/// @param changed  the object is open and holds changes that were not uploaded
bool mayHoldUnsentWork(const std::wstring& path, int number, int type, UpdateVerdict verdict, bool changed) {
  // "Missing" with a file that is there: its version can't be read.
  if (changed || verdict == eVerdict_LocalMissing || isNotUploaded(path)) return true;
  const std::optional<int> writer = lastLocalWriter(number, type);
  return !writer || *writer == lzbnum();
}

/// A local file with what may be unsent work goes to the backup before it is replaced.
/// @return false when a backup is needed and was not made: nothing may be replaced then
bool backUpUnsentWork(const std::wstring& name, int number, int type, UpdateVerdict verdict, bool changed) {
  std::wstring path;
  if (lffnamC(1, name, path) == 0) {
    if (CDirectoryUtility::GetFileSize(path) <= 0) return true;
    if (!mayHoldUnsentWork(path, number, type, verdict, changed)) return true;
    if (autoBackup::createBackup(path, static_cast<QuorvelFileType>(type))) return true;
  }
  lfperrC(L"%s: %s is not replaced by the server's file, since no backup of it could be made\n",
          L"Quorvel::FileAccess::backUpUnsentWork", name);
  return false;
}

bool downloadClosedObject(int number, int type, bool acceptMissing) {
  const UpdateVerdict verdict = objectVerdict(number, type);
  if (!hasToCome(verdict)) return true;
  const std::wstring name = transferObjectFileName(number, type);
  if (!backUpUnsentWork(name, number, type, verdict, false)) return false;
  CloudStatus status = 0;
  {
    const ScopedDisplayAllowed display;
    status = Ondrath_downloadFile(get_ActivePrj(), number, type, false);
  }
  if (status == ERROR_FILE_NOT_FOUND && acceptMissing) status = 0;
  if (status == 0) noteDownloadedObject(number, type);
  if (getFileAccessTrace() > 0) {
    lfperrC(L"%s: downloaded file %s, error = (%d)\n", L"Quorvel::FileAccess::WGO_CheckLockAndDownloadFile", name,
            status);
  }
  return status == 0;
}

bool downloadNewer(int handle, int number, int type, UpdateVerdict verdict) {
  const std::wstring name = transferObjectFileName(number, type);
  if (!backUpUnsentWork(name, number, type, verdict, lcfile_GetForUpload(handle))) return false;
  std::wstring text;
  const CScopedDisplayInfo display(getlocalizedMessageTextForOndrath(text, name, 0, 0, 0, 0));
  const CloudStatus status = Ondrath_downloadToOpenFile(handle, get_ActivePrj(), number, type);
  if (status == 0) noteDownloadedObject(number, type);
  if (getFileAccessTrace() > 0) {
    lfperrC(L"%s: downloaded file %s, err = (%d)\n", L"Quorvel::FileAccess::WGO_DownloadToOpenFile", name, status);
  }
  return status == 0;
}

/// An object that the server has deleted is backed up and left to the host to remove.
void markWhenDeleted(int number, QuorvelFileType type) {
  const std::wstring name = transferObjectFileName(number, type);
  std::vector<std::wstring> deleted;
  WGO_getOndrathDeletedFiles(get_ActivePrj(), deleted, eShareFile_Teilbild);
  const std::wstring upper = platform::toUpper(name);
  const bool isDeleted = std::any_of(deleted.begin(), deleted.end(),
                                     [&](const std::wstring& other) { return platform::toUpper(other) == upper; });
  std::wstring path;
  if (!isDeleted || lffnamC(1, name, path) != 0) return;
  if (autoBackup::createBackup(path, type)) fileServicesState().markedForDelete.push_back(number);
}

}  // namespace

bool WGO_CheckLockAndDownloadFile(int number, int type, bool acceptMissing) {
  if (!ZSYST_IsOndrathConnection()) return true;
  if (!isObject(number, type)) return false;
  const ScopedAniCursor cursor(WGO_GetDisplayAniCursor());
  int handle = 0;
  if (tbvglk(type, number, handle)) return downloadOpenObject(handle, number, type);
  return downloadClosedObject(number, type, acceptMissing);
}

bool WGO_DownloadToOpenFile(const void* const* handle, int number, QuorvelFileType type) {
  if (WGO_isBlockedDownload() || !ZSYST_IsOndrathConnection()) return true;
  if (!isObject(number, type)) return false;
  const ScopedAniCursor cursor(WGO_GetDisplayAniCursor());
  const int unit = handle != nullptr ? static_cast<int>(reinterpret_cast<std::intptr_t>(*handle)) : 0;
  const UpdateVerdict verdict = objectVerdict(number, type);
  if (hasToCome(verdict)) return downloadNewer(unit, number, type, verdict);
  if (verdict == eVerdict_ServerMissing) markWhenDeleted(number, type);
  return true;
}

}  // namespace Quorvel::FileAccess
