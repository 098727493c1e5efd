// The service's downloads: every file is written beside its place, checked, and renamed onto it.
#include <algorithm>

#include "host/ObjectFiles.h"
#include "platform/Files.h"
#include "platform/Text.h"
#include "workstation/store/Bodies.h"
#include "workstation/store/DiskFiles.h"
#include "workstation/store/EmbeddedProjectService.h"
#include "workstation/store/EmbeddedSession.h"
#include "workstation/store/LocalTree.h"
#include "workstation/store/StoreError.h"
#include "workstation/store/StoreImpl.h"
#include "workstation/store/TransferSteps.h"

namespace workstation {

namespace {

/// What the library takes for "not on the server", beside a status that fails.
constexpr CloudStatus kFileMissing = ERROR_FILE_NOT_FOUND;
/// Files that wait for their names together, so that one sync serves them all.
constexpr std::size_t kGroup = 512;
constexpr std::size_t kSyncSingly = 4;
/// The files that a project needs before it can be opened.
constexpr unsigned kBaseClasses = classBit(FileClass::Ordinary) | classBit(FileClass::Resource);

bool isOpenInHost(const LocalPlace& place) {
  return place.exists && cfgethandle(place.path, 0) != -1;
}

void requireClosed(const LocalPlace& place) {
  if (isOpenInHost(place)) throw StoreError{kStoreInUse, L"\"" + place.path + L"\" is open"};
}

[[noreturn]] void throwLast(CloudStatus status) {
  throw StoreError{status, CloudStore::lastText()};
}

/// How a file on the disk is found to be what the store has: its time and size are believed, or its content is read,
/// too. Reading is still much cheaper than replacing a file by its like.
enum class Compare : std::uint8_t { Time, Content };

bool isSame(const LocalPlace& place, const StoredFile& stored, Compare compare) {
  if (!place.exists) return false;
  const platform::FileStatus status = platform::fileStatus(place.path);
  if (!status.exists || static_cast<std::int64_t>(status.size) != stored.size) return false;
  if (ticksOf(status.writeTime) != ticksOf(stored.modified)) return false;
  return compare == Compare::Time || sha256OfFile(place.systemPath()) == stored.sha256;
}

/// Brings many files to one directory. A file that fails does not keep the others back.
class BulkDownload {
 public:
  BulkDownload(CloudStore& store, const StoreActor& actor, const std::wstring& project, const std::wstring& root,
               Compare compare)
      : store_(store), actor_(actor), project_(project), tree_(root), compare_(compare) {}
  ~BulkDownload() {
    for (const Waiting& waiting : waiting_) removeFile(waiting.from);
  }
  BulkDownload(const BulkDownload&) = delete;
  BulkDownload& operator=(const BulkDownload&) = delete;

  /// @param failed  names that did not come, as they were given
  /// @return the first failure
  CloudStatus fetch(const std::vector<std::wstring>& names, const StoreProgress& progress,
                    std::vector<std::wstring>& failed) {
    std::uint64_t bytes = 0;
    for (std::size_t i = 0; i < names.size(); ++i) {
      const CloudStatus status = answerOf([&] { bytes += fetchOne(names[i]); });
      note(status, names[i], failed);
      if (waiting_.size() >= kGroup) settle(failed);
      if (progress) progress(static_cast<std::uint32_t>(i + 1), static_cast<std::uint32_t>(names.size()), bytes);
    }
    settle(failed);
    if (first_ != kStoreOk) setLastStoreText(firstText_);
    return first_;
  }

 private:
  struct Waiting {
    std::wstring given;
    std::string from;
    LocalPlace place;
  };

  void note(CloudStatus status, const std::wstring& name, std::vector<std::wstring>& failed) {
    if (status == kStoreOk) return;
    failed.push_back(name);
    if (first_ == kStoreOk) {
      first_ = status;
      firstText_ = CloudStore::lastText();
    }
  }

  std::uint64_t fetchOne(const std::wstring& given) {
    std::wstring name;
    if (!normaliseStoreName(given, name)) {
      throw StoreError{kStoreInvalidName, L"\"" + given + L"\" is not a valid name of a file of a project"};
    }
    Waiting waiting{given, {}, tree_.place(name)};
    StoredFile file;
    if (waiting.place.exists && store_.findFile(actor_, project_, name, file) == kStoreOk &&
        isSame(waiting.place, file, compare_)) {
      return 0;
    }
    requireClosed(waiting.place);
    waiting.from = LocalTree::besides(waiting.place);
    const CloudStatus status = store_.copyOut(actor_, project_, name, waiting.from, file);
    if (status != kStoreOk) throwLast(status);
    waiting_.push_back(std::move(waiting));
    return static_cast<std::uint64_t>(file.size);
  }

  /// Gives the files of the group their names. Those that take another file's place are synced before.
  void settle(std::vector<std::wstring>& failed) {
    const auto replacing =
        std::count_if(waiting_.begin(), waiting_.end(), [](const Waiting& one) { return one.place.exists; });
    const bool together = static_cast<std::size_t>(replacing) > kSyncSingly;
    const CloudStatus synced = answerOf([&] {
      if (together) syncFileSystem(waiting_.front().place.directory);
    });
    for (const Waiting& waiting : waiting_) {
      CloudStatus status = synced;
      if (status == kStoreOk) {
        status = answerOf([&] {
          if (waiting.place.exists && !together) syncPath(waiting.from);
          requireClosed(waiting.place);
          LocalTree::replace(waiting.from, waiting.place);
        });
      }
      if (status != kStoreOk) removeFile(waiting.from);
      note(status, waiting.given, failed);
    }
    waiting_.clear();
  }

