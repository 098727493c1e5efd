// Sees to it that what goes up by itself replaces nobody's work: an upload goes onto the version that was last in step,
// or not at all. What went is noted, so that the next save is judged from there.
#pragma once

#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <vector>

#include "workstation/program/SyncBase.h"
#include "workstation/program/WatchDecision.h"
#include "workstation/store/TransferConditions.h"

namespace workstation::program {

/// How one upload or deletion ended.
struct TransferOutcome {
  std::wstring name;  ///< relative to the project
  bool isDeletion = false;
  CloudStatus status = 0;
  StoredFile stored = {};    ///< what went up; revision 0: nothing moved
  std::wstring reason = {};  ///< why it failed
};

/// From any thread.
class WatchJudge : public TransferJudge {
 public:
  using Listener = std::function<void(TransferOutcome outcome)>;

  /// @param store     the store's directory
  /// @param isServed  asked with names relative to the project, on the transferring threads like the listener
  WatchJudge(const std::string& store, const std::wstring& project, std::wstring directory,
             std::function<bool(const std::wstring&)> isServed, Listener listener);

  bool isAskedFor(const std::wstring& name) const override { return isServed_(name); }
  TransferVerdict judgeUpload(CloudStore& store, const StoreActor& actor, const FilePut& put) override;
  TransferVerdict judgeDeletion(CloudStore& store, const StoreActor& actor, const std::wstring& name) override;
  void uploaded(const std::wstring& name, CloudStatus status, const StoredFile& stored) override;
  void deleted(const std::wstring& name, CloudStatus status) override;

  /// Whether a file here is what both sides had when it last moved, or what was on its way here.
  bool isInStep(const std::wstring& name, const FileContent& here);
  /// Whether a file that is gone here was in step once.
  bool wasInStep(const std::wstring& name);
  /// Whether this process sends a file, or has sent it and not noted that yet: what the store has of it may be its own.
  bool isOnItsWay(const std::wstring& name);
  /// While no upload runs: an upload that was told no end is not on its way.
  void forgetMoving();
  /// Notes in the base what these outcomes left on both sides.
  void note(const std::vector<TransferOutcome>& outcomes);
  /// False when another one lies in the store's place: what is open here then leads to a database that nobody reads any
  /// more. A store that is away is the same.
  bool isSameStore() const;
  /// Keys of all files that were in step once.
  std::vector<std::string> known();

 private:
  UploadStep judge(CloudStore& store, const StoreActor& actor, const FilePut& put, std::int64_t& revision);

  const std::string database_;
  const std::pair<std::uint64_t, std::uint64_t> number_;  // device and inode of the database
  const std::wstring project_;
  const std::wstring directory_;
  const std::function<bool(const std::wstring&)> isServed_;
  const Listener listener_;
  std::mutex mutex_;  // for those below
  std::unique_ptr<CacheRecord> record_;
  SyncBase base_;
  std::map<std::wstring, std::int64_t> own_;  // revisions that this process has sent, until they are noted, by key
  std::set<std::wstring> moving_;             // keys of what is being sent
};

/// Size and time of a file on the disk; not known when there is none.
FileContent contentOnDisk(const std::wstring& path);

}  // namespace workstation::program
