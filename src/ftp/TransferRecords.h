// The list of objects that moved. Any thread calls.
#pragma once

#include <cstdint>
#include <mutex>
#include <vector>

#include "zephor/FileTransfer.h"

namespace Quorvel::FileAccess {

class TransferRecords {
 public:
  /// Appends a report, or brings the object's entry up to it; the first two values stay those of the first report.
  /// @return false, with nothing changed, for a report whose second value is 0 and for one of a finished download
  bool add(const TransferRecord& record);
  void clear();
  std::vector<TransferRecord> all() const;
  /// State of an object's entry.
  /// @param filter  may be null; an entry that it refuses counts as missing. It must not call back
  /// @return false, with `state` untouched, when there is none
  bool stateOf(int objectNumber, std::int32_t& state, bool (*filter)(const TransferRecord&)) const;

 private:
  mutable std::mutex mutex_;
  std::vector<TransferRecord> records_;
};

}  // namespace Quorvel::FileAccess
