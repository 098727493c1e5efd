// Resource containers, which the embedded store does not have yet: every operation answers that, and finds nothing.
#include "workstation/store/EmbeddedProjectService.h"

namespace workstation {

CloudStatus EmbeddedProjectService::GetCORTeams(std::vector<SimpleCloudObject>& teams) {
  teams.clear();
  return kStoreNotImplemented;
}

CloudStatus EmbeddedProjectService::CreateSTD(const std::wstring& /*team*/, const std::wstring& /*name*/,
                                              std::wstring& uuid) {
  uuid.clear();
  return kStoreNotImplemented;
}

CloudStatus EmbeddedProjectService::DeleteSTD(const std::wstring& /*uuid*/) {
  return kStoreNotImplemented;
}

CloudStatus EmbeddedProjectService::GetStdResContainers(std::map<std::wstring, StdResContainer>& containers) {
  containers.clear();
  return kStoreNotImplemented;
}

CloudStatus EmbeddedProjectService::GetTeamUuidByCORUuid(const std::wstring& /*uuid*/, std::wstring& team) {
  team.clear();
  return kStoreNotImplemented;
}

CloudStatus EmbeddedProjectService::ConnectResourcesContainerWithLocalPath(const std::wstring& /*uuid*/,
                                                                           const std::wstring& /*path*/) {
  return kStoreNotImplemented;
}

CloudStatus EmbeddedProjectService::CheckLockCOR(const std::wstring& /*uuid*/, const std::wstring& /*cachePath*/,
                                                 bool& locked) {
  locked = false;
  return kStoreNotImplemented;
}

CloudStatus EmbeddedProjectService::CanUnlockCOR(const std::wstring& /*uuid*/, const std::wstring& /*cachePath*/,
                                                 bool& can) {
  can = false;
  return kStoreNotImplemented;
}

CloudStatus EmbeddedProjectService::LockResourcesContainer(const std::wstring& /*uuid*/, int /*flag*/) {
  return kStoreNotImplemented;
}

CloudStatus EmbeddedProjectService::UnlockResourcesContainer(bool /*rollback*/) {
  return kStoreNotImplemented;
}

CloudStatus EmbeddedProjectService::ForceUnlockCOR(const std::wstring& /*cachePath*/) {
  return kStoreNotImplemented;
}

CloudStatus EmbeddedProjectService::UploadResourcesContainer(const ContainerUploadRequest& /*request*/) {
  return kStoreNotImplemented;
}

CloudStatus EmbeddedProjectService::DownloadSTDResContainer(const std::wstring& /*uuid*/, const std::wstring& /*path*/,
                                                            const CloudTransferOptions& /*options*/) {
  return kStoreNotImplemented;
}

CloudStatus EmbeddedProjectService::SubscribeCOR(const std::wstring& /*uuid*/, const std::wstring& /*cachePath*/) {
  return kStoreNotImplemented;
}

CloudStatus EmbeddedProjectService::UnsubscribeCOR() {
  return kStoreNotImplemented;
}

}  // namespace workstation
