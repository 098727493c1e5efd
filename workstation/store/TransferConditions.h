// What somebody who decided on transfers took both sides of their files to be. While the scope lives, this process's
// transfers of these files through the service end with kStoreChanged where a side has become something else: the store
// is asked in the transaction of the upload or deletion, the disk at the moment of the replacement and by what an
// upload has read. So nobody's save is lost between a decision and its transfer, and no header goes up with the content
// of another version.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "workstation/Export.h"
#include "workstation/store/CloudStore.h"

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

/// What a standing judge says of one upload or deletion.
struct TransferVerdict {
  /// The store must have this revision of the file, 0 for none: otherwise kStoreChanged.
  std::int64_t revision = 0;
  bool isThereAlready = false;  ///< the store has what is here: counts as sent, and nothing moves
};
/// A revision that no file has: refuses with the reason that the store tells.
constexpr std::int64_t kNoSuchRevision = -1;

/// Judges, at the moment of the transfer, what nobody has decided on before: uploads and deletions that go on by
/// themselves. Called on the transferring threads, several at once.
class TransferJudge {
 public:
  virtual ~TransferJudge() = default;
  /// Whether it decides on a file; those of others go by what is laid down for them.
  virtual bool isAskedFor(const std::wstring& name) const = 0;
  virtual TransferVerdict judgeUpload(CloudStore& store, const StoreActor& actor, const FilePut& put) = 0;
  virtual TransferVerdict judgeDeletion(CloudStore& store, const StoreActor& actor, const std::wstring& name) = 0;
  /// How it ended, behind all that the service notes of it; the reason is in CloudStore::lastText().
  /// @param stored  what went up, which the file here may have left behind since; revision 0 where nothing moved
  virtual void uploaded(const std::wstring& name, CloudStatus status, const StoredFile& stored) = 0;
  virtual void deleted(const std::wstring& name, CloudStatus status) = 0;
};

/// While it lives the judge decides on uploads and deletions of its project by this process; of the files that it is
/// asked for, conditions of a scope then hold for downloads alone. One at a time.
class WORKSTATION_API ScopedTransferJudge {
 public:
  ScopedTransferJudge(const std::wstring& project, std::shared_ptr<TransferJudge> judge);
  ~ScopedTransferJudge();
  ScopedTransferJudge(const ScopedTransferJudge&) = delete;
  ScopedTransferJudge& operator=(const ScopedTransferJudge&) = delete;
};
/// Null when none stands for this file of the project.
std::shared_ptr<TransferJudge> transferJudge(const std::wstring& project, const std::wstring& name);

}  // namespace workstation
