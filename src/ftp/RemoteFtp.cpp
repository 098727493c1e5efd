#include "ftp/RemoteFtp.h"

#include <memory>

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
  TlsFree(slot_);
}

RemoteFtp::ThreadData* RemoteFtp::find() const {
  return static_cast<ThreadData*>(TlsGetValue(slot_));
}

RemoteFtp::ThreadData& RemoteFtp::demand(const wchar_t* function) {
  if (ThreadData* data = find()) return *data;
  auto data = std::make_unique<ThreadData>();
  TlsSetValue(slot_, data.get());
  if (WGO_GetTrace() >= 1) {
    traceFmt(3, L"%s - ALLOCATED Thread Data for threadID %d", function, static_cast<int>(GetCurrentThreadId()));
  }
  return *data.release();
}

bool RemoteFtp::getDialogsSuppressed() const {
  const ThreadData* data = find();
  return data != nullptr && data->dialogsSuppressed;
}

void RemoteFtp::setDialogsSuppressed(bool suppressed) {
  demand(L"RemoteFtp::setDialogsSuppressed").dialogsSuppressed = suppressed;
}

HWND RemoteFtp::getParentWindow() const {
  const ThreadData* data = find();
  return data != nullptr ? data->parentWindow : nullptr;
}

void RemoteFtp::setParentWindow(HWND window) {
  demand(L"RemoteFtp::setParentWindow").parentWindow = window;
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
