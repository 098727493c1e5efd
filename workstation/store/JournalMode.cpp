#include "workstation/store/JournalMode.h"

#include <sys/vfs.h>

#include <algorithm>
#include <array>

#include "platform/Text.h"
#include "workstation/store/Database.h"
#include "workstation/store/Schema.h"
#include "workstation/store/StoreError.h"

namespace workstation {

namespace {

// Network and cluster file systems, and those of virtual machines and of user space, behind which there may be one.
constexpr std::array<std::uint32_t, 17> kSharedTypes{
    0x6969,      // NFS
    0x517B,      // SMB
    0xFE534D42,  // SMB2
    0xFF534D42,  // CIFS
    0x65735546,  // FUSE
    0x01021997,  // 9P
    0x5346414F,  // AFS
    0x6B414653,  // AFS of the kernel
    0x00C36400,  // Ceph
    0x73757245,  // Coda
    0x564C,      // NCP
    0x0BD00BD0,  // Lustre
    0x47504653,  // GPFS
    0x01161970,  // GFS2
    0x7461636F,  // OCFS2
    0x786F4256,  // shared folder of VirtualBox
    0xBACBACBC,  // shared folder of VMware
};

}  // namespace

JournalMode journalModeFor(std::uint32_t fileSystemType) {
  const bool isShared = std::find(kSharedTypes.begin(), kSharedTypes.end(), fileSystemType) != kSharedTypes.end();
  return isShared ? JournalMode::Rollback : JournalMode::WriteAhead;
}

JournalMode journalModeOf(const std::string& directory) {
  struct statfs status = {};
  if (::statfs(directory.c_str(), &status) != 0) return JournalMode::Rollback;
  return journalModeFor(static_cast<std::uint32_t>(status.f_type));
}

void setJournal(Connection& connection, JournalMode mode) {
  connection.execute(mode == JournalMode::WriteAhead ? "PRAGMA journal_mode=WAL" : "PRAGMA journal_mode=DELETE");
}

void leaveWriteAhead(const std::string& directory) {
  Connection alone(directory + "/store.db", Connection::Mode::OpenExisting);
  if (!alone.isWrittenAhead()) return;
  // Before the first access: the one user of a database keeps in its own memory what others would have to share.
  alone.execute("PRAGMA locking_mode=EXCLUSIVE");
  checkSchema(alone, directory);
  setJournal(alone, JournalMode::Rollback);
  if (alone.isWrittenAhead()) {
    throw StoreError{kStoreTimeout, L"cloud store \"" + platform::fromUtf8(directory) +
                                        L"\" lies on a network disk and is open in a way that only a local disk "
                                        L"allows; end the programs that have it open"};
  }
}

}  // namespace workstation
