// The beginning of a session: address, connection, greeting, TLS (RFC 4217), login, what the server can.
#include <algorithm>

#include "platform/Paths.h"
#include "platform/Text.h"
#include "toolkit/FtpAddress.h"
#include "toolkit/FtpDialogue.h"
#include "toolkit/FtpListing.h"
#include "toolkit/FtpResolve.h"
#include "toolkit/FtpSession.h"
#include "toolkit/FtpSettings.h"

namespace Quorvel::FileAccess {

namespace {
constexpr int kPathName = 257;
constexpr int kNotAvailable = 421;
constexpr int kNeedPassword = 331;
}  // namespace

bool FtpSession::refuse(ConnectFailReason reason, std::string_view text) {
  reason_ = reason;
  dialogue_.note(text);
  control_.close();
  return false;
}

bool FtpSession::refuseLost(ConnectFailReason ifLost) {
  // The reason that lies nearest; the dialogue has the rest.
  ConnectFailReason reason = ifLost;
  if (control_.failure() == FtpFailure::Aborted) reason = eConnect_Cancelled;
  if (control_.failure() == FtpFailure::TimedOut && ifLost != eConnect_NoGreeting) reason = eConnect_TimedOut;
  return refuse(reason, "Error: the connection could not be brought up");
}

std::int32_t FtpSession::setupTimeout() const {
  // Silence of a server that has not said who it is yet is silence of the connect.
  return std::min(settings_.connectLimit(), settings_.readLimit());
}

bool FtpSession::connect() {
  directory_.forgetAll();
  return open();
}

bool FtpSession::open() {
  control_.close();
  // The new session begins where the server likes, and no reply of the old one is its own.
  directory_.forgetServer();
  dialogue_.forgetReply();
  tls_.reset();
  tlsSession_ = {};
  facts_ = {};
  features_ = {};
  featureText_.clear();
  areFeaturesAsked_ = isOutOfStep_ = isRestartDoubtful_ = false;
  repliesOwed_ = 0;
  transfersInRow_ = 0;
  restart_ = 0;
  reason_ = eConnect_Ok;
  const std::optional<FtpHost> host = parseHost(platform::toUtf8(settings_.hostname));
  if (settings_.hostname.empty()) return refuse(eConnect_NoHostName, "Error: no host name is given");
  if (!host) return refuse(eConnect_NotResolved, "Error: the host name is no name, address or either with a port");
  const auto port = host->port != 0 ? host->port : static_cast<std::uint16_t>(settings_.port);
  if (!loop_.prepare()) return refuse(eConnect_Internal, "Error: the system has no descriptors left");
  if (!openSocket(host->name, port)) return false;
  control_.setTimeout(setupTimeout());
  if (settings_.implicitTls && !secure(host->name)) return false;
  if (!greet()) return false;
  // A server may take its time over a password, most of all over a wrong one (pure-ftpd: up to five seconds).
  control_.setTimeout(settings_.readLimit());
  if (settings_.authTls && !settings_.implicitTls && !authTls(host->name)) return false;
  return login();
}

bool FtpSession::openSocket(const std::string& host, std::uint16_t port) {
  const auto resolved = resolveHost(loop_, host, FtpLoop::deadlineIn(settings_.connectLimit()));
  if (resolved.waited == FtpWaited::Aborted) return refuse(eConnect_Cancelled, "Error: aborted");
  if (resolved.waited == FtpWaited::TimedOut) {
    return refuse(eConnect_ResolveTimedOut, "Error: the name of the host was not resolved in time: " + host);
  }
  if (resolved.addresses.empty()) {
    return refuse(eConnect_NotResolved, "Error: unknown host " + host + ": " + resolved.error);
  }
  const auto end = FtpLoop::deadlineIn(settings_.connectLimit());
  std::size_t left = resolved.addresses.size();
  for (const std::string& address : resolved.addresses) {
    // An address that does not answer leaves its share of the budget to the others.
    const auto now = FtpLoop::Clock::now();
    const auto deadline = now + (end - now) / static_cast<int>(left--);
    if (connectTo({address, port}, deadline)) return true;
    if (reason_ == eConnect_Cancelled) return false;
  }
  return false;
}

bool FtpSession::connectTo(const FtpEndpoint& endpoint, FtpLoop::Clock::time_point deadline) {
  const std::string where = endpoint.address + " port " + std::to_string(endpoint.port);
  FtpSocket& socket = control_.renew();
  dialogue_.note("Connecting to " + where);
  socket.beginConnect(endpoint, 0);
  const FtpWaited waited = loop_.wait({{socket, FtpInterest::Connect}}, deadline);
  if (waited == FtpWaited::Aborted) return refuse(eConnect_Cancelled, "Error: aborted");
  if (waited == FtpWaited::TimedOut) return refuse(eConnect_TimedOut, "Error: no answer from " + where);
  if (socket.connectState() != FtpConnectState::Connected) {
    return refuse(eConnect_Refused, "Error: " + where + ": " + socket.connectError());
  }
  reason_ = eConnect_Ok;
  peerAddress_ = endpoint.address;
  passive_.begin(settings_.useEpsv, endpoint.address.find(':') != std::string::npos);
  return true;
}

bool FtpSession::greet() {
  std::optional<FtpReply> greeting = control_.reply();
  while (greeting && greeting->isPreliminary()) greeting = control_.reply();
  if (!greeting) return refuseLost(eConnect_NoGreeting);
  facts_.greeting = nameOf(greeting->text);
  if (greeting->isSuccess()) return true;
  return refuse(eConnect_Busy, "Error: the server takes no connection");
}

bool FtpSession::authTls(const std::string& host) {
  const std::optional<FtpReply> answer = exchange("AUTH TLS");
  if (!answer) return refuseLost(eConnect_TlsNotStarted);
  if (answer->code == kNotAvailable) return refuse(eConnect_Busy, "Error: the server is not available");
  // A reason that passes is no refusal: callers go on without TLS after one.
  if (answer->isTemporary()) return refuse(eConnect_TlsNotStarted, "Error: the server can't start TLS at the moment");
  if (!answer->isSuccess()) return refuse(eConnect_TlsRefused, "Error: the server refuses TLS");
  // What came before TLS could be anybody's and would count as said under TLS.
  if (control_.hasUnread())
    return refuse(eConnect_TlsNotStarted, "Error: there is plain text behind the reply to AUTH");
  return secure(host);
}

bool FtpSession::secure(const std::string& host) {
  tls_.emplace(host);
  const std::string pem =
      settings_.trustedCertificates.empty() ? std::string() : platform::systemPath(settings_.trustedCertificates);
  const auto problem = static_cast<ConnectFailReason>(tls_->prepare(pem));
  if (problem == eConnect_OwnCertificates) {
    return refuse(problem, "Error: can't read the certificates in " + platform::toUtf8(settings_.trustedCertificates));
  }
  if (problem != eConnect_Ok) return refuse(problem, "Error: TLS can't be prepared: " + tlsErrorText());
  if (!control_.socket().secure(*tls_, &tlsSession_, nullptr)) {
    return refuse(eConnect_TlsNotStarted, "Error: " + control_.socket().error());
  }
  return handshake();
}

bool FtpSession::handshake() {
  FtpSocket& socket = control_.socket();
  const auto deadline = FtpLoop::deadlineIn(settings_.connectLimit());
  for (;;) {
    const FtpIo status = socket.handshake();
    if (status == FtpIo::Done) break;
    if (status == FtpIo::AgainRead || status == FtpIo::AgainWrite) {
      const bool forWrite = status == FtpIo::AgainWrite;
      const FtpWaited waited = loop_.wait({{socket, forWrite ? FtpInterest::Write : FtpInterest::Read}}, deadline);
      if (waited == FtpWaited::Ready) continue;
      if (waited == FtpWaited::Aborted) return refuse(eConnect_Cancelled, "Error: aborted");
      return refuse(eConnect_TimedOut, "Error: the TLS handshake was not completed in time");
    }
    const std::string error = "Error: the TLS handshake failed: " + socket.error();
    if (socket.isCertificateRefused()) return refuse(eConnect_NotVerified, error);
    const bool isClosed = status != FtpIo::Failed || socket.isResetByPeer();
    return refuse(isClosed ? eConnect_ClosedEarly : eConnect_Handshake, error);
  }
  facts_.tls = true;
  const std::string version = socket.tlsVersion();
  facts_.tlsVersion = nameOf(version);
  dialogue_.note("Secured with " + version);
  return true;
}

bool FtpSession::protectData() {
  control_.queue("PBSZ 0", "PBSZ 0");
  control_.queue("PROT P", "PROT P");
  if (!control_.flush()) return refuseLost(eConnect_TlsNotStarted);
  const std::optional<FtpReply> size = control_.reply();
  const std::optional<FtpReply> level = size ? control_.reply() : std::nullopt;
  if (!level) return refuseLost(eConnect_TlsNotStarted);
  if (level->isSuccess()) return true;
  return refuse(eConnect_TlsNotStarted, "Error: the server does not protect data connections");
}

bool FtpSession::login() {
  if (tls_ && !protectData()) return false;
  if (!isSendable(settings_.user) || !isSendable(settings_.password)) {
    return refuse(eConnect_LoginRefused, "Error: a user name or password with a line end in it is not sent");
  }
  const bool isAnonymous = settings_.user.empty();
  const std::string user = isAnonymous ? "anonymous" : platform::toUtf8(settings_.user);
  const std::string password = isAnonymous ? "anonymous@" : platform::toUtf8(settings_.password);
  std::optional<FtpReply> answer = exchange("USER " + user);
  if (answer && answer->code == kNeedPassword) answer = exchange("PASS " + password, "PASS ****");
  if (!answer) return refuseLost(eConnect_LoginRefused);
  if (answer->code == kNotAvailable) return refuse(eConnect_Busy, "Error: the server is not available");
  if (!answer->isSuccess()) return refuse(eConnect_LoginRefused, "Error: the server refuses the login");
  return settle();
}

bool FtpSession::settle() {
  if (settings_.autoFeat) control_.queue("FEAT", "FEAT");
  control_.queue("PWD", "PWD");
  control_.queue("TYPE I", "TYPE I");
  if (!control_.flush()) return refuseLost(eConnect_LoginRefused);
  std::optional<FtpReply> answer;
  if (settings_.autoFeat) {
    answer = control_.reply();
    if (!answer) return refuseLost(eConnect_LoginRefused);
    takeFeatures(*answer);
  }
  answer = control_.reply();
  if (!answer) return refuseLost(eConnect_LoginRefused);
  if (answer->code == kPathName) {
    const std::string login = parsePrintedDirectory(answer->text).value_or("");
    directory_.confirm(login);
    if (directory_.wanted().empty()) directory_.want(login);
  }
  answer = control_.reply();
  if (!answer) return refuseLost(eConnect_LoginRefused);
  if (!answer->isSuccess()) return refuse(eConnect_Internal, "Error: the server has no binary transfers");
  if (!features_.utf8) return true;
  // Names are sent in UTF-8 whatever the answer is.
  return exchange("OPTS UTF8 ON") ? true : refuseLost(eConnect_LoginRefused);
}

}  // namespace Quorvel::FileAccess
