// Resource containers, which the embedded store does not have yet: every operation answers that, and finds nothing.
#include "workstation/store/EmbeddedProjectService.h"
#include "workstation/store/StoreError.h"

namespace workstation {

namespace {

CloudStatus notImplemented() {
  setLastStoreText(L"the embedded cloud store has no containers of resources");
  return kStoreNotImplemented;
}

}  // namespace

CloudStatus EmbeddedProjectService::GetCORTeams(std::vector<SimpleCloudObject>& teams) {
  teams.clear();
  return notImplemented();
}

CloudStatus EmbeddedProjectService::CreateSTD(const std::wstring& /*team*/, const std::wstring& /*name*/,
                                              std::wstring& uuid) {
  uuid.clear();
  return notImplemented();
}

CloudStatus EmbeddedProjectService::DeleteSTD(const std::wstring& /*uuid*/) {
  return notImplemented();
}

CloudStatus EmbeddedProjectService::GetStdResContainers(std::map<std::wstring, StdResContainer>& containers) {
  containers.clear();
  return notImplemented();
}

CloudStatus EmbeddedProjectService::GetTeamUuidByCORUuid(const std::wstring& /*uuid*/, std::wstring& team) {
  team.clear();
  return notImplemented();
}

CloudStatus EmbeddedProjectService::ConnectResourcesContainerWithLocalPath(const std::wstring& /*uuid*/,
                                                                           const std::wstring& /*path*/) {
  return notImplemented();
}

CloudStatus EmbeddedProjectService::CheckLockCOR(const std::wstring& /*uuid*/, const std::wstring& /*cachePath*/,
                                                 bool& locked) {
  locked = false;
  return notImplemented();
}

CloudStatus EmbeddedProjectService::CanUnlockCOR(const std::wstring& /*uuid*/, const std::wstring& /*cachePath*/,
                                                 bool& can) {
  can = false;
  return notImplemented();
}

CloudStatus EmbeddedProjectService::LockResourcesContainer(const std::wstring& /*uuid*/, int /*flag*/) {
  return notImplemented();
}

CloudStatus EmbeddedProjectService::UnlockResourcesContainer(bool /*rollback*/) {
  return notImplemented();
}

CloudStatus EmbeddedProjectService::ForceUnlockCOR(const std::wstring& /*cachePath*/) {
  return notImplemented();
}

CloudStatus EmbeddedProjectService::UploadResourcesContainer(const ContainerUploadRequest& /*request*/) {
  return notImplemented();
}

CloudStatus EmbeddedProjectService::DownloadSTDResContainer(const std::wstring& /*uuid*/, const std::wstring& /*path*/,
                                                            const CloudTransferOptions& /*options*/) {
  return notImplemented();
}

CloudStatus EmbeddedProjectService::SubscribeCOR(const std::wstring& /*uuid*/, const std::wstring& /*cachePath*/) {
  return notImplemented();
}

CloudStatus EmbeddedProjectService::UnsubscribeCOR() {
  return notImplemented();
}

}  // namespace workstation
