// How the store's database keeps its journal. Write-ahead logging needs memory that all its users share, which two
// machines on one network disk do not have: the database would be damaged there.
#pragma once

#include <cstdint>
#include <string>

#include "workstation/Export.h"

namespace workstation {

class Connection;

enum class JournalMode : std::uint8_t {
  WriteAhead,  ///< on a local disk
  Rollback,    ///< on a network disk: locks of whole files alone, which work over the network
};

/// The mode for a type of file system as statfs() tells it; one that is not known counts as a local disk.
WORKSTATION_API JournalMode journalModeFor(std::uint32_t fileSystemType);
/// The mode for the disk of a directory; Rollback when the system does not tell the type.
JournalMode journalModeOf(const std::string& directory);

/// Sets the mode of a database that nobody else has open.
void setJournal(Connection& connection, JournalMode mode);

/// Takes a written-ahead store to the rollback journal, without the shared memory; another one stays as it is. A
/// store that this program may not change is refused as by checkSchema. Throws StoreError; kStoreTimeout when somebody
/// has the store open.
WORKSTATION_API void leaveWriteAhead(const std::string& directory);

}  // namespace workstation
