#include "ftp/RemoteFtp.h"

#include <memory>

#include "host/Trace.h"
#include "platform/Synchronisation.h"
#include "zephor/Diagnostics.h"
#include "zephor/Service.h"

namespace Quorvel::FileAccess {

using ConnectionLogger::traceFmt;

struct RemoteFtp::ThreadData {
  bool dialogsSuppressed = false;
  HWND parentWindow = nullptr;
};

RemoteFtp::RemoteFtp() : slot_(TlsAlloc()) {
  demand(L"RemoteFtp::RemoteFtp");
}

RemoteFtp::~RemoteFtp() {
  // The other threads' data are theirs to release.
  delete find();
  if (slot_ != TLS_OUT_OF_INDEXES) TlsFree(slot_);
}

RemoteFtp::ThreadData* RemoteFtp::find() const {
  return static_cast<ThreadData*>(TlsGetValue(slot_));
}

RemoteFtp::ThreadData* RemoteFtp::demand(const wchar_t* function) {
  if (ThreadData* data = find()) return data;
  auto data = std::make_unique<ThreadData>();
  if (TlsSetValue(slot_, data.get()) == FALSE) {
    lfperrC(L"%s: no thread-local slot for threadID %d\n", function, static_cast<int>(GetCurrentThreadId()));
    return nullptr;
  }
  ThreadData* const kept = data.release();  // the slot holds it from here on, whatever the trace does
  if (WGO_GetTrace() >= 1) {
    traceFmt(3, L"%s - ALLOCATED Thread Data for threadID %d", function, static_cast<int>(GetCurrentThreadId()));
  }
  return kept;
}

bool RemoteFtp::getDialogsSuppressed() const {
  const ThreadData* data = find();
  return data != nullptr && data->dialogsSuppressed;
}

void RemoteFtp::setDialogsSuppressed(bool suppressed) {
  if (ThreadData* data = demand(L"RemoteFtp::setDialogsSuppressed")) data->dialogsSuppressed = suppressed;
}

HWND RemoteFtp::getParentWindow() const {
  const ThreadData* data = find();
  return data != nullptr ? data->parentWindow : nullptr;
}

void RemoteFtp::setParentWindow(HWND window) {
  if (ThreadData* data = demand(L"RemoteFtp::setParentWindow")) data->parentWindow = window;
}

void RemoteFtp::closeConnection() {}

void RemoteFtp::releaseThreadData() {
  closeConnection();
  const std::unique_ptr<ThreadData> data(find());
  if (data == nullptr) return;
  TlsSetValue(slot_, nullptr);
  if (WGO_GetTrace() >= 1) {
    traceFmt(3, L"RemoteFtp::releaseThreadData - FREED Thread Data for threadID %d",
             static_cast<int>(GetCurrentThreadId()));
  }
}

}  // namespace Quorvel::FileAccess
