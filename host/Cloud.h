// The seam of the cloud: controller, sign-on and project service, with the records that cross it.
//
// A project and a team are addressed by their UUID texts, a file by the project's UUID and a name relative to the
// project's directory, with backslashes. An operation answers a 32-bit status: 0 is success; any other value is a
// failure, except where an operation says that only a negative value fails. Every operation may be called from several
// threads at once.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <set>
#include <string>
#include <unordered_map>
#include <vector>

#include "host/Export.h"
#include "platform/WindowsTypes.h"

using CloudStatus = std::int32_t;

/// A team or resource container as a list entry.
struct SimpleCloudObject {
  std::wstring uuid;
  std::wstring name;
};

struct CloudProjectEntry {
  std::wstring owner;  ///< carried unread by the library
  std::wstring uuid;
  std::wstring name;
  std::wstring description;  ///< carried unread by the library
};

/// The signed-in user.
struct CloudUser {
  std::wstring uuid;
  std::wstring name;
  std::wstring email;
};

/// 1 owner, 2 additional administrator, 3 editor, 4 viewer.
struct CloudProjectMember {
  std::wstring uuid;
  std::wstring name;
  std::wstring email;
  int role = 0;
};

/// One user who holds a lock on a project.
struct LockUser {
  std::wstring uuid;
  std::wstring name;
  std::wstring email;
  std::wstring workstation;
  std::wstring time;
  int kind = 0;
};

/// Kind of lock of a project; passed through by the library.
enum OndrathProjectLockType : int {
  eOndrathProjectLock_None = 0,
  eOndrathProjectLock_Read = 1,
  eOndrathProjectLock_Write = 2,
  eOndrathProjectLock_Exclusive = 3,
};

/// Classes of resource files.
enum ShareFileTypeID : int {
  eShareFile_Resource = 0,
  eShareFile_Ordinary = 1,
  eShareFile_Teilbild = 2,
  eShareFile_Plan = 3,
  eShareFile_Bim = 4,
};

/// A file of a new share; handed through by the library unread.
struct NewShareFileMetadata {
  std::wstring name;
  std::wstring uuid;
  std::int64_t size = 0;
  FILETIME modified{};
};

/// One file of an upload.
struct QuorvFileInfo {
  std::wstring name;          ///< relative to the upload's base directory, or a full path that begins with it
  bool transferFlag = false;  ///< the caller's flag, handed down with the file
  /// Header to store with the file, of the size that the upload names; owned by the caller of the upload. Null: none.
  const void* header = nullptr;
  /// Platform handle of the file when the host holds it open, -1 when none.
  std::intptr_t fileHandle = -1;
  std::unordered_map<std::wstring, std::wstring> metadata;

  /// @return false, and nothing is done, when the key is empty
  bool AddMetadata(const std::wstring& key, const std::wstring& value) {
    if (key.empty()) return false;
    metadata.insert_or_assign(key, value);
    return true;
  }
};

/// How a bulk transfer shows itself.
struct CloudTransferOptions {
  std::uint32_t count = 0;  ///< steps of the progress indicator; 0: none; 0xFFFFFFFF: as many as there are
  std::wstring caption;
  std::wstring text;
  bool flags[3] = {false, false, false};
};

using HeaderBits = std::vector<bool>;
using HeaderMap = std::map<std::wstring, HeaderBits>;

/// Kinds of files in listings and bulk downloads.
constexpr int kCloudKindOrdinary = 1;
constexpr int kCloudKindTeilbild = 2;
constexpr int kCloudKindPlan = 3;
constexpr int kCloudKindBim = 4;
constexpr int kCloudKindWholeProject = 5;
constexpr int kCloudKindDeletedFirst = 32;  ///< 32 to 36: deleted files by ShareFileTypeID 0 to 4

/// What a container upload asks for.
struct ContainerUploadRequest {
  std::wstring uuid;
  int flag = 0;
  CloudTransferOptions options;
};

/// A resource container and the team that it belongs to.
struct StdResContainer {
  std::wstring uuid;
  std::wstring name;
  std::wstring teamUuid;
};

