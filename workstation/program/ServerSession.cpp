#include "workstation/program/ServerSession.h"

#include <oneapi/tbb/global_control.h>

#include <charconv>
#include <csignal>

#include "platform/Messages.h"
#include "platform/Text.h"
#include "workstation/program/ServerPassword.h"
#include "workstation/program/ServerPaths.h"
#include "zephor/Diagnostics.h"
#include "zephor/ServerStore.h"
#include "zephor/Service.h"

namespace workstation::program {

using namespace Quorvel::FileAccess;

namespace {

constexpr int kLocalSide = ePrjPath;
constexpr int kServerSide = eServerPrjPath;
constexpr int kServerRoot = eServerDataPath;
constexpr int kReasonLoginRefused = 301;
constexpr std::size_t kMostConnections = 64;
constexpr const char* kAutomatic = "auto";
/// Nothing is ever there: a command that moves no file must not touch one.
constexpr const wchar_t* kNoDirectory = L"C:\\Temp\\server\\none";

/// More connections hide more of a long way; a near server is kept busy by few.
std::size_t connectionsFor(std::int64_t roundTripMicroseconds) {
  if (roundTripMicroseconds < 2'000) return 4;
  return roundTripMicroseconds <= 10'000 ? 8 : 16;
}

/// The first Ctrl-C ends the transfers in order, a second one the program.
void onInterrupt(int signal) {
  WGO_abortTransfers(true);
  std::signal(signal, SIG_DFL);
}

std::size_t parseJobs(const std::string& text) {
  std::size_t jobs = 0;
  const auto [rest, problem] = std::from_chars(text.data(), text.data() + text.size(), jobs);
  if (problem != std::errc() || rest != text.data() + text.size() || jobs < 1 || jobs > kMostConnections) {
    throw CommandFailure{ExitCode::Usage, L"--jobs " + wide(text) + L": expected \"auto\" or a number from 1 to 64"};
  }
  return jobs;
}

}  // namespace

struct ServerSession::Connections {
  explicit Connections(std::size_t count) : limit(oneapi::tbb::global_control::max_allowed_parallelism, count) {}
  oneapi::tbb::global_control limit;
};

ServerMap::value_type findServer(Context& context, const std::string& name) {
  context.startWorkstation();
  const ServerMap servers = knownServers();
  const auto found = servers.find(wide(name));
  if (found != servers.end()) return *found;
  throw CommandFailure{ExitCode::Failure, L"there is no server " + wide(name) + L"; see zephor server list"};
}

CommandFailure connectFailure(const std::wstring& name, int reason) {
  const HMODULE resources = LoadResourcesForInetExtensions();
  const std::wstring text = LookupErrorText_forKestrowConnect_inResources(reason, resources);
  if (resources != nullptr) FreeLibrary(resources);
  return {reason == kReasonLoginRefused ? ExitCode::NotLoggedIn : ExitCode::Failure, name + L": " + text};
}

std::wstring serverErrorText(unsigned long code) {
  if (code == ERROR_SUCCESS) return L"refused";
  return platform::formatWide(L"%s (error %u)",
                              std::wstring(ConnectionLogger::getLastErrorString(static_cast<DWORD>(code))),
                              static_cast<unsigned>(code));
}

ServerSession::ServerSession(Context& context, const ServerOptions& options)
    : context_(context),
      server_(findServer(context, options.name)),
      jobs_(options.jobs),
      transfer_(getInetFileManager()) {
  if (jobs_ != kAutomatic) parseJobs(jobs_);
  std::signal(SIGINT, onInterrupt);
  initialise(options.passwordFile);
  connect();
}

ServerSession::~ServerSession() {
  transfer_.shutdown();
}

IZepInetFileTransferInternal& ServerSession::internal() const {
  return dynamic_cast<IZepInetFileTransferInternal&>(transfer_);
}

IZepInetFileTransferLocking& ServerSession::locking() const {
  return dynamic_cast<IZepInetFileTransferLocking&>(transfer_);
}

void ServerSession::initialise(const std::string& passwordFile) {
  base_ = server_.second.baseDirectory;
  if (!server_.second.isDirectory) {
    if (base_.empty() || base_.front() != L'/') base_.insert(0, 1, L'/');
    setServerPassword(name(), passwordFor(name(), server_.second, passwordFile));
  }
  while (base_.size() > 1 && (base_.back() == L'/' || base_.back() == L'\\')) base_.pop_back();
  // Of two servers with one host name this one is meant.
  ZSYST_setCurrentWorkgroupServer(name());
  Initialize_forIZepInetFileTransfer record;
  record.serverName = name().c_str();
  if (!transfer_.initialize(record)) throw CommandFailure{ExitCode::Failure, name() + L": the server can't be set up"};
  internal().setPathFromNr(base_.c_str(), &kServerRoot);
  aim(L"", kNoDirectory);
}

void ServerSession::connect() {
  SetLastError(ERROR_SUCCESS);
  const bool isThere = transfer_.existDirectory(base_.c_str());
  const DWORD code = GetLastError();
  if (isThere) {
    if (WGO_isConnectionDowngraded()) {
      context_.output().error(L"zephor: warning: " + name() +
                              L" refused TLS; the password and all files travel unprotected");
    }
    return;
  }
  if (server_.second.isDirectory || code != ERROR_NOT_CONNECTED) {
    throw CommandFailure{ExitCode::Failure, name() + L": the base directory " + base_ + L" is not there"};
  }
  const int answer = CheckConnection_ofServerProperties(CServerProperties(name()));
  if (answer == kCheckNoConnection) throw connectFailure(name(), DataForCheckConnection_fromError(answer));
  throw CommandFailure{ExitCode::Failure,
                       name() + L": the connection failed; zephor server check " + name() + L" tells more"};
}

std::wstring ServerSession::serverPath(const std::wstring& relative) const {
  return joinServerPath(base_, relative);
}

void ServerSession::aim(const std::wstring& serverDirectory, const std::wstring& localDirectory) {
  internal().setPathFromNr(serverPath(serverDirectory).c_str(), &kServerSide);
  if (server_.second.isDirectory) {
    internal().setPathFromNr(localDirectory.c_str(), &kLocalSide);
  } else {
    setHostDirectory(transfer_.getServerName(), localDirectory);
  }
}

void ServerSession::chooseConnections() {
  if (connections_ != nullptr) return;
  const std::size_t count = jobs_ == kAutomatic ? connectionsFor(WGO_connectionRoundTrip()) : parseJobs(jobs_);
  connections_ = std::make_unique<Connections>(count);
  setNumberForRun(L"Settings\\WGOUseThreading", count > 1 ? 1 : 0);
  if (context_.output().verbosity() > 0) {
    context_.output().message(platform::formatWide(L"%s: %d connections, round trip %.1f ms", name(),
                                                   static_cast<int>(count),
                                                   static_cast<double>(WGO_connectionRoundTrip()) / 1000.0));
  }
}

}  // namespace workstation::program
