// The service's uploads.
#include <algorithm>

#include "host/Project.h"
#include "platform/Files.h"
#include "platform/Paths.h"
#include "platform/Text.h"
#include "platform/Time.h"
#include "workstation/store/CacheRecord.h"
#include "workstation/store/EmbeddedProjectService.h"
#include "workstation/store/StoreError.h"
#include "workstation/store/StoredHeader.h"
#include "workstation/store/TransferConditions.h"
#include "workstation/store/TransferSteps.h"
#include "workstation/store/TransferTurn.h"

namespace workstation {

namespace {

constexpr std::uint32_t kTeilbildHeaderSize = sizeof(TeilbildHeader);
constexpr std::uint32_t kPlanHeaderSize = sizeof(PlanHeader);

std::wstring withBackslashes(std::wstring path) {
  std::replace(path.begin(), path.end(), L'/', L'\\');
  return path;
}

/// What stands behind the base directory in a full path below it; any other name as it is.
std::wstring relativeTo(const std::wstring& base, const std::wstring& name) {
  std::wstring prefix = withBackslashes(base);
  while (!prefix.empty() && prefix.back() == L'\\') prefix.pop_back();
  prefix += L'\\';
  const std::wstring normal = withBackslashes(name);
  return prefix.size() > 1 && platform::startsWithIgnoreCase(normal, prefix) ? normal.substr(prefix.size()) : normal;
}

FilePut putOf(const std::wstring& base, const QuorvFileInfo& file, std::uint32_t headerSize) {
  FilePut put;
  put.name = relativeTo(base, file.name);
  put.path = platform::joinPath(base, put.name);
  if (file.fileHandle != -1) put.handle = reinterpret_cast<HANDLE>(file.fileHandle);  // NOLINT: carried as a number
  put.header = storedImageOf(file.header, headerSize);
  put.metadata.assign(file.metadata.begin(), file.metadata.end());
  return put;
}

/// Takes over what is laid down for a file, or what the standing judge says.
/// @return whether the store has it already
bool layDown(CloudStore& store, const StoreActor& actor, const std::wstring& project, FilePut& put) {
  if (const auto judge = transferJudge(project, put.name)) {
    const TransferVerdict verdict = judge->judgeUpload(store, actor, put);
    put.expectedRevision = verdict.revision;
    return verdict.isThereAlready;
  }
  const auto condition = transferCondition(project, put.name);
  if (!condition) return false;
  put.expectedRevision = condition->revision;
  put.expectedSource = condition->here;
  put.needsOwnLock = condition->needsOwnLock;
  return false;
}

void tellJudge(const std::wstring& project, const std::vector<FilePut>& puts, const std::vector<CloudStatus>& statuses,
               const std::vector<StoredFile>& stored) {
  for (std::size_t i = 0; i < puts.size() && i < statuses.size(); ++i) {
    const auto judge = transferJudge(project, puts[i].name);
    if (judge) judge->uploaded(puts[i].name, statuses[i], stored[i]);
  }
}

/// Sends a group and notes what is now the same on both sides.
CloudStatus send(CloudStore& store, const StoreActor& actor, const std::wstring& project, const std::wstring& directory,
                 std::vector<FilePut> puts, std::vector<CloudStatus>& statuses, const StoreProgress& progress) {
  std::vector<std::wstring> names;
  names.reserve(puts.size());
  for (const FilePut& put : puts) names.push_back(put.name);
  const TransferTurn turn(project, names);
  bool isThereAlready = !puts.empty();
  for (FilePut& put : puts) isThereAlready = layDown(store, actor, project, put) && isThereAlready;
  std::vector<StoredFile> stored;
  if (isThereAlready) {
    statuses.assign(puts.size(), kStoreOk);
    stored.resize(puts.size());
    tellJudge(project, puts, statuses, stored);
    return kStoreOk;
  }
  const CloudStatus status = store.putFiles(actor, project, puts, statuses, progress, &stored);
  std::vector<StoredFile> same;
  for (std::size_t i = 0; i < puts.size() && i < statuses.size(); ++i) {
    if (statuses[i] != kStoreOk) continue;
    moveConditionInStore(project, puts[i].name, stored[i].revision);
    const platform::FileStatus here = platform::fileStatus(puts[i].path);
    const FileContent now{
        static_cast<std::int64_t>(here.size), static_cast<std::int64_t>(platform::toTicks(here.writeTime)), {}};
    if (here.exists && now.looksLike(contentOf(stored[i]))) same.push_back(stored[i]);
  }
  const std::wstring reason = CloudStore::lastText();
  noteSettled(project, directory, same);
  setLastStoreText(reason);
  tellJudge(project, puts, statuses, stored);
  return status;
}

}  // namespace

CloudStatus EmbeddedProjectService::UploadFilesAndMetadata(
    const std::wstring& project, const std::wstring& baseDirectory, const std::vector<QuorvFileInfo>& files,
    std::uint32_t headerSize, const CloudTransferOptions& options, std::vector<std::wstring>& failed) {
  failed.clear();
  std::vector<CloudStatus> statuses;
  const CloudStatus status = run(L"UploadFilesAndMetadata", [&](CloudStore& store, const StoreActor& actor) {
    if (headerSize != 0 && headerSize != kTeilbildHeaderSize && headerSize != kPlanHeaderSize) {
      setLastStoreText(platform::formatWide(L"a header of %u bytes; expected 0, %u or %u", headerSize, kPlanHeaderSize,
                                            kTeilbildHeaderSize));
      return kStoreInvalidParameter;
    }
    std::vector<FilePut> puts;
    puts.reserve(files.size());
    for (const QuorvFileInfo& file : files) puts.push_back(putOf(baseDirectory, file, headerSize));
    return send(store, actor, project, baseDirectory, std::move(puts), statuses, transferSteps(options));
  });
  if (status == kStoreOk) return status;
  statuses.resize(files.size(), status);
  for (std::size_t i = 0; i < files.size(); ++i) {
    if (statuses[i] != kStoreOk) failed.push_back(files[i].name);
  }
  return status;
}

CloudStatus EmbeddedProjectService::UploadProjectFile(const std::wstring& project, const std::wstring& name) {
  return run(L"UploadProjectFile", [&](CloudStore& store, const StoreActor& actor) {
    std::wstring directory;
    if (make_prj_dir(PRJ({}, {}, {}, project, true), directory) != 0) {
      setLastStoreText(L"the project \"" + project + L"\" has no directory at this workstation");
      return statusOfError(ERROR_PATH_NOT_FOUND);
    }
    QuorvFileInfo file;
    file.name = name;
    std::vector<CloudStatus> statuses;
    return send(store, actor, project, directory, {putOf(directory, file, 0)}, statuses, {});
  });
}

}  // namespace workstation
