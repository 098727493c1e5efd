// A project into an archive.
#include <atomic>

#include "archives/ArchiveMessages.h"
#include "archives/FreshDirectory.h"
#include "archives/ProjectEntry.h"
#include "archives/ProjectName.h"
#include "archives/ZipProgress.h"
#include "host/Guid.h"
#include "host/NetManager.h"
#include "host/Project.h"
#include "host/UserMessages.h"
#include "host/Users.h"
#include "platform/Files.h"
#include "platform/Paths.h"
#include "platform/Text.h"
#include "zephor/FileServices.h"
#include "zephor/ProjectArchives.h"

namespace Quorvel::FileAccess {
namespace {

constexpr const wchar_t* kOperation = L"Quorvel::FileAccess::WGO_zipProjectFolder";
constexpr const wchar_t* kPackedEnding = L".qpn";
constexpr const wchar_t* kShared = L"-shm";
constexpr const wchar_t* kLocks = L"Lck";
constexpr const wchar_t* kThisMachine = L"localhost";
constexpr int kCheckingFilesTextId = 2500481;

std::atomic<bool>& ignoreExisting() {
  static std::atomic<bool> value{false};
  return value;
}

bool isPackedProject(const std::wstring& zipPath) {
  return platform::endsWithIgnoreCase(zipPath, kPackedEnding);
}

/// What the archive will call the project.
std::wstring nameFrom(const std::wstring& zipPath) {
  const std::wstring file = platform::fileNameOf(zipPath);
  return file.substr(0, file.size() - std::wstring_view(kPackedEnding).size());
}

/// Turns a project's information into that of a fresh copy, which belongs to this machine and its user.
void makeFreshCopy(NetManager::projectInfo& info, const std::wstring& name) {
  info.modifyUUID(Cad::Service::ZP_GUIDValueProvider::printGUID(GetGUID()));
  info.modifyName(name);
  info.modifyWorkgroupManager(false);
  info.modifyWorkgroupID(0);
  info.modifyHost(kThisMachine);
  info.modifyAccess(0);
  QuorvelUser user;
  if (lz_GetCurrentUserInfo(user) == 0) info.modifyOwner(user.number);
}

/// Names that stay out of the archive, at any depth.
CkStringArrayW exclusions(const std::wstring& folder, bool isPacked) {
  CkStringArrayW names;
  names.Append(kProjectInformation);
  // What the processes share that have a database open; it is worth nothing without them.
  for (const std::wstring& name : NetManager::getFilesList(folder, kShared)) {
    const std::wstring path = platform::joinPath(folder, name);
    const std::wstring database = path.substr(0, path.size() - std::wstring_view(kShared).size());
    if (platform::fileStatus(database).exists) names.Append(name.c_str());
  }
  // A project that lives in one file keeps that file in its folder while it is closed for the moment.
  if (!isPacked || !isSingleFileProjectTempClosed()) return names;
  for (const std::wstring& name : NetManager::getFilesList(folder, kPackedEnding)) names.Append(name.c_str());
  return names;
}

bool addInformation(CkZipW& zip, const std::wstring& folder, const std::wstring& name, const std::wstring& file) {
  std::wstring error;
  NetManager::projectInfo info;
  if (!NetManager::readProject1DatXml(platform::joinPath(folder, kProjectInformation), info, &error)) {
    return failWithMessage(kOperation, error);
  }
  makeFreshCopy(info, name);
  if (!NetManager::writeProject1DatXml(file, info, &error)) return failWithMessage(kOperation, error);
  return zip.AppendOneFileOrDir(file.c_str(), false) || failWithMessage(kOperation, zip.lastErrorText());
}

bool write(CkZipW& zip, const std::wstring& zipPath) {
  logLinks(kOperation, zip);
  const ScopedZipProgress progress(zip, kPackingTextId, zipPath);
  return zip.WriteZipAndClose();
}

}  // namespace

bool WGO_zipProjectFolder(const wchar_t* folder, const wchar_t* zipPath, bool /*flag*/, const wchar_t* /*text*/) {
  const ScopedAniCursor cursor(true);
  if (folder == nullptr || *folder == L'\0' || zipPath == nullptr || *zipPath == L'\0') return false;
  const std::wstring path = zipPath;
  const bool isPacked = isPackedProject(path);
  // An archive under a name that no project directory can have could not be unpacked again.
  if (isPacked && !isProjectName(nameFrom(path))) return failWithMessage(kOperation, path, ERROR_INVALID_NAME);
  if (!ignoreExisting() && platform::fileStatus(path).exists && !askToReplace(path)) return false;

  CkZipW zip;
  if (!zip.NewZip(zipPath)) return failWithMessage(kOperation, zip.lastErrorText());
  const CScopedDisplayInfo display(languageText(kCheckingFilesTextId));
  zip.AddExcludedDirectory(kLocks);
  zip.SetExclusions(exclusions(folder, isPacked));
  const std::wstring pattern = platform::joinPath(folder, L"*");
  if (!zip.AppendFiles(pattern.c_str(), true)) return failWithMessage(kOperation, zip.lastErrorText());

  // Until the archive is written, which reads the new information.
  const FreshDirectory scratch(temporaryDirectory(), L"zephor");
  if (scratch.error() != ERROR_SUCCESS) return failWithMessage(kOperation, scratch.path(), scratch.error());
  const std::wstring information = platform::joinPath(scratch.path(), kProjectInformation);
  if (isPacked && !addInformation(zip, folder, nameFrom(path), information)) return false;
  return write(zip, path) || failWithMessage(kOperation, zip.lastErrorText());
}

void zipProjectFolderIgnoreExisting(bool ignore) {
  ignoreExisting() = ignore;
}

ScopedIgnoreExisting::ScopedIgnoreExisting() {
  zipProjectFolderIgnoreExisting(true);
}

ScopedIgnoreExisting::~ScopedIgnoreExisting() {
  zipProjectFolderIgnoreExisting(false);
}

}  // namespace Quorvel::FileAccess
