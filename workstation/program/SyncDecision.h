// What `sync` does with an item of which the two sides differ. Pure: the one place where it is decided what moves, and
// in which direction.
#pragma once

#include <cstdint>
#include <string>

#include "workstation/program/Objects.h"

namespace workstation::program {

enum class SyncStep : std::uint8_t {
  Nothing,
  Fetch,
  Trash,   ///< the file here, since somebody deleted it in the store
  Send,    ///< if the rules of a push let it go
  Record,  ///< both sides have the same after all
  Keep,    ///< both sides stay, for the reason that is told
};

struct SyncDecision {
  SyncStep step = SyncStep::Nothing;
  std::wstring reason;
};

/// What both sides and the base do not tell.
struct SyncCircumstances {
  bool hasTwin = false;        ///< two files here differ only in letter case
  bool isNameSafe = true;      ///< every workstation can hold a file of this name
  bool isDeletionTold = true;  ///< the store has its deletion on record
  bool isOpen = false;         ///< in the host
};

SyncDecision decideSync(const ItemView& view, const SyncCircumstances& circumstances);

/// Whether so many files that the store no longer has look like a store that lost them, and not like a colleague's
/// deletions.
/// @param files  here
bool looksLikeLostStore(std::uint64_t gone, std::uint64_t files);

}  // namespace workstation::program
