#include "zephor/TeilbildTimes.h"

namespace Quorvel::FileAccess {
namespace {

constexpr std::size_t kTeilbilder = 9999;

std::vector<CTBTimeStamp>& timeStamps() {
  static std::vector<CTBTimeStamp> table(kTeilbilder);
  return table;
}

}  // namespace

CTBTimeStamp* WGO_queryTBTimeStamp(int number) {
  if (number < 1 || number > static_cast<int>(kTeilbilder)) return nullptr;
  return &timeStamps()[static_cast<std::size_t>(number) - 1];
}

bool WGO_getTBTimeStampUpdated(int number) {
  const CTBTimeStamp* record = WGO_queryTBTimeStamp(number);
  return record != nullptr && record->updated;
}

void WGO_setTBTimeStampUpdated(int number, bool updated) {
  if (CTBTimeStamp* record = WGO_queryTBTimeStamp(number)) record->updated = updated;
}

void WGO_clearTBTimeStampChanges() {
  // In place, so that records that were handed out stay where they are.
  timeStamps().assign(kTeilbilder, CTBTimeStamp{});
}

int WGO_updateTBTimeStampChanges(bool /*force*/) {
  return 0;
}

bool WGO_dumpTBTimeStampsToFile() {
  return false;
}

}  // namespace Quorvel::FileAccess
