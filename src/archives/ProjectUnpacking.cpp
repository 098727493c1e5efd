// An archive into a project's directory.
#include "archives/ArchiveMessages.h"
#include "archives/FreshDirectory.h"
#include "archives/ProjectEntry.h"
#include "archives/ProjectName.h"
#include "archives/ReplacedProject.h"
#include "archives/ZipProgress.h"
#include "host/Files.h"
#include "host/NetManager.h"
#include "host/System.h"
#include "host/Users.h"
#include "platform/Durable.h"
#include "platform/Files.h"
#include "platform/Paths.h"
#include "platform/Text.h"
#include "zephor/ProjectArchives.h"

namespace Quorvel::FileAccess {
namespace {

constexpr const wchar_t* kOperation = L"Quorvel::FileAccess::WGO_unzipProjectFolderToPath";
constexpr const wchar_t* kInvalid = L"Invalid project zipfile!";
constexpr const wchar_t* kThisMachine = L"localhost";
constexpr int kForeignOwnerTextId = 2500485;

/// The name that the user sees if a directory can have it, otherwise that of the directory which was packed. Empty when
/// neither is one: what an archive says must not lead anywhere.
std::wstring nameOf(const PRJ& info) {
  for (const wchar_t* name : {info.GetProjectName(), info.GetDirectoryName()}) {
    if (isProjectName(name)) return name;
  }
  return {};
}

void tellForeignOwner(const PRJ& info, const std::wstring& zipPath) {
  const int owner = NetManager::getProjectLinkOwner(info);
  QuorvelUser user;
  if (owner == 0 || (lz_GetCurrentUserInfo(user) == 0 && user.number == owner)) return;
  showMessage(platform::formatWide(L"%s\n\n%s\n\n%s", zipPath, languageText(kForeignOwnerTextId),
                                   lz_GetUserNameFromUserId(owner)));
}

/// Makes the project one of this machine.
bool fixInformation(const std::wstring& directory, std::wstring entry) {
  for (wchar_t& c : entry) {
    if (c == L'/') c = L'\\';
  }
  const std::wstring file = platform::joinPath(directory, entry);
  NetManager::projectInfo info;
  std::wstring error;
  if (!NetManager::readProject1DatXml(file, info, &error)) return failWithMessage(kOperation, error);
  info.modifyHost(kThisMachine);
  return NetManager::writeProject1DatXml(file, info, &error) || failWithMessage(kOperation, error);
}

/// Extracts everything below a directory, with the project's information made this machine's.
bool unpack(const std::wstring& zipPath, const std::wstring& directory) {
  CkZipW zip;
  if (!zip.OpenZip(zipPath.c_str())) return failWithMessage(kOperation, zip.lastErrorText());
  const std::wstring information = projectInformationEntry(zip);
  bool isExtracted = false;
  {
    const ScopedZipProgress progress(zip, kUnpackingTextId, zipPath);
    isExtracted = zip.Extract(directory.c_str());
  }
  if (!isExtracted) failWithMessage(kOperation, zip.lastErrorText());
  zip.CloseZip();
  return isExtracted && fixInformation(directory, information);
}

/// Puts the unpacked project into its place; what was there leaves it and comes back when that fails.
bool takePlace(FreshDirectory& fresh, const std::wstring& directory, bool mayReplace) {
  // Slow, and so before the old one leaves.
  if (const DWORD error = platform::makeDurable(fresh.path())) return failWithMessage(kOperation, fresh.path(), error);
  ReplacedProject replaced(directory);
  const bool isThere = mayReplace && platform::fileStatus(directory).exists;
  if (isThere && !replaced.setAside()) return failWithMessage(kOperation, replaced.failure());
  const DWORD error = fresh.takePlace(directory);
  if (error == ERROR_SUCCESS) return true;
  if (isThere) replaced.bringBack();
  return failWithMessage(kOperation, directory, error);
}

}  // namespace

bool WGO_unzipProjectFolderToPath(const std::wstring& zipPath, const std::wstring& target, std::wstring& projectName) {
  std::wstring xml;
  PRJ info;
  const bool isRead = WGO_getProjectDatXmlFromZipFile(zipPath.c_str(), xml, &info);
  const std::wstring name = isRead ? nameOf(info) : std::wstring();
  if (name.empty()) return failWithMessage(kOperation, platform::formatWide(L"%s\n\n%s", zipPath, kInvalid));
  std::wstring root = target;
  lfslash_cat(root);
  const std::wstring directory = platform::formatWide(L"%s%s.prj", root, name);
  const bool mayReplace = platform::fileStatus(directory).exists;
  if (mayReplace && !askToReplace(directory)) return false;
  tellForeignOwner(info, zipPath);

  FreshDirectory fresh(directory);
  if (fresh.error() != ERROR_SUCCESS) return failWithMessage(kOperation, fresh.path(), fresh.error());
  if (!unpack(zipPath, fresh.path()) || !takePlace(fresh, directory, mayReplace)) return false;
  projectName = name;
  return true;
}

bool WGO_unzipProjectFolder(const wchar_t* zipPath, const wchar_t* target, std::wstring& projectName) {
  if (zipPath == nullptr) return false;
  const bool isChosen = target != nullptr && *target != L'\0';
  const std::wstring root = isChosen ? target : globalHostsManager::instance().getHostPath(kThisMachine);
  return WGO_unzipProjectFolderToPath(zipPath, root, projectName);
}

}  // namespace Quorvel::FileAccess
