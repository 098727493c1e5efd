// What happens to one file of a container's cache, by what both sides had in common, what is here and what the store
// has. Pure.
#pragma once

#include <cstdint>

#include "workstation/store/CloudStore.h"
#include "workstation/store/ContainerRecord.h"

namespace workstation {

struct CacheCase {
  const SettledFile* base = nullptr;      ///< null where both sides never had the file in common
  FileContent here = {};                  ///< none for no file; with its hash where needsHash() says so
  const ContainerFile* stored = nullptr;  ///< null for no file
};

/// Whether size and time leave open what the file is, so that its content has to be read.
bool needsHash(const CacheCase& file);
/// Whether both sides have the same content.
bool isSameContent(const CacheCase& file);

enum class LocalChange : std::uint8_t { None, Created, Changed, Deleted };
LocalChange localChange(const CacheCase& file);
/// Whether the store has another revision than both sides had in common, or no file any more.
bool isChangedInStore(const CacheCase& file);

enum class CacheAction : std::uint8_t {
  Nothing,
  Settle,  ///< both are the same, and the record does not know it
  Forget,  ///< the store has none any more: what is here counts as created, if there is something
  Bring,
  BringAndKeep,  ///< what is here may be somebody's work, and is copied before
  Remove,        ///< unchanged here, deleted in the store
  MoveAway,      ///< not in the store: goes where the copies are kept
};

/// A change that was made here alone stays; with changes on both sides the store wins.
CacheAction downloadAction(const CacheCase& file);
/// The store wins everywhere.
CacheAction rollbackAction(const CacheCase& file);

}  // namespace workstation
