#include "workstation/store/Schema.h"

#include "platform/Text.h"
#include "workstation/store/Database.h"
#include "workstation/store/StoreError.h"

namespace workstation {

namespace {

// Times are 100 ns since 1601, UTC. A role 0 in project_members is a person who left and keeps the number.
constexpr const char* kTables = R"sql(
CREATE TABLE meta(key TEXT PRIMARY KEY, value NOT NULL) WITHOUT ROWID;
CREATE TABLE users(
  uuid TEXT PRIMARY KEY, name TEXT NOT NULL, email TEXT NOT NULL, email_key TEXT NOT NULL) WITHOUT ROWID;
CREATE UNIQUE INDEX user_emails ON users(email_key) WHERE email_key <> '';
CREATE TABLE teams(uuid TEXT PRIMARY KEY, name TEXT NOT NULL) WITHOUT ROWID;
CREATE TABLE team_members(
  team TEXT NOT NULL REFERENCES teams, user TEXT NOT NULL REFERENCES users,
  role INTEGER NOT NULL CHECK(role BETWEEN 1 AND 4), PRIMARY KEY(team, user)) WITHOUT ROWID;
CREATE TABLE projects(
  uuid TEXT PRIMARY KEY, team TEXT NOT NULL REFERENCES teams, name TEXT NOT NULL, name_key TEXT NOT NULL,
  state INTEGER NOT NULL DEFAULT 0, state_since INTEGER NOT NULL, next_number INTEGER NOT NULL DEFAULT 2,
  change_counter INTEGER NOT NULL DEFAULT 0) WITHOUT ROWID;
CREATE UNIQUE INDEX project_names ON projects(team, name_key) WHERE state <> 2;
CREATE TABLE project_members(
  project TEXT NOT NULL REFERENCES projects ON DELETE CASCADE, user TEXT NOT NULL REFERENCES users,
  role INTEGER NOT NULL CHECK(role BETWEEN 0 AND 4), number INTEGER NOT NULL,
  PRIMARY KEY(project, user), UNIQUE(project, number)) WITHOUT ROWID;
CREATE INDEX memberships ON project_members(user);
CREATE TABLE files(
  id INTEGER PRIMARY KEY, project TEXT NOT NULL REFERENCES projects ON DELETE CASCADE, name_key TEXT NOT NULL,
  name TEXT NOT NULL, class INTEGER NOT NULL, uuid TEXT NOT NULL, deleted INTEGER NOT NULL DEFAULT 0,
  size INTEGER NOT NULL, created INTEGER NOT NULL, modified INTEGER NOT NULL, uploaded INTEGER NOT NULL,
  uploader TEXT NOT NULL REFERENCES users, workstation TEXT NOT NULL, revision INTEGER NOT NULL DEFAULT 1,
  sha256 TEXT NOT NULL, header BLOB NOT NULL, UNIQUE(project, name_key));
CREATE INDEX file_bodies ON files(sha256);
CREATE TABLE file_metadata(
  file INTEGER NOT NULL REFERENCES files ON DELETE CASCADE, key TEXT NOT NULL, value TEXT NOT NULL,
  PRIMARY KEY(file, key)) WITHOUT ROWID;
CREATE TABLE object_locks(
  project TEXT NOT NULL REFERENCES projects ON DELETE CASCADE, type INTEGER NOT NULL, number INTEGER NOT NULL,
  user TEXT NOT NULL REFERENCES users, workstation_id TEXT NOT NULL, workstation TEXT NOT NULL, since INTEGER NOT NULL,
  PRIMARY KEY(project, type, number)) WITHOUT ROWID;
CREATE TABLE project_locks(
  project TEXT NOT NULL REFERENCES projects ON DELETE CASCADE, user TEXT NOT NULL REFERENCES users,
  workstation_id TEXT NOT NULL, workstation TEXT NOT NULL, kind INTEGER NOT NULL, since INTEGER NOT NULL,
  PRIMARY KEY(project, user, workstation_id)) WITHOUT ROWID;
CREATE TABLE sessions(
  id TEXT PRIMARY KEY, user TEXT NOT NULL REFERENCES users, workstation_id TEXT NOT NULL, workstation TEXT NOT NULL,
  project TEXT NOT NULL, token_sha256 TEXT NOT NULL, started INTEGER NOT NULL, heartbeat INTEGER NOT NULL) WITHOUT ROWID;
CREATE TABLE models(
  uuid TEXT PRIMARY KEY, title TEXT NOT NULL, number INTEGER NOT NULL, project_name TEXT NOT NULL,
  creator TEXT NOT NULL REFERENCES users, created INTEGER NOT NULL) WITHOUT ROWID;
INSERT INTO meta(key, value) VALUES('session_timeout_seconds', 120), ('deleted_project_days', 30), ('last_sweep', 0);
)sql";

// From version 2 on. A file's revision is the container's when it was last changed.
constexpr const char* kContainerTables = R"sql(
CREATE TABLE containers(
  uuid TEXT PRIMARY KEY, team TEXT NOT NULL REFERENCES teams, name TEXT NOT NULL, name_key TEXT NOT NULL,
  deleted INTEGER NOT NULL DEFAULT 0, deleted_at INTEGER NOT NULL DEFAULT 0, revision INTEGER NOT NULL DEFAULT 0,
  changed INTEGER NOT NULL, changer TEXT NOT NULL REFERENCES users) WITHOUT ROWID;
CREATE UNIQUE INDEX container_names ON containers(team, name_key) WHERE deleted=0;
CREATE TABLE container_files(
  container TEXT NOT NULL REFERENCES containers ON DELETE CASCADE, name_key TEXT NOT NULL, name TEXT NOT NULL,
  size INTEGER NOT NULL, modified INTEGER NOT NULL, sha256 TEXT NOT NULL, revision INTEGER NOT NULL,
  PRIMARY KEY(container, name_key)) WITHOUT ROWID;
CREATE INDEX container_bodies ON container_files(sha256);
CREATE TABLE container_locks(
  container TEXT PRIMARY KEY REFERENCES containers ON DELETE CASCADE, user TEXT NOT NULL REFERENCES users,
  workstation_id TEXT NOT NULL, workstation TEXT NOT NULL, since INTEGER NOT NULL) WITHOUT ROWID;
CREATE TABLE container_subscriptions(
  user TEXT NOT NULL REFERENCES users, workstation_id TEXT NOT NULL,
  container TEXT NOT NULL REFERENCES containers ON DELETE CASCADE, since INTEGER NOT NULL,
  PRIMARY KEY(user, workstation_id)) WITHOUT ROWID;
)sql";

