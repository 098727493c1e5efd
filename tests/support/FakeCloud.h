// A cloud in memory that records what it is asked and fails on command.
//
//   FakeCloud cloud;                                  // the library's controller while it lives
//   cloud.script("UploadFilesAndMetadata", {kRefused, 0});
//   ...
//   EXPECT_EQ(cloud.calls(), (Calls{L"UploadProjectFile notes.txt"}));
//
// A recorded operation answers its next scripted status, then 0, whatever thread calls it; kThrows makes it throw. What
// it gives out stands in the public members, which a test sets before and looks at after the calls.
#pragma once

#include <deque>
#include <functional>
#include <map>
#include <mutex>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

#include "host/Cloud.h"
#include "workstation/Session.h"

namespace zephor_test {

using Calls = std::vector<std::wstring>;

/// A status that the system has a text for.
constexpr CloudStatus kRefused = 5;
/// In a script: the operation throws.
constexpr CloudStatus kThrows = 0x7EE7;

class FakeCloud final : public ICloudController, public ICloudProjectService {
 public:
  FakeCloud() { workstation::setCloudController(this); }
  ~FakeCloud() override { workstation::setCloudController(nullptr); }
  FakeCloud(const FakeCloud&) = delete;
  FakeCloud& operator=(const FakeCloud&) = delete;

  void script(const std::string& operation, std::initializer_list<CloudStatus> statuses) {
    const std::lock_guard lock(mutex_);
    scripts_[operation].assign(statuses);
  }
  /// One text a call: the operation's name and its arguments, without the project. Logins are not among them.
  Calls calls() const {
    const std::lock_guard lock(mutex_);
    return calls_;
  }
  Calls logins() const {
    const std::lock_guard lock(mutex_);
    return logins_;
  }

  std::set<std::wstring> files;                            ///< what HasFile finds
  std::map<int, std::vector<std::wstring>> lines;          ///< listing lines by kind
  std::map<int, std::vector<std::wstring>> resourceFiles;  ///< names by kind, deleted ones from 32
  HeaderMap headers;                                       ///< what the header operations give out
  std::deque<std::vector<std::wstring>> failedNames;       ///< for each upload in turn
  std::function<void(const std::wstring&)> onDownload;     ///< with the local path that has to appear
  std::function<void(const std::wstring&)> onLoad;         ///< in each bulk load, with its directory
  std::function<void(const std::wstring&)> onCall;         ///< in each call that is recorded, with its text
  bool fullRefresh = false;                                ///< what RefreshProjectCache gives out
  std::vector<std::vector<QuorvFileInfo>> uploads;         ///< files of each upload
  std::vector<std::vector<std::uint8_t>> uploadedHeaders;  ///< of each file with a header, in order
  CloudUser user;                                          ///< who is signed in
  int role = 0;                                            ///< of that user: 1 administrator, 2 editor as well
  std::vector<CloudProjectMember> members;
  std::vector<SimpleCloudObject> teams;
  std::map<std::wstring, std::vector<CloudProjectEntry>> projects;  ///< by team
  std::map<std::wstring, StdResContainer> containers;               ///< what container operations give out
  std::vector<SimpleCloudObject> containerTeams;                    ///< that the user administers
  std::wstring createdContainer = L"5f0c0000-0000-4000-8000-00000000000c";
  bool lockAnswer = false;  ///< to both questions about a container's lock

  CloudStatus Login(bool interactive, bool silent) override {
    {
      const std::lock_guard lock(mutex_);
      logins_.push_back(std::wstring(interactive ? L"interactive" : L"quiet") + (silent ? L" silent" : L""));
    }
    return statusOf("Login");
  }
  void GetAccessToken(std::wstring& token) override { token = L"token"; }
  void GetPortalUrl(std::wstring& url) override { url = L"https://portal.example.org"; }
  void GetTeamContext(std::wstring& first, std::wstring& second) override { first = second = L""; }
  ICloudProjectService* GetProjectService() override { return this; }

