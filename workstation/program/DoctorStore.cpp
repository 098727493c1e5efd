// The checks of the store behind the workstation, and of the servers of the older store.
#include <cstdlib>

#include "host/System.h"
#include "platform/Files.h"
#include "platform/Paths.h"
#include "platform/Text.h"
#include "platform/Time.h"
#include "workstation/program/CacheContent.h"
#include "workstation/program/Context.h"
#include "workstation/program/DoctorChecks.h"
#include "workstation/program/LeavingProject.h"
#include "workstation/program/ProjectRecord.h"
#include "workstation/program/ServerPassword.h"
#include "workstation/program/ServerSession.h"
#include "workstation/store/CloudStore.h"
#include "zephor/ServerStore.h"

namespace workstation::program {

namespace {

using namespace Quorvel::FileAccess;

constexpr std::int64_t kUsualTimeout = 120;  // seconds

/// One number of the store's records, read beside the store. @return -1 when it can't be read
std::int64_t numberInStore(const std::string& directory, const char* sql, const std::string& text = {},
                           std::int64_t number = 0) {
  constexpr int kBusyMilliseconds = 10'000;
  sqlite3* raw = nullptr;
  const int result =
      sqlite3_open_v2((directory + "/store.db").c_str(), &raw, SQLITE_OPEN_READONLY | SQLITE_OPEN_NOMUTEX, nullptr);
  const Database database(raw);
  if (result != SQLITE_OK) return -1;
  sqlite3_busy_timeout(raw, kBusyMilliseconds);
  sqlite3_stmt* query = nullptr;
  if (sqlite3_prepare_v2(raw, sql, -1, &query, nullptr) != SQLITE_OK) return -1;
  const Statement statement(query);
  if (sqlite3_bind_parameter_count(query) == 2) {
    sqlite3_bind_text(query, 1, text.c_str(), -1, SQLITE_TRANSIENT);
    sqlite3_bind_int64(query, 2, number);
  }
  return sqlite3_step(query) == SQLITE_ROW ? sqlite3_column_int64(query, 0) : -1;
}

/// Sessions are told apart by their times, and a file's time tells who changed it last.
void checkClock(Findings& findings, const Probe& probe, std::int64_t timeout) {
  constexpr double kNanoseconds = 1e9;
  constexpr double kNoticed = 2.0;
  const double seconds = static_cast<double>(probe.ahead) / kNanoseconds;
  const double off = std::abs(seconds);
  if (off < kNoticed) {
    findings.push_back({L"clock", Health::Ok, L"as the store's disk"});
    return;
  }
  findings.push_back({L"clock", off < static_cast<double>(timeout) / 4 ? Health::Warning : Health::Problem,
                      platform::formatWide(L"the store's disk is %.1f s %s this workstation", off,
                                           seconds > 0 ? L"ahead of" : L"behind"),
                      L"set the clocks by a time server (timedatectl set-ntp true)"});
}

void checkSessions(Context& context, Findings& findings, std::int64_t timeout) {
  constexpr std::int64_t kTicksOfSecond = 10'000'000;
  FILETIME now{};
  GetSystemTimeAsFileTime(&now);
  const std::int64_t oldest = static_cast<std::int64_t>(platform::toTicks(now)) - timeout * kTicksOfSecond;
  const std::int64_t stale =
      numberInStore(context.store().directory(), "SELECT count(*) FROM sessions WHERE workstation_id=? AND heartbeat<?",
                    platform::toUtf8(context.actor().workstationId), oldest);
  if (stale <= 0) {
    findings.push_back({L"sessions", Health::Ok, L"none of this workstation that has not ended"});
  } else {
    findings.push_back({L"sessions", Health::Warning,
                        counted(static_cast<std::uint64_t>(stale), L"session", L"sessions") +
                            L" of processes of this workstation that were killed",
                        L"nothing: nobody counts them, and they go within a day"});
  }
}

/// Locks that this user took at another workstation: nobody here can save under them.
void checkLocks(Context& context, Findings& findings) {
  const StoreActor actor = context.actor();
  std::vector<StoreProject> projects;
  context.store().projects(actor, L"", false, projects);
  std::uint64_t own = 0;
  for (const StoreProject& project : projects) {
    std::vector<ObjectLock> locks;
    context.store().locks(actor, project.uuid, locks);
    for (const ObjectLock& lock : locks) {
      if (!platform::equalsIgnoreCase(lock.holder.uuid, actor.user.uuid)) continue;
      if (platform::equalsIgnoreCase(lock.workstationId, actor.workstationId)) {
        ++own;
        continue;
      }
      findings.push_back({L"locks", Health::Warning,
                          project.name + L": you hold " + nameOf(lock) + L" from " + lock.workstationName + L" since " +
                              storeDateText(lock.since) + L" UTC",
                          L"save and unlock there; zephor unlock --force where that workstation is lost"});
    }
  }
  findings.push_back({L"locks", Health::Ok, counted(own, L"lock", L"locks") + L" held from here"});
}

Finding checkServer(const std::wstring& name, const ServerSettings& server) {
  const std::wstring check = L"server " + name;
  if (server.isDirectory) {
    const std::wstring shown = platform::fromUtf8(platform::systemPath(server.baseDirectory));
    if (platform::fileStatus(server.baseDirectory).isDirectory) return {check, Health::Ok, shown};
    return {check, Health::Problem, shown + L" is not there", L"mount the disk, or zephor server remove"};
  }
  const bool isAnonymous = server.userName.empty() || server.userName == L"anonymous" || server.userName == L"ftp";
  if (!isAnonymous && server.password.empty() && passwordOfEnvironment().empty())
    return {check, Health::Warning, L"not tried: its password is not stored", L"zephor server check asks for it"};
  setServerPassword(name, isAnonymous ? L"" : passwordFor(name, server, {}));
  const int code = CheckConnection_ofServerProperties(CServerProperties(name));
  const std::wstring remedy = L"zephor server check tells more";
  switch (code) {
    case 0:
      return {check, Health::Ok, server.hostName};
    case kCheckNoConnection:
      return {check, Health::Problem, connectFailure(name, DataForCheckConnection_fromError(code)).message, remedy};
    case kCheckNoBaseDirectory:
      return {check, Health::Problem, L"the base directory " + server.baseDirectory + L" is not there", remedy};
    case kCheckNoListing:
      return {check, Health::Problem, L"no data connection comes about; a firewall may stand between", remedy};
    case kCheckSlow:
      return {check, Health::Warning, L"connecting takes longer than its limit", remedy};
    default:
      return {check, Health::Warning, L"listings need another EPSV mode", remedy};
  }
}

}  // namespace

void checkStore(Context& context, Findings& findings, bool mayProbe) {
  CloudStore& store = context.store();
  const std::string& directory = store.directory();
  const std::int64_t timeout = store.setting("session_timeout_seconds", kUsualTimeout);
  findings.push_back({L"store", Health::Ok,
                      platform::formatWide(L"%s, version %lld, as %s <%s>", platform::fromUtf8(directory),
                                           static_cast<long long>(numberInStore(directory, "PRAGMA user_version")),
                                           context.actor().user.name, context.actor().user.email)});
  checkSpace(findings, L"store space", directory);
  if (mayProbe) {
    const Probe probe = probeDirectory(directory + "/incoming");
    if (probe.failure.empty()) {
      checkClock(findings, probe, timeout);
    } else {
      findings.push_back({L"store", Health::Problem,
                          L"nothing can be written to it: " + platform::fromUtf8(probe.failure),
                          L"give your user the right to write below " + platform::fromUtf8(directory)});
    }
  }
  checkSessions(context, findings, timeout);
  checkLocks(context, findings);
}

void checkServers(Findings& findings) {
  for (const auto& [name, server] : knownServers()) {
    try {
      findings.push_back(checkServer(name, server));
    } catch (const CommandFailure& failure) {
      findings.push_back({L"server " + name, Health::Problem, failure.message, L"zephor server check"});
    }
  }
}

}  // namespace workstation::program
