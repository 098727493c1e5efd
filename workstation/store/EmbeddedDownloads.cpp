// The service's downloads: every file is written beside its place, checked, and renamed onto it.
#include "host/ObjectFiles.h"
#include "platform/Files.h"
#include "platform/Paths.h"
#include "platform/Text.h"
#include "workstation/store/BulkDownload.h"
#include "workstation/store/DiskFiles.h"
#include "workstation/store/EmbeddedProjectService.h"
#include "workstation/store/LocalTree.h"
#include "workstation/store/StoreError.h"
#include "workstation/store/StoreImpl.h"
#include "workstation/store/TransferConditions.h"
#include "workstation/store/TransferSteps.h"

namespace workstation {

namespace {

/// What the library takes for "not on the server", beside a status that fails.
constexpr CloudStatus kFileMissing = ERROR_FILE_NOT_FOUND;
/// The files that a project needs before it can be opened.
constexpr unsigned kBaseClasses = classBit(FileClass::Ordinary) | classBit(FileClass::Resource);

[[noreturn]] void throwLast(CloudStatus status) {
  throw StoreError{status, CloudStore::lastText()};
}

std::unique_ptr<CacheRecord> recordOf(const std::wstring& project, const std::wstring& directory) {
  const std::string path = platform::systemPath(directory);
  if (path.empty()) return nullptr;
  makeDirectories(path);
  return CacheRecord::of(project, directory);
}

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
      const FileContent judged = contentAt(place);
      if (!isOpenInHost(place) && isSame(place, judged, file, Compare::Content)) return;
      const bool isCache = transferCondition(project, normal) && isCacheOf(project, localRoot);
      if (isCache) requireAsJudged(project, normal, place, judged);
      // Under a name of its own even when it has a suffix: two downloads of one file never write into each other's.
      const std::string written = LocalTree::besides(place);
      asked = store.copyOut(actor, project, normal, written, file);
      if (asked != kStoreOk) throwLast(asked);
      try {
        syncPath(written);
        const bool stays = !suffix.empty() && isOpenInHost(place);
        if (!stays) requireClosed(place);
        const LocalPlace part = stays ? tree.place(besides) : place;
        LocalTree::replace(written, part, stays ? contentAt(part) : judged);
        if (!stays) noteSettled(project, localRoot, {file});
        if (!stays && isCache) moveConditionHere(project, normal, contentOf(file));
      } catch (const StoreError&) {
        removeFile(written);
        throw;
      }
    });
    return status != kStoreOk ? status : plain;
  });
}

CloudStatus EmbeddedProjectService::fetchClasses(const wchar_t* operation, const std::wstring& project,
                                                 const std::wstring& directory, unsigned classes, bool news,
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
      const std::unique_ptr<CacheRecord> record = recordOf(project, directory);
      BulkDownload download(store, actor, project, directory, news ? Compare::Time : Compare::Content,
                            news ? Road::News : Road::Full, record.get());
      status = download.fetchFiles(files, transferSteps(options), failed);
      const bool isWhole = status == kStoreOk && (classes & kBaseClasses) == kBaseClasses;
      // Who decided file by file knows what is still to come.
      if (isWhole && record != nullptr && !areTransfersJudged(project)) record->setWhole();
    });
    return thrown != kStoreOk ? thrown : status;
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
      const std::unique_ptr<CacheRecord> record = recordOf(project, directory);
      BulkDownload download(store, actor, project, directory, Compare::Content, Road::Named, record.get());
      std::vector<std::wstring> failed;
      status = download.fetchNames({names.begin(), names.end()}, transferSteps(options), failed);
    });
    return thrown != kStoreOk ? thrown : status;
  });
}

}  // namespace workstation
