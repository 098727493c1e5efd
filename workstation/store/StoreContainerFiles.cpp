// Files of resource containers: listings, contents, and the commit that changes them all at once.
#include <atomic>

#include "platform/Files.h"
#include "platform/Paths.h"
#include "platform/Text.h"
#include "platform/Time.h"
#include "workstation/store/DiskFiles.h"
#include "workstation/store/ParallelWork.h"
#include "workstation/store/StoreContainers.h"
#include "workstation/store/StoreImpl.h"

namespace workstation {

namespace {

/// A change with what was read of it.
struct Received {
  std::wstring name;
  PlacedBody body;
  std::int64_t modified = 0;
};

FileContent stateOf(const std::wstring& path) {
  const platform::FileStatus status = platform::fileStatus(path);
  if (!status.exists || status.isDirectory) return {};
  return {static_cast<std::int64_t>(status.size), ticksOf(status.writeTime), {}};
}

Received receive(const Bodies& bodies, const ContainerFileChange& change) {
  Received received;
  if (!normaliseStoreName(change.name, received.name)) {
    throw StoreError{kStoreInvalidName, L"\"" + change.name +
                                            L"\" is not a valid name of a file of a container: not every workstation "
                                            L"could hold it"};
  }
  if (change.path.empty()) return received;
  for (int tries = 0; tries < 2; ++tries) {
    const FileContent before = stateOf(change.path);
    waitForLaterTime(before.modified);
    std::optional<DiskFile> file = DiskFile::openToRead(platform::systemPath(change.path));
    if (!file || !before.isKnown()) {
      throw StoreError{kStoreChanged, L"\"" + change.path + L"\" went away while it was committed"};
    }
    received.body = bodies.take([&](std::uint8_t* buffer, std::size_t size) { return file->read(buffer, size); });
    received.modified = before.modified;
    if (before.looksLike(stateOf(change.path)) && before.size == static_cast<std::int64_t>(received.body.size)) {
      return received;
    }
  }
  throw StoreError{kStoreInUse, L"\"" + change.path + L"\" kept changing while it was read"};
}

/// The first commit of a new container comes from who made it.
void requireCommitAllowed(const StoreContainer& container, const StoreActor& actor) {
  const bool isFirst = container.revision == 0 && !container.lock;
  if (!isFirst && !isHeldBy(container, actor)) throwLockedContainer(container);
}

void requireFileRevision(Connection& connection, const StoreContainer& container, const std::wstring& name,
                         std::int64_t expected) {
  Statement row(connection, "SELECT revision FROM container_files WHERE container=? AND name_key=?");
  row << container.uuid << platform::toLower(name);
  const std::int64_t found = row.row() ? row.number(0) : 0;
  if (found == expected) return;
  const wchar_t* const what = found == 0 ? L"deleted" : expected == 0 ? L"created" : L"changed";
  throw StoreError{
      kStoreChanged,
      platform::formatWide(L"\"%s\" was %s in the container \"%s\" meanwhile (the last commit is of %s, "
                           L"%s UTC): bring the container up to date and commit again",
                           name, what, container.name, container.changerName, storeDateText(container.changed))};
}

void writeRecords(Connection& connection, const StoreActor& actor, const StoreContainer& container,
                  const std::vector<ContainerFileChange>& changes, const std::vector<Received>& received) {
  const std::int64_t revision = container.revision + 1;
  Statement put(connection,
                "INSERT OR REPLACE INTO container_files(container, name_key, name, size, modified, sha256, revision) "
                "VALUES(?, ?, ?, ?, ?, ?, ?)");
  Statement remove(connection, "DELETE FROM container_files WHERE container=? AND name_key=?");
  for (std::size_t i = 0; i < changes.size(); ++i) {
    const Received& file = received[i];
    const std::wstring key = platform::toLower(file.name);
    requireFileRevision(connection, container, file.name, changes[i].expectedRevision);
    if (changes[i].path.empty()) {
      (remove << container.uuid << key).run();
      continue;
    }
    (put << container.uuid << key << file.name << static_cast<std::int64_t>(file.body.size) << file.modified
         << std::string_view(file.body.sha256) << revision)
        .run();
  }
  Statement count(connection, "UPDATE containers SET revision=?, changed=?, changer=? WHERE uuid=?");
  (count << revision << nowTicks() << actor.user.uuid << container.uuid).run();
}

}  // namespace

CloudStatus CloudStore::containerFiles(const StoreActor& actor, const std::wstring& uuid, StoreContainer& container,
                                       std::vector<ContainerFile>& files) {
  return answerOf([&] {
    files.clear();
    const ConnectionPool::Lease lease = impl_->pool.take();
    const ReadTransaction transaction(*lease);
    container = requireContainer(*lease, actor, uuid, StoreRole::Viewer);
    files.reserve(static_cast<std::size_t>(container.files));
    Statement row(*lease,
                  "SELECT name, name_key, size, modified, revision, sha256 FROM container_files WHERE container=? "
                  "ORDER BY name_key");
    row << uuid;
    while (row.row()) {
      files.push_back({row.text(0), row.bytes(1), row.number(2), timeOf(row.number(3)), row.number(4), row.bytes(5)});
    }
  });
}

CloudStatus CloudStore::commitContainer(const StoreActor& actor, const std::wstring& uuid,
                                        const std::vector<ContainerFileChange>& changes, std::int64_t& revision,
                                        const std::function<void(const std::vector<FileContent>&)>& announce,
                                        const StoreProgress& progress) {
  return answerOf([&] {
    std::vector<FileContent> sent(changes.size());
    {
      const ConnectionPool::Lease lease = impl_->pool.take();
      const StoreContainer container = requireContainer(*lease, actor, uuid, StoreRole::Editor);
      requireCommitAllowed(container, actor);
      revision = container.revision;
    }
    if (changes.empty()) return;
    const std::optional<DiskLock> noSweep = DiskLock::take(impl_->bodies.lockPath(), DiskLock::Kind::Shared);
    std::vector<Received> received(changes.size());
    std::atomic<std::uint64_t> bytes{0};
    workInParallel(
        changes.size(),
        [&](std::size_t i) {
          received[i] = receive(impl_->bodies, changes[i]);
          bytes += received[i].body.size;
        },
        [&](std::size_t done) {
          if (progress) progress(static_cast<std::uint32_t>(done), static_cast<std::uint32_t>(changes.size()), bytes);
        });
    std::vector<PlacedBody> placed;
    for (std::size_t i = 0; i < changes.size(); ++i) {
      if (changes[i].path.empty()) continue;
      placed.push_back(received[i].body);
      sent[i] = {static_cast<std::int64_t>(received[i].body.size), received[i].modified, received[i].body.sha256};
    }
    if (!placed.empty()) impl_->bodies.sync(placed);
    announce(sent);
    const ConnectionPool::Lease lease = impl_->pool.take();
    WriteTransaction transaction(*lease);
    const StoreContainer container = requireContainer(*lease, actor, uuid, StoreRole::Editor);
    requireCommitAllowed(container, actor);
    writeRecords(*lease, actor, container, changes, received);
    transaction.commit();
    revision = container.revision + 1;
  });
}

CloudStatus CloudStore::copyContainerFile(const ContainerFile& file, const std::string& target) {
  return answerOf([&] {
    if (impl_->bodies.copyTo(file.sha256, target, file.modified)) return;
    throw StoreError{kStoreChanged, L"the store does not have the content of \"" + file.name + L"\" any more"};
  });
}

}  // namespace workstation
