// Which side of an item has what the other lacks: a pure decision over what is here, what the store has, and what both
// had when they were last in step.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace workstation::program {

/// What tells two states of one side apart. Equal stamps of one side mean equal content.
struct VersionStamp {
  std::uint32_t version = 0;  ///< counter of an object, revision of a stored file
  std::int64_t modified = 0;  ///< 100 ns since 1601, UTC
  std::uint32_t check = 0;    ///< CRC-32 of an object's content, size of a file
  std::uint64_t guidFirst = 0;
  std::uint64_t guidSecond = 0;
  bool operator==(const VersionStamp&) const = default;
};

/// Both sides when they were last in step.
struct SyncPoint {
  VersionStamp here;
  VersionStamp store;
};

enum class ObjectState : std::uint8_t {
  InStep,
  ChangedHere,       ///< to be saved
  NewerInStore,      ///< to be fetched
  OlderInStore,      ///< unchanged here; the store has gone back behind what was in step once
  ChangedOnBoth,     ///< both changed, nobody knows since when they differ, or it is older here than it was in step
  OnlyHere,          ///< never saved
  OnlyInStore,       ///< never fetched
  RemovedFromStore,  ///< was in step once; the copy here is unchanged since
  RemovedHere,       ///< was in step once; the store's is unchanged since
  Nowhere,
};

/// Whether a version of the store lies before one that it had: it was restored from a backup. An object that was made
/// anew counts from the start, but is another one.
bool isOlder(const VersionStamp& stamp, const VersionStamp& before);

/// @param same  the two sides hold the same content, as far as both tell
/// @param base  nothing when the sides never were in step here, or that is not known: then a difference counts as a
///              change on both, since neither may be lost
ObjectState stateOf(const std::optional<VersionStamp>& here, const std::optional<VersionStamp>& store, bool same,
                    const std::optional<SyncPoint>& base);

/// Short word for the state, also its value in JSON: "in step", "changed here", ...
const wchar_t* stateName(ObjectState state);
/// A sentence on why, and what to do.
const wchar_t* stateReason(ObjectState state);

}  // namespace workstation::program
