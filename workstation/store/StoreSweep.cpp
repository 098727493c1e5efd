// Sweeping: what broken uploads left, and bodies that nothing refers to any more.
#include <algorithm>

#include "workstation/store/DiskFiles.h"
#include "workstation/store/StoreImpl.h"

namespace workstation {

namespace {

constexpr std::int64_t kGraceSeconds = 3600;
constexpr std::int64_t kSecondsOfDay = 86'400;
constexpr std::int64_t kDayTicks = 864'000'000'000;
constexpr std::int64_t kDefaultDeletedDays = 30;
constexpr std::size_t kBatch = 200;
constexpr std::size_t kNameLength = 64;

/// Claims today's sweep. @return false when another process did it less than a day ago
bool claimSweep(Connection& connection) {
  Statement claim(connection, "UPDATE meta SET value=?1 WHERE key='last_sweep' AND value NOT BETWEEN ?2 AND ?1");
  claim << nowSeconds() << nowSeconds() - kSecondsOfDay;
  claim.run();
  return connection.changes() > 0;
}

bool isOld(const DiskEntry& entry) {
  return entry.modifiedSeconds < nowSeconds() - kGraceSeconds;
}

bool isBodyName(const std::string& name) {
  return name.size() == kNameLength && name.find_first_not_of("0123456789abcdef") == std::string::npos;
}

void removeUnreferred(Connection& connection, const Bodies& bodies, const std::vector<DiskEntry>& entries,
                      SweepResult& result) {
  for (std::size_t begin = 0; begin < entries.size(); begin += kBatch) {
    // Under the writers' lock, in pieces, so that nobody waits long.
    WriteTransaction transaction(connection);
    Statement referred(connection,
                       "SELECT 1 FROM files WHERE sha256=?1 UNION ALL SELECT 1 FROM container_files WHERE sha256=?1 "
                       "LIMIT 1");
    for (std::size_t i = begin; i < std::min(entries.size(), begin + kBatch); ++i) {
      referred << entries[i].name;
      const bool needed = referred.row();
      referred.run();
      if (needed || !removeFile(bodies.pathOf(entries[i].name))) continue;
      ++result.bodies;
      result.bytes += entries[i].size;
    }
    transaction.commit();
  }
}

void forgetDeleted(Connection& connection, std::int64_t days) {
  WriteTransaction transaction(connection);
  Statement projects(connection, "DELETE FROM projects WHERE state=? AND state_since<?");
  (projects << kProjectDeleted << nowTicks() - days * kDayTicks).run();
  Statement containers(connection, "DELETE FROM containers WHERE deleted=1 AND deleted_at<?");
  (containers << nowTicks() - days * kDayTicks).run();
  // Also what a clock that went wrong dated ahead; a session that lives comes back with its next beat.
  Statement sessions(connection, "DELETE FROM sessions WHERE abs(heartbeat-?)>?");
  (sessions << nowTicks() << kDayTicks).run();
  transaction.commit();
}

}  // namespace

void CloudStore::sweepDaily() {
  bool isDue = false;
  answerOf([&] { isDue = claimSweep(*impl_->pool.take()); });
  SweepResult result;
  if (isDue) sweep(result);
}

CloudStatus CloudStore::sweep(SweepResult& result) {
  return answerOf([&] {
    result = {};
    const std::optional<DiskLock> alone = DiskLock::take(impl_->bodies.lockPath(), DiskLock::Kind::ExclusiveOrNothing);
    if (!alone) throw StoreError{kStoreInUse, L"the store can't be swept while files are being uploaded to it"};
    const std::int64_t days = setting("deleted_project_days", kDefaultDeletedDays);
    const ConnectionPool::Lease lease = impl_->pool.take();
    forgetDeleted(*lease, days);
    for (const DiskEntry& entry : listDirectory(impl_->bodies.incoming())) {
      if (entry.isDirectory || entry.name == "lock" || !isOld(entry)) continue;
      if (!removeFile(impl_->bodies.incoming() + "/" + entry.name)) continue;
      ++result.leftovers;
      result.bytes += entry.size;
    }
    for (const DiskEntry& directory : listDirectory(impl_->directory + "/bodies")) {
      if (!directory.isDirectory) continue;
      std::vector<DiskEntry> old;
      for (DiskEntry& entry : listDirectory(impl_->directory + "/bodies/" + directory.name)) {
        if (!entry.isDirectory && isBodyName(entry.name) && isOld(entry)) old.push_back(std::move(entry));
      }
      removeUnreferred(*lease, impl_->bodies, old, result);
    }
  });
}

}  // namespace workstation