class HOST_API ICloudProjectService {
 public:
  virtual ~ICloudProjectService() = default;

  /// Fills the record. @return its address; null when nobody is signed in
  virtual const CloudUser* GetCurrentUser(CloudUser& user) = 0;
  /// Fails for an unknown UUID.
  virtual CloudStatus GetProjectInfo(const std::wstring& project, std::wstring& name, std::wstring& teamName,
                                     std::wstring& teamUuid) = 0;
  virtual CloudStatus GetProjectMembers(const std::wstring& project, std::vector<CloudProjectMember>& members) = 0;
  /// A status other than 0 means that no local copy may be built; `text` then says why.
  virtual CloudStatus CheckProjectAccess(const std::wstring& project, std::wstring& text) = 0;
  /// Sends one ordinary file from this workstation's cache.
  virtual CloudStatus UploadProjectFile(const std::wstring& project, const std::wstring& name) = 0;
  /// Sends a group of files, each whole together with its header. `failed` names those that did not go, as `files`
  /// names them.
  /// @param headerSize  0, 896 (Plans) or 1576 (Teilbilder) bytes behind each header pointer
  virtual CloudStatus UploadFilesAndMetadata(const std::wstring& project, const std::wstring& baseDirectory,
                                             const std::vector<QuorvFileInfo>& files, std::uint32_t headerSize,
                                             const CloudTransferOptions& options,
                                             std::vector<std::wstring>& failed) = 0;
  /// Brings one file to `localRoot` joined with its name. With a suffix it is written under the suffixed name and
  /// renamed at the end; a target that is open in the host stays, and the suffixed file is left for the caller.
  virtual CloudStatus DownloadFile(const std::wstring& project, const std::wstring& localRoot, const std::wstring& name,
                                   const std::wstring& suffix) = 0;
  /// Fills the entries of the map; a file without header keeps an empty vector. Only a negative status fails.
  virtual CloudStatus GetFileHeaders(const std::wstring& project, HeaderMap& headers, std::uint32_t bits) = 0;
  virtual CloudStatus GetAllFileHeaders(const std::wstring& project, HeaderMap& headers, std::uint32_t bits,
                                        int kind) = 0;
  virtual CloudStatus DeleteFile(const std::wstring& project, const std::wstring& name) = 0;
  /// @param name  may begin with a backslash
  virtual CloudStatus HasFile(const std::wstring& project, const std::wstring& name, bool& found) = 0;
  /// One line a file: name, text, date created, date modified, text, text, separated by `|`; dates as "21.11.2026
  /// 18:04:05", UTC.
  virtual CloudStatus GetProjectFileInfos(const std::wstring& project, std::vector<std::wstring>& lines, int kind) = 0;
  virtual CloudStatus GetNewShareFilesMetadata(const std::wstring& project, std::vector<NewShareFileMetadata>& files,
                                               ShareFileTypeID type) = 0;
  virtual CloudStatus GetQuorvelProjectResourceFiles(const std::wstring& project, std::vector<std::wstring>& names,
                                                     int kind) = 0;
  virtual CloudStatus DownloadQuorvelProjectBaseFiles(const std::wstring& project, const std::wstring& directory,
                                                      int kind, const CloudTransferOptions& options) = 0;
  virtual CloudStatus DownloadQuorvelProjectFiles(const std::wstring& project, const std::wstring& directory, int kind,
                                                  const CloudTransferOptions& options) = 0;
  virtual CloudStatus GetSessionState(std::wstring& state, bool& first, bool& second) = 0;
  virtual CloudStatus GetTeams(std::vector<SimpleCloudObject>& teams, int flags) = 0;
  /// @param role  1 admin, 2 editor
  virtual CloudStatus IsCurrentUserInRole(bool& inRole, std::wstring project, int role) = 0;
  virtual CloudStatus GetProjects(const std::wstring& team, std::vector<CloudProjectEntry>& projects, int kind,
                                  int flags) = 0;
  virtual CloudStatus DeleteProject(const std::wstring& project) = 0;
  virtual CloudStatus CreateModel(const std::wstring& text, int number, const std::wstring& displayName,
                                  std::wstring& model) = 0;
  virtual CloudStatus GetProjectLocks(const std::wstring& team, const std::wstring& project,
                                      std::vector<LockUser>& locks) = 0;
  virtual CloudStatus RemoveProjectLock(const std::wstring& team, const std::wstring& project, const std::wstring& text,
                                        bool flag) = 0;
  virtual CloudStatus SetProjectLock(const std::wstring& team, const std::wstring& project,
                                     OndrathProjectLockType kind) = 0;
  virtual CloudStatus IsProjectInUse(const std::wstring& team, const std::wstring& project, bool ignoreOwn,
                                     bool& inUse) = 0;
  virtual CloudStatus DownloadQuorvelProjectBwsFiles(const std::wstring& project, const std::wstring& directory,
                                                     bool full, std::vector<std::wstring>& failed,
                                                     const CloudTransferOptions& options) = 0;
  virtual CloudStatus TriggerProjectItemChangedNotification(const std::wstring& project, const std::wstring& name) = 0;
  virtual CloudStatus DownloadFiles(const std::wstring& project, const std::wstring& directory,
                                    const std::set<std::wstring>& names, const CloudTransferOptions& options) = 0;

