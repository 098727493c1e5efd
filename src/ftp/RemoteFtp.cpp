#include "ftp/RemoteFtp.h"

#include <algorithm>
#include <memory>
#include <utility>

#include "diagnostics/ErrorBox.h"
#include "ftp/AbortRequest.h"
#include "ftp/RemoteFailure.h"
#include "ftp/RemoteThreadData.h"
#include "host/Trace.h"
#include "host/UserMessages.h"
#include "platform/Messages.h"
#include "platform/Synchronisation.h"
#include "zephor/Diagnostics.h"
#include "zephor/Service.h"

namespace Quorvel::FileAccess {

using ConnectionLogger::traceFmt;

namespace {

/// `what` is "ALLOCATED" or "FREED".
void traceThreadData(const wchar_t* function, const wchar_t* what) {
  if (WGO_GetTrace() < 1) return;
  traceFmt(3, L"%s - %s Thread Data for threadID %d", function, what, static_cast<int>(GetCurrentThreadId()));
}

}  // namespace

RemoteFtp::RemoteFtp(bool withListingCache) : slot_(TlsAlloc()), listingCacheOn_(withListingCache) {
  demand(L"RemoteFtp::RemoteFtp");
}

RemoteFtp::~RemoteFtp() {
  // The other threads' data are theirs to release.
  closeConnection();
  delete find();
  if (slot_ != TLS_OUT_OF_INDEXES) TlsFree(slot_);
  if (resources_ != nullptr) FreeLibrary(resources_);
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
  traceThreadData(function, L"ALLOCATED");
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

IRemoteClient* RemoteFtp::client() const {
  const ThreadData* data = find();
  return data != nullptr ? data->client.get() : nullptr;
}

void RemoteFtp::doubtDirectory() {
  if (IRemoteClient* used = client()) used->doubtRemoteDir();
}

bool RemoteFtp::mayHaveLeftPart() const {
  const ThreadData* data = find();
  return data != nullptr && data->mayHaveLeftPart;
}

void RemoteFtp::forgetPart() {
  if (ThreadData* data = find()) data->mayHaveLeftPart = false;
}

void RemoteFtp::closeConnection() {
  ThreadData* data = find();
  if (data == nullptr || data->client == nullptr) return;
  const std::unique_ptr<IRemoteClient> client = std::move(data->client);
  if (client->get_IsConnected()) client->Disconnect();
}

void RemoteFtp::releaseThreadData() {
  closeConnection();
  const std::unique_ptr<ThreadData> data(find());
  if (data == nullptr) return;
  TlsSetValue(slot_, nullptr);
  traceThreadData(L"RemoteFtp::releaseThreadData", L"FREED");
}

HMODULE RemoteFtp::resources() {
  const std::lock_guard lock(sessionMutex_);
  if (resources_ == nullptr) resources_ = LoadResourcesForInetExtensions();
  return resources_;
}

bool RemoteFtp::mayAsk(const RemoteRetryContext& context) const {
  return context.interactive && !isAbortRequested() && !getDialogsSuppressed() && !Msg2usr_IsDeny();
}

RemoteStatus RemoteFtp::failed(RemoteRetryContext& context, const RemoteFailure& failure, const std::wstring& subject) {
  const IRemoteClient* used = client();
  const std::wstring details = used != nullptr ? used->lastErrorText() : std::wstring();
  if (context.logErrors) logLines(details);
  if (context.retriesLeft > 0 && !isAbortRequested()) {
    --context.retriesLeft;
    return {.retry = true};
  }
  if (mayAsk(context) &&
      ConnectionLogger::ShowErrorBox(failure.text + subject, failure.caption, kRetryBox, details) == IDRETRY) {
    context.reconnected = false;
    return {.retry = true};
  }
  SetLastError(failure.code);
  return {.failed = true, .error = failure.code};
}

std::wstring RemoteFtp::placeOf(const std::wstring& name) const {
  const ThreadData* data = find();
  std::wstring place = hostName;
  if (data != nullptr) place += data->directory;
  return place + L"/" + name;
}

void RemoteFtp::notifyDirectory(const std::wstring& directory) {
  if (listingCacheOn_) listingCache_.notify(directory);
}

void logLines(const std::wstring& text) {
  for (std::size_t begin = 0; begin < text.size();) {
    const std::size_t end = std::min(text.find(L'\n', begin), text.size());
    if (end > begin) lfperrC(L"%s", text.substr(begin, end - begin));
    begin = end + 1;
  }
}

}  // namespace Quorvel::FileAccess
