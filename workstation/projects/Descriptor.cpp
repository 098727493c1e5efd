// The project descriptor as a value.

#include <cstring>
#include <utility>

#include "host/Guid.h"
#include "host/Project.h"
#include "host/System.h"
#include "host/Users.h"
#include "workstation/Release.h"
#include "workstation/projects/ProjectNames.h"

using Quorvel::Cad::Service::ZP_GUIDValueProvider;
using workstation::textOf;

namespace {

constexpr std::int32_t kFormatNumber = 586;
constexpr std::int32_t kCloudShareKind = 2;
constexpr unsigned kBitsPerContainer = 32;

}  // namespace

OndrathPrj::OndrathPrj(std::wstring teamName, std::wstring teamUuid, std::wstring projectName, std::wstring projectUuid)
    : teamName_(std::move(teamName)),
      teamUuid_(std::move(teamUuid)),
      projectName_(std::move(projectName)),
      projectUuid_(std::move(projectUuid)) {}

PRJ::PRJ() {
  clear();
}

PRJ::PRJ(const std::wstring& teamUuid, const std::wstring& teamName, const std::wstring& projectName,
         const std::wstring& projectUuid, bool cloud)
    : PRJ() {
  workstation::copyText(directoryName, projectUuid);
  formatNumber = kFormatNumber;
  mainRelease = static_cast<std::uint8_t>(workstation::kSubRelease / 10);
  shownName = projectName;
  cloud_ = OndrathPrj(teamName, teamUuid, projectName, projectUuid);
  if (!cloud) return;
  workstation::copyText(host, kOndrathHost);
  projectNumber = kRemoteOnlineProjectNumber;
  shareKind = kCloudShareKind;
}

void PRJ::clear() {
  std::memset(directoryName, 0, sizeof directoryName);
  std::memset(host, 0, sizeof host);
  formatNumber = 0;
  mainRelease = 0;
  projectNumber = 0;
  creationTime = 0;
  countryNumber = 0;
  projectGuid = GUID{};
  owner = 0;
  memberSet.clear();
  shareKind = 0;
  additionalAdmins.clear();
  compressed = false;
  link = false;
  shownName.clear();
  cloud_ = OndrathPrj();
}

const wchar_t* PRJ::GetDirectoryName() const {
  return directoryName;
}

const wchar_t* PRJ::GetProjectName() const {
  if (IsOndrathProject() && !cloud_.projectName().empty()) return cloud_.projectName().c_str();
  return shownName.empty() ? directoryName : shownName.c_str();
}

std::wstring PRJ::GetProjectDisplayName() const {
  return GetProjectName();
}

std::wstring PRJ::GetFullProjectPath(bool resolved) const {
  if (!resolved) return workstation::projectDirectory(textOf(host), textOf(directoryName));
  std::wstring path;
  return make_prj_dir(*this, path) == 0 ? path : std::wstring();
}

bool PRJ::IsOndrathProject() const {
  return ZSYST_IsOndrathServer(textOf(host)) && !cloud_.projectUuid().empty();
}

bool PRJ::IsOnlineProject() const {
  return ZSYST_IsInetServer(textOf(host));
}

bool PRJ::IsRemoteOnlineProject() const {
  return projectNumber == kRemoteOnlineProjectNumber;
}

bool PRJ::IsCompressedProject() const {
  return compressed;
}

bool PRJ::IsProjectLink() const {
  return link;
}

std::wstring PRJ::GetOndrathProjectUuid() const {
  return cloud_.projectUuid();
}

GUID PRJ::GetOndrathProjectGuid() const {
  GUID guid{};
  ZP_GUIDValueProvider::scanGUID(cloud_.projectUuid(), guid);
  return guid;
}

std::wstring PRJ::GetOndrathProjectName() const {
  return cloud_.projectName();
}

std::wstring PRJ::GetOndrathTeamUuid() const {
  return cloud_.teamUuid();
}

std::wstring PRJ::GetOndrathTeamName() const {
  return cloud_.teamName();
}

void PRJ::SetOndrathProject(const OndrathPrj& newLink) {
  cloud_ = newLink;
}

bool PRJ::isMember(unsigned bit) const {
  const std::size_t word = bit / kBitsPerContainer;
  return word < memberSet.size() && ((memberSet[word] >> (bit % kBitsPerContainer)) & 1U) != 0;
}

void PRJ::setMember(unsigned bit) {
  if (memberSet.empty()) memberSet.resize(static_cast<std::size_t>(lzuGetCountOfUserContainers()));
  const std::size_t word = bit / kBitsPerContainer;
  if (word < memberSet.size()) memberSet[word] |= 1U << (bit % kBitsPerContainer);
}
