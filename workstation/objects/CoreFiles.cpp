// The host's operations on object files that are open in the core, and the read-only opening of their headers.
#include <map>
#include <memory>
#include <mutex>

#include "host/Files.h"
#include "host/ObjectFiles.h"
#include "host/Trace.h"
#include "workstation/objects/ObjectFile.h"
#include "workstation/objects/ObjectNames.h"
#include "workstation/objects/OpenFiles.h"

namespace {

thread_local int lockKind = 0;

/// Files opened for their header. Their handles begin far above those of the core's open files.
struct HeaderReaders {
  static constexpr int kFirstHandle = 1 << 24;
  std::mutex mutex;
  std::map<int, workstation::ObjectRecord> records;
  int nextHandle = kFirstHandle;
};

HeaderReaders& readers() {
  static HeaderReaders instance;
  return instance;
}

/// The record behind a handle of Sing_lfztboC, or behind that of a file that is open in the core.
bool recordBehind(int handle, workstation::ObjectRecord& out) {
  {
    const std::lock_guard lock(readers().mutex);
    const auto found = readers().records.find(handle);
    if (found != readers().records.end()) {
      out = found->second;
      return true;
    }
  }
  const auto open = workstation::findOpenFile(handle);
  if (!open) return false;
  workstation::ObjectFileInfo info;
  std::wstring error;
  if (workstation::readObjectHeader(open->path, info, error) != ERROR_SUCCESS) {
    lfperrC(L"%s\n", error);
    return false;
  }
  out = info.record;
  return true;
}

template <typename Header>
bool readHeader(int handle, Header& out) {
  workstation::ObjectRecord record;
  if (!recordBehind(handle, record) || !std::holds_alternative<Header>(record)) return false;
  out = std::get<Header>(record);
  return true;
}

}  // namespace

int Sing_lfztboC(int type, int mode, const std::wstring& path, int /*flags*/, int& handle) {
  constexpr int kReadOnly = 2;
  if (mode != kReadOnly || (type != eFileType_Teilbild && type != eFileType_Plan))
    return static_cast<int>(ERROR_INVALID_PARAMETER);
  workstation::ObjectFileInfo info;
  std::wstring error;
  if (const DWORD code = workstation::readObjectHeader(path, info, error)) {
    if (code != ERROR_FILE_NOT_FOUND) lfperrC(L"%s\n", error);
    return static_cast<int>(code);
  }
  if (info.type != type) return static_cast<int>(ERROR_INVALID_DATA);
  const std::lock_guard lock(readers().mutex);
  handle = readers().nextHandle++;
  readers().records.emplace(handle, info.record);
  return 0;
}

void tbvtbc(int handle) {
  const std::lock_guard lock(readers().mutex);
  readers().records.erase(handle);
}

bool liesTbHeader(int handle, TeilbildHeader& out) {
  return readHeader(handle, out);
}

bool liesPlHeader(int handle, PlanHeader& out) {
  return readHeader(handle, out);
}

bool tbvglk(int type, int number, int& handle) {
  const std::wstring name = workstation::objectFileName(type, number);
  std::wstring path;
  if (name.empty() || lffnamC(1, name, path) != 0) return false;
  const auto open = workstation::findOpenFile(path);
  if (!open) return false;
  handle = open->handle;
  return true;
}

int cfgethandle(const std::wstring& path, int /*flags*/) {
  const auto open = workstation::findOpenFile(path);
  return open ? open->handle : -1;
}

HANDLE getOpenFileHandle_FromFileName(const std::wstring& path) {
  const auto open = workstation::findOpenFile(path);
  return open ? open->file.load() : INVALID_HANDLE_VALUE;
}

bool setOpenFileZippedMode_FromFileHandle(HANDLE handle, bool compressed) {
  const auto open = workstation::findOpenFile(handle);
  if (!open) return false;
  open->compressed = compressed;
  return true;
}

bool lcfile_GetForUpload(int handle) {
  const auto open = workstation::findOpenFile(handle);
  return open && open->modified;
}

int lcfile_ReConnect(int handle, const std::wstring& partPath) {
  const auto open = workstation::findOpenFile(handle);
  if (!open) return static_cast<int>(ERROR_INVALID_HANDLE);
  std::wstring error;
  if (const DWORD code = workstation::replaceOpenContent(*open, partPath, error)) {
    lfperrC(L"%s\n", error);
    return static_cast<int>(code);
  }
  open->modified = false;
  return 0;
}

unsigned long lcfile_doLowlevelOnFile(HANDLE file, unsigned long (*work)(HANDLE file, void* arguments),
                                      void* arguments) {
  const auto open = workstation::findOpenFile(file);
  if (!open || work == nullptr) return ERROR_INVALID_HANDLE;
  const std::lock_guard lock(open->mutex);
  if (open->file != file) return ERROR_INVALID_HANDLE;  // closed while this thread waited
  return work(file, arguments);
}

int get_Lcfile_LockKind() {
  return lockKind;
}

void set_Lcfile_LockKind(int kind) {
  lockKind = kind;
}