  CloudStore& store_;
  const StoreActor& actor_;
  const std::wstring& project_;
  LocalTree tree_;
  Compare compare_;
  std::vector<Waiting> waiting_;
  CloudStatus first_ = kStoreOk;
  std::wstring firstText_;
};

}  // namespace

CloudStatus EmbeddedProjectService::DownloadFile(const std::wstring& project, const std::wstring& localRoot,
                                                 const std::wstring& name, const std::wstring& suffix) {
  return run(L"DownloadFile", [&](CloudStore& store, const StoreActor& actor) {
    CloudStatus plain = kStoreOk;
    const CloudStatus status = answerOf([&] {
      std::wstring normal;
      std::wstring besides;
      if (!normaliseStoreName(name, normal) || !normaliseStoreName(name + suffix, besides)) {
        throw StoreError{kStoreInvalidName, L"\"" + name + suffix + L"\" is not a valid name of a file of a project"};
      }
      StoredFile file;
      CloudStatus asked = store.findFile(actor, project, normal, file);
      if (asked == kStoreNotFound) {
        // Before a directory is made for it: a file that is not there, in a project that is.
        StoreProject membership;
        asked = store.project(actor, project, membership);
        if (asked == kStoreOk) {
          setLastStoreText(L"the project has no file \"" + normal + L"\"");
          plain = kFileMissing;
          return;
        }
      }
      if (asked != kStoreOk) throwLast(asked);
      LocalTree tree(localRoot);
      const LocalPlace place = tree.place(normal);
      if (suffix.empty()) requireClosed(place);
      if (!isOpenInHost(place) && isSame(place, file, Compare::Content)) return;
      // Under a name of its own even when it has a suffix: two downloads of one file never write into each other's.
      const std::string written = LocalTree::besides(place);
      asked = store.copyOut(actor, project, normal, written, file);
      if (asked != kStoreOk) throwLast(asked);
      try {
        if (place.exists) syncPath(written);
        const bool stays = !suffix.empty() && isOpenInHost(place);
        if (!stays) requireClosed(place);
        LocalTree::replace(written, stays ? tree.place(besides) : place);
      } catch (const StoreError&) {
        removeFile(written);
        throw;
      }
    });
    return status != kStoreOk ? status : plain;
  });
}

CloudStatus EmbeddedProjectService::fetchClasses(const wchar_t* operation, const std::wstring& project,
                                                 const std::wstring& directory, unsigned classes, bool believeTimes,
                                                 const CloudTransferOptions& options,
                                                 std::vector<std::wstring>& failed) {
  failed.clear();
  return run(operation, [&](CloudStore& store, const StoreActor& actor) {
    CloudStatus status = kStoreOk;
    const CloudStatus thrown = answerOf([&] {
      if (classes == 0) throw StoreError{kStoreInvalidParameter, L"there is no such kind of files"};
      std::vector<StoredFile> files;
      status = store.files(actor, project, classes, files);
      if (status != kStoreOk) return;
      std::vector<std::wstring> names;
      names.reserve(files.size());
      for (const StoredFile& file : files) names.push_back(file.name);
      BulkDownload download(store, actor, project, directory, believeTimes ? Compare::Time : Compare::Content);
      status = download.fetch(names, transferSteps(options), failed);
    });
    if (thrown != kStoreOk) return thrown;
    if (status == kStoreOk && (classes & kBaseClasses) == kBaseClasses) session_.noteLoad(directory);
    return status;
  });
}

CloudStatus EmbeddedProjectService::DownloadQuorvelProjectBaseFiles(const std::wstring& project,
                                                                    const std::wstring& directory, int /*kind*/,
                                                                    const CloudTransferOptions& options) {
  std::vector<std::wstring> failed;
  return fetchClasses(L"DownloadQuorvelProjectBaseFiles", project, directory, kBaseClasses, true, options, failed);
}

CloudStatus EmbeddedProjectService::DownloadQuorvelProjectFiles(const std::wstring& project,
                                                                const std::wstring& directory, int kind,
                                                                const CloudTransferOptions& options) {
  std::vector<std::wstring> failed;
  return fetchClasses(L"DownloadQuorvelProjectFiles", project, directory, classesOfKind(kind), false, options, failed);
}

CloudStatus EmbeddedProjectService::DownloadQuorvelProjectBwsFiles(const std::wstring& project,
                                                                   const std::wstring& directory, bool full,
                                                                   std::vector<std::wstring>& failed,
                                                                   const CloudTransferOptions& options) {
  return fetchClasses(L"DownloadQuorvelProjectBwsFiles", project, directory, classBit(FileClass::Bim), !full, options,
                      failed);
}

CloudStatus EmbeddedProjectService::DownloadFiles(const std::wstring& project, const std::wstring& directory,
                                                  const std::set<std::wstring>& names,
                                                  const CloudTransferOptions& options) {
  return run(L"DownloadFiles", [&](CloudStore& store, const StoreActor& actor) {
    CloudStatus status = kStoreOk;
    const CloudStatus thrown = answerOf([&] {
      StoreProject membership;
      status = store.project(actor, project, membership);
      if (status != kStoreOk) return;
      BulkDownload download(store, actor, project, directory, Compare::Content);
      std::vector<std::wstring> failed;
      status = download.fetch({names.begin(), names.end()}, transferSteps(options), failed);
    });
    return thrown != kStoreOk ? thrown : status;
  });
}

}  // namespace workstation
