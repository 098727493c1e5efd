// What `push` does with an item: a decision over both its sides and its lock.
#pragma once

#include <cstdint>
#include <string>

namespace workstation::program {

struct ItemView;
struct SendBarrier;

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

/// The file that stands for an item.
struct PushFile {
  std::wstring path;     ///< full, as it is written on the disk; empty when an upload of the project takes none
  bool hasTwin = false;  ///< another file here has the same name but for letter case
};

/// The one place where it is decided what goes: nothing is sent that was not looked at here, down to its content.
/// @param barrier  asked before anything is judged
PushDecision decidePush(const ItemView& view, const PushChoice& choice, const PushFile& file,
                        const SendBarrier& barrier);

}  // namespace workstation::program
