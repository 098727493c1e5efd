// Replacing the content of an open file through its handle, so that the old content is never lost.
#include <cstring>

#include "host/Trace.h"
#include "platform/Files.h"
#include "platform/Text.h"
#include "workstation/objects/BlockFile.h"
#include "workstation/objects/OpenFiles.h"

namespace workstation {
namespace {

/// Where the old content lies while the new one is written; the ending keeps it out of every transfer.
std::wstring keptPathOf(const std::wstring& path) {
  return path + L".restore.part";
}

/// Writes the whole of `from` through `to` and cuts what stood behind.
DWORD overwrite(const BlockFile& to, const std::wstring& from) {
  BlockFile source;
  if (const DWORD code = source.openForReading(from)) return code;
  std::uint64_t copied = 0;
  if (const DWORD code = copyBlocks(source, to, 0, UINT64_MAX, {}, copied)) return code;
  return to.finish(copied);
}

/// Copies what stands behind the handle to `path`, which appears only when it is complete.
DWORD keepCopy(const BlockFile& from, const std::wstring& path) {
  TemporaryFileGuard guard(temporaryBeside(path));
  BlockFile copy;
  if (const DWORD code = copy.create(guard.path())) return code;
  if (const DWORD code = from.seek(0)) return code;
  std::uint64_t copied = 0;
  if (const DWORD code = copyBlocks(from, copy, 0, UINT64_MAX, {}, copied)) return code;
  if (const DWORD code = copy.finish(copied)) return code;
  if (const DWORD code = copy.close()) return code;
  if (MoveFileExW(guard.path().c_str(), path.c_str(), MOVEFILE_REPLACE_EXISTING) == FALSE) return GetLastError();
  guard.release();
  return ERROR_SUCCESS;
}

bool beginsCompressed(const BlockFile& file) {
  char magic[4] = {};
  return file.readAt(0, magic, sizeof magic) == ERROR_SUCCESS && std::memcmp(magic, "QVPK", sizeof magic) == 0;
}

}  // namespace

DWORD replaceOpenContent(OpenFile& open, const std::wstring& source, std::wstring& error) {
  const std::lock_guard lock(open.mutex);
  if (open.file == INVALID_HANDLE_VALUE) {
    error = open.path + L": was closed in the core";
    return ERROR_INVALID_HANDLE;
  }
  if (!platform::fileStatus(source).exists) {
    error = source + L": there is no such file to take over";
    return ERROR_FILE_NOT_FOUND;
  }
  const BlockFile file(open.file);
  const std::wstring kept = keptPathOf(open.path);
  if (const DWORD code = keepCopy(file, kept)) {
    error = platform::formatWide(L"%s: no copy of the old content can be kept (error %u)", open.path, code);
    return code;
  }
  if (const DWORD code = overwrite(file, source)) {
    const DWORD restored = overwrite(file, kept);
    if (restored == ERROR_SUCCESS) DeleteFileW(kept.c_str());
    error = platform::formatWide(
        restored == ERROR_SUCCESS
            ? L"%s: the new content can't be written (error %u); the old one stands again"
            : L"%s: neither the new content (error %u) nor the old one can be written; the old one is kept in \"%s\"",
        open.path, code, kept);
    return code;
  }
  open.compressed = beginsCompressed(file);
  file.seek(0);
  DeleteFileW(source.c_str());
  DeleteFileW(kept.c_str());
  return ERROR_SUCCESS;
}

void recoverInterruptedReplace(const std::wstring& path) {
  const std::wstring kept = keptPathOf(path);
  if (!platform::fileStatus(kept).exists || findOpenFile(path)) return;
  // The kept copy is removed as the last step of a replacement, so that one that is there undoes what was not finished.
  // A process that is in the middle of a replacement holds the file open, and the move is refused.
  if (MoveFileExW(kept.c_str(), path.c_str(), MOVEFILE_REPLACE_EXISTING) != FALSE) {
    lfperrC(L"%s: the content from before an interrupted write was brought back\n", path);
  } else {
    lfperrC(L"%s: the content from before an interrupted write can't be brought back (error %u); it is in \"%s\"\n",
            path, GetLastError(), kept);
  }
}

}  // namespace workstation