std::wstring ofStore(const std::string& directory) {
  return L"cloud store \"" + platform::fromUtf8(directory) + L"\"";
}

void setVersion(Connection& connection) {
  connection.execute(("PRAGMA user_version=" + std::to_string(kSchemaVersion)).c_str());
}

/// Whoever comes first does it, the others find it done.
void bringUpToDate(Connection& connection) {
  WriteTransaction transaction(connection);
  if (connection.number("PRAGMA user_version") == 1) {
    connection.execute(kContainerTables);
    setVersion(connection);
  }
  transaction.commit();
}

}  // namespace

bool createSchema(Connection& connection) {
  WriteTransaction transaction(connection);
  if (connection.number("PRAGMA application_id") != 0 || connection.number("PRAGMA user_version") != 0) return false;
  if (connection.number("SELECT count(*) FROM sqlite_schema") != 0) return false;
  connection.execute(kTables);
  connection.execute(kContainerTables);
  connection.execute(("PRAGMA application_id=" + std::to_string(kApplicationId)).c_str());
  setVersion(connection);
  transaction.commit();
  return true;
}

void checkSchema(Connection& connection, const std::string& directory) {
  if (connection.number("PRAGMA application_id") != kApplicationId) {
    throw StoreError{
        kStoreInvalidData,
        ofStore(directory) + L": \"store.db\" is a database of something else; expected one made for a cloud store"};
  }
  const std::int64_t version = connection.number("PRAGMA user_version");
  if (version > kSchemaVersion) {
    throw StoreError{
        kStoreNewerVersion,
        platform::formatWide(L"%s has version %d, this program knows versions up to %d; update this program. "
                             L"The store was not changed.",
                             ofStore(directory), static_cast<long long>(version), kSchemaVersion)};
  }
  if (version < 1) {
    throw StoreError{kStoreInvalidData,
                     platform::formatWide(L"%s has the unknown version %d; expected 1 to %d", ofStore(directory),
                                          static_cast<long long>(version), kSchemaVersion)};
  }
  if (version < kSchemaVersion) bringUpToDate(connection);
}

}  // namespace workstation
