// The cloud's project service over the embedded store.
#pragma once

#include <functional>
#include <map>
#include <mutex>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "host/Cloud.h"
#include "workstation/store/CloudStore.h"

namespace workstation {

class EmbeddedSession;

class EmbeddedProjectService : public ICloudProjectService {
 public:
  explicit EmbeddedProjectService(EmbeddedSession& session) : session_(session) {}

  // People and projects.
  const CloudUser* GetCurrentUser(CloudUser& user) override;
  CloudStatus GetProjectInfo(const std::wstring& project, std::wstring& name, std::wstring& teamName,
                             std::wstring& teamUuid) override;
  CloudStatus GetProjectMembers(const std::wstring& project, std::vector<CloudProjectMember>& members) override;
  CloudStatus CheckProjectAccess(const std::wstring& project, std::wstring& text) override;
  CloudStatus GetSessionState(std::wstring& state, bool& first, bool& second) override;
  CloudStatus GetTeams(std::vector<SimpleCloudObject>& teams, int flags) override;
  CloudStatus IsCurrentUserInRole(bool& inRole, std::wstring project, int role) override;
  CloudStatus GetProjects(const std::wstring& team, std::vector<CloudProjectEntry>& projects, int kind,
                          int flags) override;
  CloudStatus DeleteProject(const std::wstring& project) override;
  CloudStatus CreateModel(const std::wstring& text, int number, const std::wstring& displayName,
                          std::wstring& model) override;
  CloudStatus GetProjectLocks(const std::wstring& team, const std::wstring& project,
                              std::vector<LockUser>& locks) override;
  CloudStatus RemoveProjectLock(const std::wstring& team, const std::wstring& project, const std::wstring& text,
                                bool flag) override;
  CloudStatus SetProjectLock(const std::wstring& team, const std::wstring& project,
                             OndrathProjectLockType kind) override;
  CloudStatus IsProjectInUse(const std::wstring& team, const std::wstring& project, bool ignoreOwn,
                             bool& inUse) override;
  CloudStatus TriggerProjectItemChangedNotification(const std::wstring& project, const std::wstring& name) override;
  CloudStatus RefreshProjectCache(const std::wstring& project, bool& full) override;

  // What files there are.
  CloudStatus GetFileHeaders(const std::wstring& project, HeaderMap& headers, std::uint32_t bits) override;
  CloudStatus GetAllFileHeaders(const std::wstring& project, HeaderMap& headers, std::uint32_t bits, int kind) override;
  CloudStatus DeleteFile(const std::wstring& project, const std::wstring& name) override;
  CloudStatus HasFile(const std::wstring& project, const std::wstring& name, bool& found) override;
  CloudStatus GetProjectFileInfos(const std::wstring& project, std::vector<std::wstring>& lines, int kind) override;
  CloudStatus GetNewShareFilesMetadata(const std::wstring& project, std::vector<NewShareFileMetadata>& files,
                                       ShareFileTypeID type) override;
  CloudStatus GetQuorvelProjectResourceFiles(const std::wstring& project, std::vector<std::wstring>& names,
                                             int kind) override;

  // Transfers.
  CloudStatus UploadProjectFile(const std::wstring& project, const std::wstring& name) override;
  CloudStatus UploadFilesAndMetadata(const std::wstring& project, const std::wstring& baseDirectory,
                                     const std::vector<QuorvFileInfo>& files, std::uint32_t headerSize,
                                     const CloudTransferOptions& options, std::vector<std::wstring>& failed) override;
  CloudStatus DownloadFile(const std::wstring& project, const std::wstring& localRoot, const std::wstring& name,
                           const std::wstring& suffix) override;
  CloudStatus DownloadQuorvelProjectBaseFiles(const std::wstring& project, const std::wstring& directory, int kind,
                                              const CloudTransferOptions& options) override;
  CloudStatus DownloadQuorvelProjectFiles(const std::wstring& project, const std::wstring& directory, int kind,
                                          const CloudTransferOptions& options) override;
  CloudStatus DownloadQuorvelProjectBwsFiles(const std::wstring& project, const std::wstring& directory, bool full,
                                             std::vector<std::wstring>& failed,
                                             const CloudTransferOptions& options) override;
  CloudStatus DownloadFiles(const std::wstring& project, const std::wstring& directory,
                            const std::set<std::wstring>& names, const CloudTransferOptions& options) override;

  // Resource containers.
  CloudStatus GetCORTeams(std::vector<SimpleCloudObject>& teams) override;
  CloudStatus CreateSTD(const std::wstring& team, const std::wstring& name, std::wstring& uuid) override;
  CloudStatus DeleteSTD(const std::wstring& uuid) override;
  CloudStatus GetStdResContainers(std::map<std::wstring, StdResContainer>& containers) override;
  CloudStatus GetTeamUuidByCORUuid(const std::wstring& uuid, std::wstring& team) override;
  CloudStatus ConnectResourcesContainerWithLocalPath(const std::wstring& uuid, const std::wstring& path) override;
  CloudStatus CheckLockCOR(const std::wstring& uuid, const std::wstring& cachePath, bool& locked) override;
  CloudStatus CanUnlockCOR(const std::wstring& uuid, const std::wstring& cachePath, bool& can) override;
  CloudStatus LockResourcesContainer(const std::wstring& uuid, int flag) override;
  CloudStatus UnlockResourcesContainer(bool rollback) override;
  CloudStatus ForceUnlockCOR(const std::wstring& cachePath) override;
  CloudStatus UploadResourcesContainer(const ContainerUploadRequest& request) override;
  CloudStatus DownloadSTDResContainer(const std::wstring& uuid, const std::wstring& path,
                                      const CloudTransferOptions& options) override;
  CloudStatus SubscribeCOR(const std::wstring& uuid, const std::wstring& cachePath) override;
  CloudStatus UnsubscribeCOR() override;

 private:
  using Work = std::function<CloudStatus(CloudStore& store, const StoreActor& actor)>;
  /// Runs one operation on the store of the session. A failure is told to the error log, but for what is only not
  /// there.
  CloudStatus run(const wchar_t* operation, const Work& work);
  /// Brings all files of some classes to a directory.
  /// @param news  a local file of the same size and time is taken for the same without reading it, and in this
  ///              workstation's cache what was changed here stays
  CloudStatus fetchClasses(const wchar_t* operation, const std::wstring& project, const std::wstring& directory,
                           unsigned classes, bool news, const CloudTransferOptions& options,
                           std::vector<std::wstring>& failed);

  /// Notes that this thread works on a container, and, where it is told, in which directory.
  void noteContainer(const std::wstring& uuid, const std::wstring& path = {});
  /// Directory of a container's cache: where it was connected or downloaded to, or the workstation's own place for it.
  std::wstring cacheOfContainer(const std::wstring& uuid);
  /// The container whose lock is meant where none is named; empty for none.
  std::wstring heldContainer(CloudStore& store, const StoreActor& actor, bool rollback);

  EmbeddedSession& session_;
  std::mutex containersMutex_;
  std::map<std::wstring, std::wstring> containerCaches_;  // by uuid
  // What a thread has worked on: calls that name no container mean one of its own, never that of another thread.
  struct ContainerWork {
    std::wstring last;
    std::wstring locked;         // until it is given back
    bool isCommitNamed = false;  // the last one was named by a commit
  };
  std::map<std::thread::id, ContainerWork> containerWork_;
};

/// Classes of a kind of listing or bulk download; 0 for a kind that there is not.
unsigned classesOfKind(int kind);

}  // namespace workstation
