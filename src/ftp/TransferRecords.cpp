#include "ftp/TransferRecords.h"

#include <algorithm>

namespace Quorvel::FileAccess {
namespace {

constexpr std::int32_t kFinishedDownload = 4;

template <typename Records>
auto findRecord(Records& records, int objectNumber) {
  return std::find_if(records.begin(), records.end(),
                      [objectNumber](const TransferRecord& record) { return record.objectNumber == objectNumber; });
}

}  // namespace

bool TransferRecords::add(const TransferRecord& record) {
  if (record.second == 0 || record.kind == kFinishedDownload) return false;
  const std::lock_guard lock(mutex_);
  const auto found = findRecord(records_, record.objectNumber);
  if (found == records_.end()) {
    records_.push_back(record);
  } else {
    found->state = record.state;
    found->kind = record.kind;
  }
  return true;
}

void TransferRecords::clear() {
  const std::lock_guard lock(mutex_);
  records_.clear();
}

std::vector<TransferRecord> TransferRecords::all() const {
  const std::lock_guard lock(mutex_);
  return records_;
}

bool TransferRecords::stateOf(int objectNumber, std::int32_t& state, bool (*filter)(const TransferRecord&)) const {
  const std::lock_guard lock(mutex_);
  const auto found = findRecord(records_, objectNumber);
  if (found == records_.end() || (filter != nullptr && !filter(*found))) return false;
  state = found->state;
  return true;
}

}  // namespace Quorvel::FileAccess
