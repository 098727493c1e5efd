#include "background/WriteTimes.h"

#include "platform/Files.h"
#include "platform/Time.h"

namespace Quorvel::FileAccess::Threading {

UpdateVerdict compareWriteTimes(const std::wstring& first, const std::wstring& second) {
  const platform::FileStatus firstStatus = platform::fileStatus(first);
  const platform::FileStatus secondStatus = platform::fileStatus(second);
  if (!secondStatus.exists) return firstStatus.exists ? eVerdict_ServerMissing : eVerdict_BothMissing;
  return static_cast<UpdateVerdict>(CompareFileTime(&firstStatus.writeTime, &secondStatus.writeTime));
}

bool copiesSecond(UpdateVerdict verdict) {
  return verdict == eVerdict_ServerNewer || verdict == eVerdict_LocalMissing;
}

}  // namespace Quorvel::FileAccess::Threading
