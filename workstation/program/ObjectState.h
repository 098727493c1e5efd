// Which side of an object has what the other lacks: a pure decision over what is here, what the store has, and what
// both had when they were last in step.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace workstation::program {

/// What tells two states of an object apart. Equal stamps mean equal content.
struct VersionStamp {
  std::uint32_t version = 0;
  std::int64_t modified = 0;  ///< 100 ns since 1601, UTC
  std::uint32_t contentCrc = 0;
  bool operator==(const VersionStamp&) const = default;
};

enum class ObjectState : std::uint8_t {
  InStep,
  ChangedHere,       ///< to be saved
  NewerInStore,      ///< to be fetched
  ChangedOnBoth,     ///< somebody saved while it was changed here
  OnlyHere,          ///< never saved
  OnlyInStore,       ///< never fetched
  RemovedFromStore,  ///< was in step once; the copy here is unchanged since
  RemovedHere,       ///< was in step once; the store's is unchanged since
  Nowhere,
};

/// @param base  what both sides had when they were last in step; nothing when they never were, or that is not known.
/// Without it a
///              higher counter is taken for the newer version, and equal counters with different content for a change
///              on both sides.
ObjectState stateOf(const std::optional<VersionStamp>& here, const std::optional<VersionStamp>& store,
                    const std::optional<VersionStamp>& base);

/// Short word for the state, also its value in JSON: "in step", "changed here", ...
const wchar_t* stateName(ObjectState state);
/// A sentence on why, and what to do.
const wchar_t* stateReason(ObjectState state);

}  // namespace workstation::program
