// What was deleted from the store of the open project. A store that was restored from a backup lacks files, too, and
// knows nothing of a deletion.
#pragma once

#include <cstdint>
#include <string>
#include <unordered_map>

#include "workstation/program/Objects.h"

namespace workstation::program {

class StoreDeletions {
 public:
  /// One listing. Throws CommandFailure when the store can't be asked.
  explicit StoreDeletions(Context& context);
  /// Whether the store has on record that an item was deleted, after what this workstation had in step, where the base
  /// tells its revision.
  bool isTold(const ItemView& view) const;

 private:
  std::unordered_map<std::wstring, std::int64_t> revisions_;  // by name in lower case
};

}  // namespace workstation::program
