// How a thread's connection comes up.
#include <array>
#include <cwctype>
#include <utility>

#include "diagnostics/ConnectionLog.h"
#include "diagnostics/ErrorBox.h"
#include "ftp/AbortRequest.h"
#include "ftp/RemoteFailure.h"
#include "ftp/RemoteThreadData.h"
#include "ftp/RestReply.h"
#include "host/Trace.h"
#include "platform/Messages.h"
#include "toolkit/StringW.h"
#include "zephor/ServerStore.h"
#include "zephor/Service.h"

namespace Quorvel::FileAccess {
namespace {

constexpr int kClosing = 421;
constexpr UINT kCaptionString = 1019;
constexpr UINT kClosingQuestionString = 1020;

std::wstring resourceText(HINSTANCE module, UINT id) {
  constexpr std::size_t kCharacters = 1024;
  std::array<wchar_t, kCharacters> buffer{};
  const int length = LoadStringW(module, id, buffer.data(), static_cast<int>(buffer.size()));
  return length > 0 ? std::wstring(buffer.data(), static_cast<std::size_t>(length)) : std::wstring();
}

/// Number of the text for a connect-fail reason; 0 when there is none.
UINT stringOfReason(int reason) {
  constexpr int kFirstString = 1000;
  if (reason >= 1 && reason <= 7) return static_cast<UINT>(kFirstString + reason - 1);
  if (reason >= 100 && reason <= 106) return static_cast<UINT>(kFirstString + 7 + reason - 100);
  switch (reason) {
    case eConnect_NoGreeting:
      return 1014;
    case eConnect_TlsRefused:
      return 1015;
    case eConnect_Busy:
      return 1017;
    case eConnect_LoginRefused:
      return 1018;
    default:
      return 0;
  }
}

}  // namespace

std::wstring LookupErrorText_forKestrowConnect_inResources(int reason, HINSTANCE module) {
  const UINT id = stringOfReason(reason);
  std::wstring text = id != 0 && module != nullptr ? resourceText(module, id) : std::wstring();
  return text.empty() ? platform::formatWide(L"Error:%d", reason) : text;
}

bool RemoteFtp::isConnectedToHost(const ThreadData& data) const {
  return data.client != nullptr && data.connectedHost == hostName && data.client->get_IsConnected();
}

void RemoteFtp::noteHost() {
  const std::lock_guard lock(sessionMutex_);
  if (hostName == host_) return;
  host_ = hostName;
  restFailed_ = false;
  listingCache_.clear();
}

RemoteStatus RemoteFtp::enableConnection(RemoteRetryContext& context) {
  ThreadData* data = demand(L"RemoteFtp::enableConnection");
  if (data == nullptr) {
    SetLastError(ERROR_NOT_CONNECTED);
    return {.failed = true, .error = ERROR_NOT_CONNECTED};
  }
  if (isAbortRequested()) {
    SetLastError(ERROR_CANCELLED);
    return {.failed = true, .error = ERROR_CANCELLED};
  }
  if (!reconnectRequired && isConnectedToHost(*data)) return {};

  // A client of another host, or with other properties, is of no use; a fresh one has no state to be undone.
  closeConnection();
  noteHost();
  const RemoteConnectionType type = connectionType;
  data->client = makeClient_(*this);
  data->connectedHost = hostName;
  data->directory.clear();
  {
    const CTimeTrace timer(WGO_GetTrace(), platform::formatWide(L"enableConnection: \"%s\" \"%s\"", hostName, userName),
                           1, false, true);
    if (!data->client->Connect()) return failedConnect(context, *data->client, type);
  }
  findFeatures(*data->client);
  reconnectRequired = false;
  return {};
}

std::wstring RemoteFtp::featureText(IRemoteClient& client) {
  CkString text;
  if (isDirectoryStore()) {
    client.Feat(text);
    return text.text();
  }
  // Asked once in a process: what one server of it can, the others can as well.
  {
    const std::lock_guard lock(sessionMutex_);
    if (featuresRead_) return featureText_;
  }
  const bool answered = client.Feat(text) || client.get_IsConnected();
  const std::lock_guard lock(sessionMutex_);
  if (answered && !featuresRead_) {
    featureText_ = text.text();
    featuresRead_ = true;
  }
  return text.text();
}

void RemoteFtp::findFeatures(IRemoteClient& client) {
  bool rest = !restFailed_ && featureText(client).find(L"REST") != std::wstring::npos;
  if (rest && !client.Quote(L"REST 0")) {
    // A connection that dies here, with a farewell or without, tells nothing about what the server can.
    if (client.lastReplyCode() == 0 || client.lastReplyCode() == kClosing) return;
    rest = isRestAccepted(client, 0);
  }
  supportsRest_ = rest;
}

bool RemoteFtp::downgrade(std::int32_t reason, RemoteConnectionType type) {
  auto refused = RemoteConnectionType::FtpExplicitTls;
  if (reason != eConnect_TlsRefused || type != refused) return false;
  // Another thread may have met the same refusal meanwhile; it has said so then.
  if (!connectionType.compare_exchange_strong(refused, RemoteConnectionType::Ftp)) return true;
  {
    const std::lock_guard lock(sessionMutex_);
    downgradedHost_ = hostName;
  }
  const std::wstring line = platform::formatWide(
      L"%s refuses TLS: going on without encryption, password and files are sent in the clear\n", hostName);
  lfperrC(L"%s: %s", L"Quorvel::FileAccess::RemoteFtp::enableConnection", line);
  ConnectionLogger::AppendConnectionLog(line.c_str());
  return true;
}

bool RemoteFtp::isDowngraded() const {
  const std::lock_guard lock(sessionMutex_);
  return !downgradedHost_.empty() && downgradedHost_ == hostName;
}

void RemoteFtp::keepDowngrade() {
  if (isDowngraded() && connectionType == RemoteConnectionType::FtpExplicitTls) {
    connectionType = RemoteConnectionType::Ftp;
  }
}

RemoteStatus RemoteFtp::failedConnect(RemoteRetryContext& context, const IRemoteClient& client,
                                      RemoteConnectionType type) {
  const std::wstring details = client.lastErrorText();
  const std::int32_t reason = client.get_ConnectFailReason();
  if (context.logErrors) logLines(details);
  // Deliberate: a server without TLS is worked with in the clear, once and for the rest of the process.
  if (downgrade(reason, type)) return enableConnection(context);
  if (context.retriesLeft > 0 && !isAbortRequested()) {
    --context.retriesLeft;
    return {.retry = true};
  }

  const HINSTANCE module = resources();
  const std::wstring text = LookupErrorText_forKestrowConnect_inResources(reason, module) + L"\n\n" +
                            (module != nullptr ? resourceText(module, kClosingQuestionString) : std::wstring());
  if (mayAsk(context)) {
    const std::wstring format = module != nullptr ? resourceText(module, kCaptionString) : std::wstring();
    const std::wstring caption = format.empty() ? hostName : platform::formatWide(format.c_str(), hostName);
    if (ConnectionLogger::ShowErrorBox(text, caption, kRetryBox, details) == IDRETRY) {
      context.reconnected = false;
      return {.retry = true};
    }
  }
  if (context.logErrors) lfperrC(L"%s", text);
  SetLastError(ERROR_NOT_CONNECTED);
  return {.failed = true, .error = ERROR_NOT_CONNECTED};
}

}  // namespace Quorvel::FileAccess
