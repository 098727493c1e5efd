// Projects of the store, their members, and the role check that every operation on a project begins with.
#include "platform/Text.h"
#include "workstation/store/StoreImpl.h"

namespace workstation {

namespace {

constexpr const char* kProjectColumns =
    "SELECT p.uuid, p.name, p.team, t.name, m.role, p.state, p.change_counter, (SELECT u.name FROM project_members o "
    "JOIN users u "
    "ON u.uuid=o.user WHERE o.project=p.uuid AND o.role=1) FROM projects p JOIN project_members m ON m.project=p.uuid "
    "JOIN teams "
    "t ON t.uuid=p.team WHERE m.user=?1 AND m.role<>0 AND p.state<=?2 AND (?3='' OR p.team=?3) AND (?4='' OR "
    "p.uuid=?4) "
    "ORDER BY p.name_key, p.uuid";

std::vector<StoreProject> readProjects(Connection& connection, const StoreActor& actor, bool withArchived,
                                       const std::wstring& team, const std::wstring& uuid) {
  std::vector<StoreProject> found;
  Statement statement(connection, kProjectColumns);
  statement << actor.user.uuid << (withArchived ? kProjectArchived : kProjectActive) << team << uuid;
  while (statement.row()) {
    StoreProject project;
    project.uuid = statement.text(0);
    project.name = statement.text(1);
    project.teamUuid = statement.text(2);
    project.teamName = statement.text(3);
    project.role = static_cast<StoreRole>(statement.number(4));
    project.archived = statement.number(5) == kProjectArchived;
    project.changeCounter = statement.number(6);
    project.ownerName = statement.text(7);
    found.push_back(std::move(project));
  }
  return found;
}

void setState(Connection& connection, const std::wstring& project, int state) {
  Statement statement(connection, "UPDATE projects SET state=?, state_since=? WHERE uuid=?");
  (statement << state << nowTicks() << project).run();
}

/// Gives a person a role, and their number when they are new to the project.
void putMember(Connection& connection, const std::wstring& project, const std::wstring& user, StoreRole role) {
  Statement put(
      connection,
      "INSERT INTO project_members(project, user, role, number) VALUES(?1, ?2, ?3, (SELECT next_number FROM projects "
      "WHERE uuid=?1)) ON CONFLICT(project, user) DO UPDATE SET role=excluded.role");
  (put << project << user << static_cast<int>(role)).run();
  Statement next(
      connection,
      "UPDATE projects SET next_number=(SELECT max(number)+1 FROM project_members WHERE project=?1) WHERE uuid=?1");
  (next << project).run();
}

}  // namespace

Membership requireRole(Connection& connection, const StoreActor& actor, const std::wstring& project,
                       StoreRole weakest) {
  Statement statement(connection,
                      "SELECT m.role, p.state, p.name FROM project_members m JOIN projects p ON p.uuid=m.project WHERE "
                      "m.project=? AND m.user=? AND m.role<>0 AND p.state<>2");
  statement << project << actor.user.uuid;
  if (!statement.row()) throw StoreError{kStoreNotFound, L"this user has no project \"" + project + L"\""};
  Membership membership{static_cast<StoreRole>(statement.number(0)), statement.number(1) == kProjectArchived,
                        statement.text(2)};
  if (membership.role > weakest) {
    throw StoreError{kStoreAccessDenied,
                     L"this user's role in the project \"" + membership.projectName + L"\" does not allow that"};
  }
  if (membership.archived && weakest == StoreRole::Editor) {
    throw StoreError{kStoreAccessDenied, L"the project \"" + membership.projectName + L"\" is archived"};
  }
  return membership;
}

void countChange(Connection& connection, const std::wstring& project) {
  Statement statement(connection, "UPDATE projects SET change_counter=change_counter+1 WHERE uuid=?");
  (statement << project).run();
}

void releaseLocks(Connection& connection, const std::wstring& project, const std::wstring& user) {
  Statement objects(connection, "DELETE FROM object_locks WHERE project=? AND user=?");
  (objects << project << user).run();
  Statement whole(connection, "DELETE FROM project_locks WHERE project=? AND user=?");
  (whole << project << user).run();
}

CloudStatus CloudStore::createProject(const StoreActor& actor, const std::wstring& team, const std::wstring& name,
                                      std::wstring& uuid) {
  return answerOf([&] {
    requireDisplayName(name, L"project name");
    const std::wstring made = newUuid();
    const ConnectionPool::Lease lease = impl_->pool.take();
    WriteTransaction transaction(*lease);
    const StoreRole role = teamRole(*lease, actor, team);
    if (role == StoreRole::None) throw StoreError{kStoreNotFound, L"this user has no team \"" + team + L"\""};
    if (role > StoreRole::Editor)
      throw StoreError{kStoreAccessDenied, L"a viewer of a team may not found projects in it"};
    {
      Statement same(*lease, "SELECT 1 FROM projects WHERE team=? AND name_key=? AND state<>2");
      same << team << platform::toLower(name);
      if (same.row()) throw StoreError{kStoreExists, L"the team has a project \"" + name + L"\" already"};
    }
    Statement put(*lease, "INSERT INTO projects(uuid, team, name, name_key, state_since) VALUES(?, ?, ?, ?, ?)");
    (put << made << team << name << platform::toLower(name) << nowTicks()).run();
    putMember(*lease, made, actor.user.uuid, StoreRole::Owner);
    transaction.commit();
    uuid = made;
  });
}

CloudStatus CloudStore::projects(const StoreActor& actor, const std::wstring& team, bool withArchived,
                                 std::vector<StoreProject>& out) {
  return answerOf([&] {
    out.clear();
    const ConnectionPool::Lease lease = impl_->pool.take();
    out = readProjects(*lease, actor, withArchived, team, L"");
  });
}

CloudStatus CloudStore::project(const StoreActor& actor, const std::wstring& uuid, StoreProject& out) {
  return answerOf([&] {
    const ConnectionPool::Lease lease = impl_->pool.take();
    std::vector<StoreProject> found;
    if (!uuid.empty()) found = readProjects(*lease, actor, true, L"", uuid);
    if (found.empty()) throw StoreError{kStoreNotFound, L"this user has no project \"" + uuid + L"\""};
    out = std::move(found.front());
  });
}

CloudStatus CloudStore::archiveProject(const StoreActor& actor, const std::wstring& uuid, bool archived) {
  return answerOf([&] {
    const ConnectionPool::Lease lease = impl_->pool.take();
    WriteTransaction transaction(*lease);
    requireRole(*lease, actor, uuid, StoreRole::Admin);
    setState(*lease, uuid, archived ? kProjectArchived : kProjectActive);
    transaction.commit();
  });
}

CloudStatus CloudStore::deleteProject(const StoreActor& actor, const std::wstring& uuid) {
  return answerOf([&] {
    const ConnectionPool::Lease lease = impl_->pool.take();
    WriteTransaction transaction(*lease);
    requireRole(*lease, actor, uuid, StoreRole::Admin);
    requireProjectUnlocked(*lease, actor, uuid);
    setState(*lease, uuid, kProjectDeleted);
    transaction.commit();
  });
}

CloudStatus CloudStore::members(const StoreActor& actor, const std::wstring& project, std::vector<StoreMember>& out) {
  return answerOf([&] {
    out.clear();
    const ConnectionPool::Lease lease = impl_->pool.take();
    const ReadTransaction transaction(*lease);
    requireRole(*lease, actor, project, StoreRole::Viewer);
    Statement statement(*lease,
                        "SELECT u.uuid, u.name, u.email, m.role, m.number FROM project_members m JOIN users u ON "
                        "u.uuid=m.user WHERE m.project=? AND m.role<>0 ORDER BY m.number");
    statement << project;
    while (statement.row()) {
      out.push_back({{statement.text(0), statement.text(1), statement.text(2)},
                     static_cast<StoreRole>(statement.number(3)),
                     static_cast<int>(statement.number(4))});
    }
  });
}

CloudStatus CloudStore::addMember(const StoreActor& actor, const std::wstring& project, const std::wstring& user,
                                  StoreRole role) {
  return answerOf([&] {
    if (role < StoreRole::Admin || role > StoreRole::Viewer) {
      throw StoreError{kStoreInvalidParameter, L"a role has to be 2 (administrator), 3 (editor) or 4 (viewer)"};
    }
    const ConnectionPool::Lease lease = impl_->pool.take();
    WriteTransaction transaction(*lease);
    requireRole(*lease, actor, project, StoreRole::Admin);
    const CloudUser member = requireUser(*lease, user);
    {
      Statement owner(*lease, "SELECT 1 FROM project_members WHERE project=? AND user=? AND role=1");
      owner << project << member.uuid;
      if (owner.row()) throw StoreError{kStoreAccessDenied, L"the role of the project's owner can't be changed"};
    }
    Statement team(
        *lease,
        "INSERT INTO team_members(team, user, role) VALUES((SELECT team FROM projects WHERE uuid=?), ?, 4) ON "
        "CONFLICT(team, user) DO NOTHING");
    (team << project << member.uuid).run();
    putMember(*lease, project, member.uuid, role);
    transaction.commit();
  });
}

CloudStatus CloudStore::removeMember(const StoreActor& actor, const std::wstring& project, const std::wstring& user) {
  return answerOf([&] {
    const ConnectionPool::Lease lease = impl_->pool.take();
    WriteTransaction transaction(*lease);
    const CloudUser member = requireUser(*lease, user);
    requireRole(*lease, actor, project, member.uuid == actor.user.uuid ? StoreRole::Viewer : StoreRole::Admin);
    Statement remove(*lease, "UPDATE project_members SET role=0 WHERE project=? AND user=? AND role>1");
    (remove << project << member.uuid).run();
    if ((*lease).changes() == 0) {
      throw StoreError{kStoreAccessDenied, L"\"" + member.name + L"\" is the owner, or no member, of the project"};
    }
    releaseLocks(*lease, project, member.uuid);
    transaction.commit();
  });
}

int CloudStore::memberNumber(const std::wstring& project, const std::wstring& userUuid) {
  int number = 0;
  answerOf([&] {
    const ConnectionPool::Lease lease = impl_->pool.take();
    Statement statement(*lease, "SELECT number FROM project_members WHERE project=? AND user=?");
    statement << project << userUuid;
    if (statement.row()) number = static_cast<int>(statement.number(0));
  });
  return number;
}

CloudUser CloudStore::memberByNumber(const std::wstring& project, int number) {
  CloudUser user;
  answerOf([&] {
    const ConnectionPool::Lease lease = impl_->pool.take();
    Statement statement(*lease,
                        "SELECT u.uuid, u.name, u.email FROM project_members m JOIN users u ON u.uuid=m.user WHERE "
                        "m.project=? AND m.number=?");
    statement << project << number;
    if (statement.row()) user = {statement.text(0), statement.text(1), statement.text(2)};
  });
  return user;
}

CloudStatus CloudStore::notifyChange(const StoreActor& actor, const std::wstring& project) {
  return answerOf([&] {
    const ConnectionPool::Lease lease = impl_->pool.take();
    WriteTransaction transaction(*lease);
    requireRole(*lease, actor, project, StoreRole::Editor);
    countChange(*lease, project);
    transaction.commit();
  });
}

CloudStatus CloudStore::createModel(const StoreActor& actor, const std::wstring& title, int number,
                                    const std::wstring& projectName, std::wstring& uuid) {
  return answerOf([&] {
    const std::wstring made = newUuid();
    const ConnectionPool::Lease lease = impl_->pool.take();
    WriteTransaction transaction(*lease);
    {
      Statement member(
          *lease,
          "SELECT 1 FROM projects p JOIN project_members m ON m.project=p.uuid WHERE p.name_key=? AND p.state=0 "
          "AND m.user=? AND m.role BETWEEN 1 AND 3");
      member << platform::toLower(projectName) << actor.user.uuid;
      if (!member.row()) {
        throw StoreError{kStoreAccessDenied, L"this user may not change a project \"" + projectName + L"\""};
      }
    }
    Statement put(*lease,
                  "INSERT INTO models(uuid, title, number, project_name, creator, created) VALUES(?, ?, ?, ?, ?, ?)");
    (put << made << title << number << projectName << actor.user.uuid << nowTicks()).run();
    transaction.commit();
    uuid = made;
  });
}

}  // namespace workstation