  CloudStatus UploadProjectFile(const std::wstring&, const std::wstring& name) override {
    return record("UploadProjectFile", {name});
  }
  CloudStatus UploadFilesAndMetadata(const std::wstring&, const std::wstring&, const std::vector<QuorvFileInfo>& infos,
                                     std::uint32_t headerSize, const CloudTransferOptions&,
                                     std::vector<std::wstring>& failed) override {
    std::wstring names;
    {
      const std::lock_guard lock(mutex_);
      uploads.push_back(infos);
      for (const QuorvFileInfo& info : infos) {
        names += (names.empty() ? L"" : L",") + info.name;
        const auto* bytes = static_cast<const std::uint8_t*>(info.header);
        if (bytes != nullptr) uploadedHeaders.emplace_back(bytes, bytes + headerSize);
      }
    }
    takeFailedNames(failed);
    return record("UploadFilesAndMetadata", {names, std::to_wstring(headerSize)});
  }
  CloudStatus DownloadFile(const std::wstring&, const std::wstring& root, const std::wstring& name,
                           const std::wstring& suffix) override {
    const CloudStatus status = record("DownloadFile", {name + suffix});
    if (status == 0 && onDownload) onDownload(root + L'\\' + name + suffix);
    return status;
  }
  CloudStatus GetFileHeaders(const std::wstring&, HeaderMap& out, std::uint32_t bits) override {
    std::wstring names;
    for (auto& [name, header] : out) {
      names += (names.empty() ? L"" : L",") + name;
      if (const auto found = headers.find(name); found != headers.end()) header = found->second;
    }
    return record("GetFileHeaders", {names, std::to_wstring(bits)});
  }
  CloudStatus GetAllFileHeaders(const std::wstring&, HeaderMap& out, std::uint32_t, int kind) override {
    out = headers;
    return record("GetAllFileHeaders", {std::to_wstring(kind)});
  }
  CloudStatus DeleteFile(const std::wstring&, const std::wstring& name) override {
    return record("DeleteFile", {name});
  }
  CloudStatus HasFile(const std::wstring&, const std::wstring& name, bool& found) override {
    found = files.contains(name.starts_with(L'\\') ? name.substr(1) : name);
    return record("HasFile", {name});
  }
  CloudStatus GetProjectFileInfos(const std::wstring&, std::vector<std::wstring>& out, int kind) override {
    out = lines[kind];
    return record("GetProjectFileInfos", {std::to_wstring(kind)});
  }
  CloudStatus GetQuorvelProjectResourceFiles(const std::wstring&, std::vector<std::wstring>& out, int kind) override {
    out = resourceFiles[kind];
    return record("GetQuorvelProjectResourceFiles", {std::to_wstring(kind)});
  }
  CloudStatus DownloadFiles(const std::wstring&, const std::wstring&, const std::set<std::wstring>& names,
                            const CloudTransferOptions& options) override {
    std::wstring text;
    for (const std::wstring& name : names) text += (text.empty() ? L"" : L",") + name;
    return record("DownloadFiles", {text, std::to_wstring(options.count)});
  }
  CloudStatus GetSessionState(std::wstring&, bool&, bool&) override { return record("GetSessionState", {}); }

