// Teams of the store and who is in them.
#include "workstation/store/StoreImpl.h"

namespace workstation {

namespace {

void requireGrantable(StoreRole role) {
  if (role < StoreRole::Admin || role > StoreRole::Viewer) {
    throw StoreError{kStoreInvalidParameter, L"a role has to be 2 (administrator), 3 (editor) or 4 (viewer)"};
  }
}

}  // namespace

void requireTeamRole(Connection& connection, const StoreActor& actor, const std::wstring& team, StoreRole weakest) {
  const StoreRole role = teamRole(connection, actor, team);
  if (role == StoreRole::None) throw StoreError{kStoreNotFound, L"this user has no team \"" + team + L"\""};
  if (role > weakest) throw StoreError{kStoreAccessDenied, L"this user's role in the team does not allow that"};
}

StoreRole teamRole(Connection& connection, const StoreActor& actor, const std::wstring& team) {
  Statement statement(connection, "SELECT role FROM team_members WHERE team=? AND user=?");
  statement << team << actor.user.uuid;
  return statement.row() ? static_cast<StoreRole>(statement.number(0)) : StoreRole::None;
}

CloudStatus CloudStore::createTeam(const StoreActor& actor, const std::wstring& name, std::wstring& uuid) {
  return answerOf([&] {
    requireDisplayName(name, L"team name");
    const std::wstring made = newUuid();
    const ConnectionPool::Lease lease = impl_->pool.take();
    WriteTransaction transaction(*lease);
    requireUser(*lease, actor.user.uuid);
    Statement team(*lease, "INSERT INTO teams(uuid, name) VALUES(?, ?)");
    (team << made << name).run();
    Statement owner(*lease, "INSERT INTO team_members(team, user, role) VALUES(?, ?, 1)");
    (owner << made << actor.user.uuid).run();
    transaction.commit();
    uuid = made;
  });
}

CloudStatus CloudStore::teams(const StoreActor& actor, std::vector<StoreTeam>& out) {
  return answerOf([&] {
    out.clear();
    const ConnectionPool::Lease lease = impl_->pool.take();
    Statement statement(
        *lease,
        "SELECT t.uuid, t.name, m.role FROM team_members m JOIN teams t ON t.uuid=m.team WHERE m.user=? "
        "ORDER BY t.name, t.uuid");
    statement << actor.user.uuid;
    while (statement.row()) {
      out.push_back({statement.text(0), statement.text(1), static_cast<StoreRole>(statement.number(2))});
    }
  });
}

CloudStatus CloudStore::teamMembers(const StoreActor& actor, const std::wstring& team, std::vector<StoreMember>& out) {
  return answerOf([&] {
    out.clear();
    const ConnectionPool::Lease lease = impl_->pool.take();
    requireTeamRole(*lease, actor, team, StoreRole::Viewer);
    Statement statement(*lease,
                        "SELECT u.uuid, u.name, u.email, m.role FROM team_members m JOIN users u ON u.uuid=m.user "
                        "WHERE m.team=? ORDER BY m.role, u.name, u.uuid");
    statement << team;
    while (statement.row()) {
      out.push_back(
          {{statement.text(0), statement.text(1), statement.text(2)}, static_cast<StoreRole>(statement.number(3)), 0});
    }
  });
}

CloudStatus CloudStore::addTeamMember(const StoreActor& actor, const std::wstring& team, const std::wstring& user,
                                      StoreRole role) {
  return answerOf([&] {
    requireGrantable(role);
    const ConnectionPool::Lease lease = impl_->pool.take();
    WriteTransaction transaction(*lease);
    requireTeamRole(*lease, actor, team, StoreRole::Admin);
    const CloudUser member = requireUser(*lease, user);
    Statement put(*lease,
                  "INSERT INTO team_members(team, user, role) VALUES(?, ?, ?) ON CONFLICT(team, user) DO UPDATE SET "
                  "role=excluded.role WHERE role<>1");
    (put << team << member.uuid << static_cast<int>(role)).run();
    if ((*lease).changes() == 0) throw StoreError{kStoreAccessDenied, L"the role of the team's owner can't be changed"};
    if (role > StoreRole::Editor) releaseContainerLocks(*lease, team, member.uuid);
    transaction.commit();
  });
}

CloudStatus CloudStore::removeTeamMember(const StoreActor& actor, const std::wstring& team, const std::wstring& user) {
  return answerOf([&] {
    const ConnectionPool::Lease lease = impl_->pool.take();
    WriteTransaction transaction(*lease);
    const CloudUser member = requireUser(*lease, user);
    requireTeamRole(*lease, actor, team, member.uuid == actor.user.uuid ? StoreRole::Viewer : StoreRole::Admin);
    {
      Statement owned(
          *lease,
          "SELECT 1 FROM projects p JOIN project_members m ON m.project=p.uuid WHERE p.team=?1 AND m.user=?2 "
          "AND m.role=1 AND p.state<>2 UNION ALL SELECT 1 FROM team_members WHERE team=?1 AND user=?2 AND role=1");
      owned << team << member.uuid;
      if (owned.row()) {
        throw StoreError{kStoreAccessDenied, L"the owner of a team, or of a project in it, can't leave the team"};
      }
    }
    std::vector<std::wstring> left;
    {
      Statement projects(
          *lease,
          "SELECT m.project FROM project_members m JOIN projects p ON p.uuid=m.project WHERE m.user=? AND p.team=?");
      projects << member.uuid << team;
      while (projects.row()) left.push_back(projects.text(0));
    }
    Statement leave(*lease, "UPDATE project_members SET role=0 WHERE user=? AND project=?");
    for (const std::wstring& project : left) {
      (leave << member.uuid << project).run();
      releaseLocks(*lease, project, member.uuid);
    }
    releaseContainerLocks(*lease, team, member.uuid);
    Statement subscriptions(
        *lease,
        "DELETE FROM container_subscriptions WHERE user=? AND container IN (SELECT uuid FROM containers WHERE team=?)");
    (subscriptions << member.uuid << team).run();
    Statement remove(*lease, "DELETE FROM team_members WHERE team=? AND user=?");
    (remove << team << member.uuid).run();
    transaction.commit();
  });
}

}  // namespace workstation
