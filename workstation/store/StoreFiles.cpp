// Records of stored files: listings, headers, deleting, and taking a content out.
#include "platform/Text.h"
#include "workstation/store/DiskFiles.h"
#include "workstation/store/StoreImpl.h"

namespace workstation {

namespace {

/// A body whose record has been replaced meanwhile may be swept between reading the record and opening it.
constexpr int kBodyTries = 3;

// The uploader's name is read apart: a join would look it up for each of thousands of files.
constexpr const char* kListColumns =
    "SELECT name, class, uuid, size, created, modified, uploaded, uploader, revision, sha256, name_key, header FROM "
    "files WHERE project=?1 AND deleted=?2 AND (1<<class)&?3 ORDER BY name_key";
constexpr const char* kFindColumns =
    "SELECT name, class, uuid, size, created, modified, uploaded, uploader, revision, sha256 FROM files WHERE "
    "project=?1 AND name_key=?2 AND deleted=0";

/// All but the uploader's name.
StoredFile fileFrom(const Statement& statement) {
  StoredFile file;
  file.name = statement.text(0);
  file.fileClass = static_cast<FileClass>(statement.number(1));
  file.uuid = statement.text(2);
  file.size = statement.number(3);
  file.created = timeOf(statement.number(4));
  file.modified = timeOf(statement.number(5));
  file.uploaded = timeOf(statement.number(6));
  file.uploaderUuid = statement.text(7);
  file.revision = statement.number(8);
  file.sha256 = statement.bytes(9);
  return file;
}

std::wstring nameOfUser(Connection& connection, const std::wstring& uuid) {
  Statement statement(connection, "SELECT name FROM users WHERE uuid=?");
  statement << uuid;
  return statement.row() ? statement.text(0) : std::wstring();
}

/// @param take  receives each file and the row that it came from
template <typename Take>
void readFiles(Connection& connection, const StoreActor& actor, const std::wstring& project, bool deleted,
               unsigned classes, const Take& take) {
  const ReadTransaction transaction(connection);
  requireRole(connection, actor, project, StoreRole::Viewer);
  std::map<std::wstring, std::wstring> names;
  Statement statement(connection, kListColumns);
  statement << project << (deleted ? 1 : 0) << static_cast<int>(classes);
  while (statement.row()) {
    StoredFile file = fileFrom(statement);
    const auto [name, isNew] = names.try_emplace(file.uploaderUuid);
    if (isNew) name->second = nameOfUser(connection, file.uploaderUuid);
    file.uploaderName = name->second;
    take(std::move(file), statement);
  }
}

std::wstring requireName(const std::wstring& given) {
  std::wstring name;
  if (!normaliseStoreName(given, name)) {
    throw StoreError{kStoreInvalidName, L"\"" + given + L"\" is not a valid name of a file of a project"};
  }
  return name;
}

StoredFile requireFile(Connection& connection, const StoreActor& actor, const std::wstring& project,
                       const std::wstring& name) {
  requireRole(connection, actor, project, StoreRole::Viewer);
  Statement statement(connection, kFindColumns);
  statement << project << platform::toLower(name);
  if (!statement.row()) throw StoreError{kStoreNotFound, L"the project has no file \"" + name + L"\""};
  StoredFile file = fileFrom(statement);
  file.uploaderName = nameOfUser(connection, file.uploaderUuid);
  return file;
}

}  // namespace

void requireRevision(Connection& connection, const std::wstring& project, const std::wstring& name,
                     std::optional<std::int64_t> expected) {
  if (!expected) return;
  Statement statement(connection,
                      "SELECT f.revision, f.deleted, f.uploaded, u.name FROM files f JOIN users u ON u.uuid=f.uploader "
                      "WHERE f.project=? AND f.name_key=?");
  statement << project << platform::toLower(name);
  const bool isKnown = statement.row();
  const bool isDeleted = isKnown && statement.number(1) != 0;
  if (*expected == (isKnown && !isDeleted ? statement.number(0) : 0)) return;
  if (!isKnown) throw StoreError{kStoreChanged, L"\"" + name + L"\" is not in the store any more"};
  throw StoreError{kStoreChanged, platform::formatWide(L"\"%s\" was %s meanwhile by %s at %s UTC", name,
                                                       isDeleted ? L"deleted" : L"saved", statement.text(3),
                                                       storeDateText(timeOf(statement.number(2))))};
}

CloudStatus CloudStore::findFile(const StoreActor& actor, const std::wstring& project, const std::wstring& name,
                                 StoredFile& out) {
  return answerOf([&] {
    const std::wstring wanted = requireName(name);
    const ConnectionPool::Lease lease = impl_->pool.take();
    out = requireFile(*lease, actor, project, wanted);
  });
}

CloudStatus CloudStore::files(const StoreActor& actor, const std::wstring& project, unsigned classes,
                              std::vector<StoredFile>& out) {
  return answerOf([&] {
    out.clear();
    const ConnectionPool::Lease lease = impl_->pool.take();
    readFiles(*lease, actor, project, false, classes,
              [&](StoredFile&& file, const Statement&) { out.push_back(std::move(file)); });
  });
}

CloudStatus CloudStore::listing(const StoreActor& actor, const std::wstring& project, std::vector<ListedFile>& out) {
  return answerOf([&] {
    out.clear();
    const ConnectionPool::Lease lease = impl_->pool.take();
    readFiles(*lease, actor, project, false, kAllClasses, [&](StoredFile&& file, const Statement& row) {
      out.push_back({std::move(file), row.bytes(10), row.blob(11)});
    });
  });
}

CloudStatus CloudStore::outline(const StoreActor& actor, const std::wstring& project, std::vector<ListedFile>& out) {
  return answerOf([&] {
    out.clear();
    const ConnectionPool::Lease lease = impl_->pool.take();
    const ReadTransaction transaction(*lease);
    requireRole(*lease, actor, project, StoreRole::Viewer);
    Statement row(*lease,
                  "SELECT name_key, size, modified, revision, header FROM files WHERE project=? AND deleted=0 ORDER BY "
                  "name_key");
    row << project;
    while (row.row()) {
      ListedFile& listed = out.emplace_back();
      listed.key = row.bytes(0);
      listed.file.size = row.number(1);
      listed.file.modified = timeOf(row.number(2));
      listed.file.revision = row.number(3);
      listed.header = row.blob(4);
    }
  });
}

CloudStatus CloudStore::deletedFiles(const StoreActor& actor, const std::wstring& project, unsigned classes,
                                     std::vector<StoredFile>& out) {
  return answerOf([&] {
    out.clear();
    const ConnectionPool::Lease lease = impl_->pool.take();
    readFiles(*lease, actor, project, true, classes,
              [&](StoredFile&& file, const Statement&) { out.push_back(std::move(file)); });
  });
}

CloudStatus CloudStore::headers(const StoreActor& actor, const std::wstring& project,
                                const std::vector<std::wstring>& names,
                                std::map<std::wstring, std::vector<std::uint8_t>>& out) {
  return answerOf([&] {
    out.clear();
    const ConnectionPool::Lease lease = impl_->pool.take();
    const ReadTransaction transaction(*lease);
    requireRole(*lease, actor, project, StoreRole::Viewer);
    Statement statement(*lease, "SELECT header FROM files WHERE project=? AND name_key=? AND deleted=0");
    for (const std::wstring& given : names) {
      std::vector<std::uint8_t>& image = out[given];
      std::wstring name;
      if (!normaliseStoreName(given, name)) continue;
      statement << project << platform::toLower(name);
      if (statement.row()) image = statement.blob(0);
      statement.run();
    }
  });
}

CloudStatus CloudStore::allHeaders(const StoreActor& actor, const std::wstring& project, FileClass fileClass,
                                   std::map<std::wstring, std::vector<std::uint8_t>>& out) {
  return answerOf([&] {
    out.clear();
    const ConnectionPool::Lease lease = impl_->pool.take();
    const ReadTransaction transaction(*lease);
    requireRole(*lease, actor, project, StoreRole::Viewer);
    Statement statement(*lease, "SELECT name, header FROM files WHERE project=? AND class=? AND deleted=0");
    statement << project << static_cast<int>(fileClass);
    while (statement.row()) out[statement.text(0)] = statement.blob(1);
  });
}

CloudStatus CloudStore::metadata(const StoreActor& actor, const std::wstring& project, const std::wstring& name,
                                 std::map<std::wstring, std::wstring>& out) {
  return answerOf([&] {
    out.clear();
    const std::wstring wanted = requireName(name);
    const ConnectionPool::Lease lease = impl_->pool.take();
    const ReadTransaction transaction(*lease);
    requireFile(*lease, actor, project, wanted);
    Statement statement(*lease,
                        "SELECT m.key, m.value FROM file_metadata m JOIN files f ON f.id=m.file WHERE f.project=? AND "
                        "f.name_key=?");
    statement << project << platform::toLower(wanted);
    while (statement.row()) out[statement.text(0)] = statement.text(1);
  });
}

CloudStatus CloudStore::deleteFile(const StoreActor& actor, const std::wstring& project, const std::wstring& name,
                                   std::optional<std::int64_t> expectedRevision) {
  return answerOf([&] {
    const std::wstring wanted = requireName(name);
    impl_->commits.commit({}, [&](Connection& connection) {
      requireRole(connection, actor, project, StoreRole::Editor);
      requireProjectUnlocked(connection, actor, project);
      requireObjectFree(connection, actor, project, wanted);
      requireFile(connection, actor, project, wanted);
      requireRevision(connection, project, wanted, expectedRevision);
      Statement remove(connection,
                       "UPDATE files SET deleted=1, sha256='', header=x'', uploader=?, workstation=?, uploaded=?, "
                       "revision=revision+1 WHERE project=? AND name_key=?");
      (remove << actor.user.uuid << actor.workstationName << nowTicks() << project << platform::toLower(wanted)).run();
      countChange(connection, project);
    });
  });
}

CloudStatus CloudStore::copyOut(const StoreActor& actor, const std::wstring& project, const std::wstring& name,
                                const std::string& target, StoredFile& out) {
  return answerOf([&] {
    const std::wstring wanted = requireName(name);
    for (int tries = 0; tries < kBodyTries; ++tries) {
      StoredFile file;
      {
        const ConnectionPool::Lease lease = impl_->pool.take();
        file = requireFile(*lease, actor, project, wanted);
      }
      if (impl_->bodies.copyTo(file.sha256, target, file.modified)) {
        out = std::move(file);
        return;
      }
      out = std::move(file);
    }
    throw StoreError{kStoreInvalidData, L"\"" + platform::fromUtf8(impl_->bodies.pathOf(out.sha256)) +
                                            L"\", the content of \"" + wanted + L"\", is missing in the store"};
  });
}

}  // namespace workstation