  // No test asks for the rest.
  const CloudUser* GetCurrentUser(CloudUser& out) override {
    out = user;
    return statusOf("GetCurrentUser") == 0 ? &out : nullptr;
  }
  CloudStatus GetProjectInfo(const std::wstring&, std::wstring&, std::wstring&, std::wstring&) override {
    return record("GetProjectInfo", {});
  }
  CloudStatus GetProjectMembers(const std::wstring&, std::vector<CloudProjectMember>& out) override {
    out = members;
    return statusOf("GetProjectMembers");
  }
  CloudStatus CheckProjectAccess(const std::wstring&, std::wstring& text) override {
    text = L"no access";
    return record("CheckProjectAccess", {});
  }
  CloudStatus GetNewShareFilesMetadata(const std::wstring&, std::vector<NewShareFileMetadata>&,
                                       ShareFileTypeID) override {
    return 0;
  }
  CloudStatus DownloadQuorvelProjectBaseFiles(const std::wstring&, const std::wstring& directory, int kind,
                                              const CloudTransferOptions&) override {
    if (onLoad) onLoad(directory);
    return record("DownloadQuorvelProjectBaseFiles", {std::to_wstring(kind)});
  }
  CloudStatus DownloadQuorvelProjectFiles(const std::wstring&, const std::wstring& directory, int kind,
                                          const CloudTransferOptions&) override {
    if (onLoad) onLoad(directory);
    return record("DownloadQuorvelProjectFiles", {std::to_wstring(kind)});
  }
  CloudStatus GetTeams(std::vector<SimpleCloudObject>& out, int) override {
    out = teams;
    return statusOf("GetTeams");
  }
  CloudStatus IsCurrentUserInRole(bool& inRole, std::wstring, int wanted) override {
    inRole = role != 0 && role <= wanted;
    return statusOf("IsCurrentUserInRole");
  }
  CloudStatus GetProjects(const std::wstring& team, std::vector<CloudProjectEntry>& out, int kind, int) override {
    out = projects[team];
    return record("GetProjects", {team, std::to_wstring(kind)});
  }
  CloudStatus DeleteProject(const std::wstring&) override { return record("DeleteProject", {}); }
  CloudStatus CreateModel(const std::wstring& text, int number, const std::wstring& name, std::wstring&) override {
    return record("CreateModel", {text, std::to_wstring(number), name});
  }
  CloudStatus GetProjectLocks(const std::wstring&, const std::wstring&, std::vector<LockUser>&) override { return 0; }
  CloudStatus RemoveProjectLock(const std::wstring& team, const std::wstring&, const std::wstring& text,
                                bool all) override {
    return record("RemoveProjectLock", {team, L"\"" + text + L"\"", all ? L"all" : L"own"});
  }
  CloudStatus SetProjectLock(const std::wstring&, const std::wstring&, OndrathProjectLockType) override { return 0; }
  CloudStatus IsProjectInUse(const std::wstring& team, const std::wstring&, bool ignoreOwn, bool&) override {
    return record("IsProjectInUse", {team, ignoreOwn ? L"others" : L"any"});
  }
  CloudStatus DownloadQuorvelProjectBwsFiles(const std::wstring&, const std::wstring&, bool full,
                                             std::vector<std::wstring>& failed, const CloudTransferOptions&) override {
    takeFailedNames(failed);
    return record("DownloadQuorvelProjectBwsFiles", {full ? L"full" : L"light"});
  }
  CloudStatus TriggerProjectItemChangedNotification(const std::wstring&, const std::wstring& name) override {
    return record("TriggerProjectItemChangedNotification", {name});
  }
  CloudStatus GetCORTeams(std::vector<SimpleCloudObject>& out) override {
    out = containerTeams;
    return record("GetCORTeams", {});
  }
  CloudStatus CreateSTD(const std::wstring& team, const std::wstring& name, std::wstring& made) override {
    made = createdContainer;
    return record("CreateSTD", {team, name});
  }
  CloudStatus DeleteSTD(const std::wstring& container) override { return record("DeleteSTD", {container}); }
  CloudStatus GetStdResContainers(std::map<std::wstring, StdResContainer>& out) override {
    out = containers;
    return record("GetStdResContainers", {});
  }
  CloudStatus GetTeamUuidByCORUuid(const std::wstring& container, std::wstring& team) override {
    team = containers[container].teamUuid;
    return record("GetTeamUuidByCORUuid", {container});
  }
  CloudStatus ConnectResourcesContainerWithLocalPath(const std::wstring& container, const std::wstring& path) override {
    return record("Connect", {container, path});
  }
  CloudStatus CheckLockCOR(const std::wstring& container, const std::wstring& path, bool& locked) override {
    locked = lockAnswer;
    return record("CheckLockCOR", {container, path});
  }
  CloudStatus CanUnlockCOR(const std::wstring& container, const std::wstring& path, bool& can) override {
    can = lockAnswer;
    return record("CanUnlockCOR", {container, path});
  }
  CloudStatus LockResourcesContainer(const std::wstring& container, int flag) override {
    return record("Lock", {container, std::to_wstring(flag)});
  }
  CloudStatus UnlockResourcesContainer(bool rollback) override {
    return record("Unlock", {rollback ? L"rollback" : L"keep"});
  }
  CloudStatus ForceUnlockCOR(const std::wstring& path) override { return record("ForceUnlockCOR", {path}); }
  CloudStatus UploadResourcesContainer(const ContainerUploadRequest& request) override {
    return record("Upload", {request.uuid, std::to_wstring(request.flag), std::to_wstring(request.options.count)});
  }
  CloudStatus DownloadSTDResContainer(const std::wstring& container, const std::wstring& path,
                                      const CloudTransferOptions& options) override {
    return record("Download", {container, path, options.text.empty() ? L"silent" : L"shown"});
  }
  CloudStatus SubscribeCOR(const std::wstring& container, const std::wstring& path) override {
    return record("SubscribeCOR", {container, path});
  }
  CloudStatus UnsubscribeCOR() override { return record("UnsubscribeCOR", {}); }
  CloudStatus RefreshProjectCache(const std::wstring&, bool& full) override {
    full = fullRefresh;
    return record("RefreshProjectCache", {});
  }

 private:
  void takeFailedNames(std::vector<std::wstring>& failed) {
    const std::lock_guard lock(mutex_);
    if (failedNames.empty()) return;
    failed = failedNames.front();
    failedNames.pop_front();
  }

  CloudStatus record(const std::string& operation, std::initializer_list<std::wstring> arguments) {
    std::wstring call(operation.begin(), operation.end());
    for (const std::wstring& argument : arguments) call += L' ' + argument;
    {
      const std::lock_guard lock(mutex_);
      calls_.push_back(call);
    }
    if (onCall) onCall(call);
    return statusOf(operation);
  }

  CloudStatus statusOf(const std::string& operation) {
    const std::lock_guard lock(mutex_);
    std::deque<CloudStatus>& waiting = scripts_[operation];
    if (waiting.empty()) return 0;
    const CloudStatus status = waiting.front();
    waiting.pop_front();
    if (status == kThrows) throw std::runtime_error("scripted");
    return status;
  }

  mutable std::mutex mutex_;
  std::map<std::string, std::deque<CloudStatus>> scripts_;
  Calls calls_;
  Calls logins_;
};

}  // namespace zephor_test
