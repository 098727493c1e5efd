// Sessions of the store: which process of which user is there, and what it has open.
#include "workstation/store/StoreImpl.h"

namespace workstation {

namespace {

constexpr std::int64_t kTicksOfSecond = 10'000'000;
constexpr std::int64_t kDefaultTimeoutSeconds = 120;

}  // namespace

CloudStatus CloudStore::beat(const StoreActor& actor, const std::string& session, const std::wstring& project,
                             const std::string& tokenSha256) {
  return answerOf([&] {
    const ConnectionPool::Lease lease = impl_->pool.take();
    WriteTransaction transaction(*lease);
    requireUser(*lease, actor.user.uuid);
    const std::int64_t now = nowTicks();
    // The clock of this workstation was set back: what is ahead of it would count until the clock is there again.
    Statement ahead(*lease, "UPDATE sessions SET heartbeat=?1 WHERE workstation_id=?2 AND heartbeat>?1");
    (ahead << now << actor.workstationId).run();
    Statement put(
        *lease,
        "INSERT INTO sessions(id, user, workstation_id, workstation, project, token_sha256, started, heartbeat) "
        "VALUES(?1, ?2, ?3, ?4, ?5, ?6, ?7, ?7) ON CONFLICT(id) DO UPDATE SET project=excluded.project, "
        "token_sha256=excluded.token_sha256, heartbeat=excluded.heartbeat");
    (put << session << actor.user.uuid << actor.workstationId << actor.workstationName << project << tokenSha256 << now)
        .run();
    transaction.commit();
  });
}

CloudStatus CloudStore::endSession(const std::string& session) {
  return answerOf([&] {
    const ConnectionPool::Lease lease = impl_->pool.take();
    Statement remove(*lease, "DELETE FROM sessions WHERE id=?");
    (remove << session).run();
  });
}

CloudStatus CloudStore::isProjectInUse(const StoreActor& actor, const std::wstring& project, const std::string& session,
                                       bool ignoreOwn, bool& inUse) {
  return answerOf([&] {
    inUse = false;
    const std::int64_t timeout = setting("session_timeout_seconds", kDefaultTimeoutSeconds);
    const ConnectionPool::Lease lease = impl_->pool.take();
    requireRole(*lease, actor, project, StoreRole::Viewer);
    Statement statement(*lease,
                        "SELECT 1 FROM sessions WHERE project=?1 AND id<>?2 AND heartbeat>=?3 AND (?4=0 OR user<>?5)");
    statement << project << session << nowTicks() - timeout * kTicksOfSecond << (ignoreOwn ? 1 : 0) << actor.user.uuid;
    inUse = statement.row();
  });
}

CloudStatus CloudStore::openSessions(const StoreActor& actor, const std::wstring& project,
                                     std::vector<OpenSession>& out) {
  return answerOf([&] {
    out.clear();
    const std::int64_t timeout = setting("session_timeout_seconds", kDefaultTimeoutSeconds);
    const ConnectionPool::Lease lease = impl_->pool.take();
    requireRole(*lease, actor, project, StoreRole::Viewer);
    Statement statement(*lease,
                        "SELECT user, workstation, started FROM sessions WHERE project=? AND heartbeat>=? ORDER BY "
                        "started, id");
    statement << project << nowTicks() - timeout * kTicksOfSecond;
    while (statement.row()) {
      out.push_back({statement.text(0), statement.text(1), timeOf(statement.number(2))});
    }
  });
}

}  // namespace workstation
