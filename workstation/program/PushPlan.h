// What `push` does with an item: a decision over both its sides and its lock.
#pragma once

#include <cstdint>
#include <string>

namespace workstation::program {

struct ItemView;

enum class PushStep : std::uint8_t {
  Send,
  Delete,        ///< in the store, since it was deleted here
  Leave,         ///< deleted here; the store keeps it
  Nothing,       ///< both sides are in step, or neither has it
  Refuse,        ///< for the reason that is told
  RefuseLocked,  ///< somebody else holds the lock
};

struct PushDecision {
  PushStep step = PushStep::Nothing;
  std::wstring reason;
};

struct PushChoice {
  bool named = false;    ///< by the user, not found by a look
  bool deletes = false;  ///< what was deleted here is to be deleted in the store
};

/// @param passesFilter  whether uploads of the project take the file; of no meaning for one that is not here
PushDecision decidePush(const ItemView& view, const PushChoice& choice, bool passesFilter);

}  // namespace workstation::program