  virtual CloudStatus GetCORTeams(std::vector<SimpleCloudObject>& teams) = 0;
  virtual CloudStatus CreateSTD(const std::wstring& team, const std::wstring& name, std::wstring& uuid) = 0;
  virtual CloudStatus DeleteSTD(const std::wstring& uuid) = 0;
  virtual CloudStatus GetStdResContainers(std::map<std::wstring, StdResContainer>& containers) = 0;
  virtual CloudStatus GetTeamUuidByCORUuid(const std::wstring& uuid, std::wstring& team) = 0;
  virtual CloudStatus ConnectResourcesContainerWithLocalPath(const std::wstring& uuid, const std::wstring& path) = 0;
  virtual CloudStatus CheckLockCOR(const std::wstring& uuid, const std::wstring& cachePath, bool& locked) = 0;
  virtual CloudStatus CanUnlockCOR(const std::wstring& uuid, const std::wstring& cachePath, bool& can) = 0;
  virtual CloudStatus LockResourcesContainer(const std::wstring& uuid, int flag) = 0;
  virtual CloudStatus UnlockResourcesContainer(bool rollback) = 0;
  virtual CloudStatus ForceUnlockCOR(const std::wstring& cachePath) = 0;
  virtual CloudStatus UploadResourcesContainer(const ContainerUploadRequest& request) = 0;
  virtual CloudStatus DownloadSTDResContainer(const std::wstring& uuid, const std::wstring& path,
                                              const CloudTransferOptions& options) = 0;
  virtual CloudStatus SubscribeCOR(const std::wstring& uuid, const std::wstring& cachePath) = 0;
  virtual CloudStatus UnsubscribeCOR() = 0;
  /// @param full  true when the whole project has to be brought
  virtual CloudStatus RefreshProjectCache(const std::wstring& project, bool& full) = 0;
};

class HOST_API ICloudController {
 public:
  virtual ~ICloudController() = default;
  /// Makes sure that a session is up. Without `interactive` it asks nobody. @return 0 when logged in
  virtual CloudStatus Login(bool interactive, bool silent) = 0;
  virtual void GetAccessToken(std::wstring& token) = 0;
  /// Base URL of the web portal, without a slash at its end.
  virtual void GetPortalUrl(std::wstring& url) = 0;
  virtual void GetTeamContext(std::wstring& first, std::wstring& second) = 0;
  /// Never null; owned by the controller.
  virtual ICloudProjectService* GetProjectService() = 0;
};

class HOST_API ISsoController {
 public:
  virtual ~ISsoController() = default;
  virtual void Logout() = 0;
};

/// The controllers of the process; never null, owned by the host.
HOST_API ICloudController* QuorvelCloudController();
HOST_API ISsoController* QuorvelSsoController();
