// What somebody who decided on transfers took both sides of their files to be. While the scope lives, this process's
// transfers of these files through the service end with kStoreChanged where a side has become something else: the store
// is asked in the transaction of the upload or deletion, the disk at the moment of the replacement and by what an
// upload has read. So nobody's save is lost between a decision and its transfer, and no header goes up with the content
// of another version.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "workstation/Export.h"
#include "workstation/store/CacheRecord.h"

namespace workstation {

struct TransferCondition {
  std::wstring name;  ///< relative to the project
  /// Size and time on the disk. Not known: for a download nothing is there, for an upload it does not matter.
  FileContent here;
  std::int64_t revision = 0;  ///< StoredFile::revision, for an upload or deletion; 0: the store has none
  bool stays = false;         ///< no load brings it, whatever the store has
  bool needsOwnLock = false;  ///< an upload goes only while this user holds the object's lock
};

/// While one lives no load of its project is a full one, and none replaces what was changed here. One scope at a time.
/// Its maker's thread and the library's workers may transfer meanwhile.
class WORKSTATION_API ScopedTransferConditions {
 public:
  ScopedTransferConditions(const std::wstring& project, const std::vector<TransferCondition>& conditions);
  ~ScopedTransferConditions();
  ScopedTransferConditions(const ScopedTransferConditions&) = delete;
  ScopedTransferConditions& operator=(const ScopedTransferConditions&) = delete;
};

/// Whether a scope of this project lives.
WORKSTATION_API bool areTransfersJudged(const std::wstring& project);
/// What is laid down for a file of a project; nothing for one that is not under a condition.
WORKSTATION_API std::optional<TransferCondition> transferCondition(const std::wstring& project,
                                                                   const std::wstring& name);
/// After a transfer of this process went through: what it left on its side is what later ones in the scope go by.
WORKSTATION_API void moveConditionHere(const std::wstring& project, const std::wstring& name, const FileContent& here);
void moveConditionInStore(const std::wstring& project, const std::wstring& name, std::int64_t revision);

}  // namespace workstation
