// A class of a project's object files brought from the server, and the whole project into a directory.
#include <algorithm>

#include "cloud/CloudCall.h"
#include "core/ObjectNames.h"
#include "diagnostics/ErrorTexts.h"
#include "host/FileTypes.h"
#include "host/NetManager.h"
#include "host/ObjectFiles.h"
#include "host/UserMessages.h"
#include "platform/Files.h"
#include "platform/Paths.h"
#include "platform/Text.h"
#include "platform/UserInterface.h"
#include "services/ProjectPlace.h"
#include "services/StructureFiles.h"
#include "zephor/ProjectCache.h"
#include "zephor/ProjectListing.h"

namespace Quorvel::FileAccess {
namespace {

constexpr const wchar_t* kSyncPrjData = L"Quorvel::FileAccess::WGO_syncPrjData";
constexpr int kProgressText = 1500548;
constexpr std::uint32_t kAllSteps = 0xFFFFFFFF;

/// What WGO_syncPrjData brings: `mode` of its callers.
enum DataMode : int {
  kServerWins = 0,
  kAssigned = 1,  ///< what the structure files name and is missing here
  kMissing = 2,   ///< all that is missing here
};

/// Numbers in ascending order.
struct ClassNumbers {
  std::vector<int> onServer;
  std::vector<int> onDisk;
  std::vector<int> assigned;
};

/// A directory that does not exist when the scope begins and when it ends. It belongs to one process at a time: another
/// one that empties it would pull the files away from under the copying.
class TransferDirectory {
 public:
  explicit TransferDirectory(std::wstring path) : path_(std::move(path)) {
    SHCreateDirectoryExW(nullptr, platform::directoryOf(path_).c_str(), nullptr);
    lock_ = CreateFileW((path_ + L".lock").c_str(), GENERIC_WRITE, 0, nullptr, OPEN_ALWAYS, 0, nullptr);
    if (isOurs()) NetManager::removeDirectory(path_);
  }
  ~TransferDirectory() {
    if (!isOurs()) return;
    NetManager::removeDirectory(path_);
    // The mark stays: deleted by its name it could be another process's, which has just taken it.
    CloseHandle(lock_);
  }
  TransferDirectory(const TransferDirectory&) = delete;
  TransferDirectory& operator=(const TransferDirectory&) = delete;

  bool isOurs() const { return lock_ != INVALID_HANDLE_VALUE; }
  const std::wstring& path() const { return path_; }

 private:
  std::wstring path_;
  HANDLE lock_ = INVALID_HANDLE_VALUE;
};

void showError(const wchar_t* format, const std::wstring& subject, DWORD error) {
  MessageBoxW(nullptr, platform::formatWide(format, subject, ConnectionLogger::errorText(error)).c_str(), L"Quorvel",
              MB_ICONHAND | MB_TASKMODAL | MB_SETFOREGROUND);
}

/// One bulk call for all files of a kind.
bool downloadKind(const wchar_t* function, const PRJ& prj, const std::wstring& directory, int kind,
                  const std::wstring& text) {
  const CloudCall call(function, prj);
  const CloudTransferOptions options = call.options(text, kAllSteps);
  SetLastError(ERROR_SUCCESS);
  const CloudStatus status = call.run([&](ICloudProjectService& service, const std::wstring& project) {
    return service.DownloadQuorvelProjectFiles(project, directory, kind, options);
  });
  if (status == 0) return true;
  // A service that leaves no error must not be shown as one that succeeded.
  const DWORD error = GetLastError() != ERROR_SUCCESS ? GetLastError() : statusCode(status);
  lfperrC(L"%s: downloading to \"%s\" failed with 0x%08lx\n", function, directory, statusCode(status));
  showError(L"Error downloading files: %s\n\n%s", prj.GetOndrathProjectName(), error);
  return false;
}

bool downloadTBPLFiles(const PRJ& prj, const std::wstring& directory, int type) {
  if (!NetManager::removeDirectory(directory)) return false;
  const std::wstring text = CQuoString().GetQuorvotParText(kProgressText, nullptr, 0, 256).text();
  if (type != eFileType_Teilbild && type != eFileType_Plan) return false;
  const int kind = type == eFileType_Teilbild ? kCloudKindTeilbild : kCloudKindPlan;
  return downloadKind(L"Quorvel::FileAccess::downloadTBPLFiles", prj, directory, kind, text);
}

/// A structure file that is not there assigns nothing.
bool readNumbers(PRJ& prj, int type, ClassNumbers& numbers) {
  if (type == eFileType_Teilbild) {
    if (!WGO_getTBNrInfoFromProject(prj, numbers.onServer, numbers.onDisk)) return false;
    getAssignedFilesFromStructureXML(prj, numbers.assigned, kBuildingStructure);
    getAssignedFilesFromStructureXML(prj, numbers.assigned, kBuildingViews);
  } else if (type == eFileType_Plan) {
    if (!WGO_getPLNrInfoFromProject(prj, numbers.onServer, numbers.onDisk)) return false;
    getAssignedFilesFromStructureXML(prj, numbers.assigned, kLayoutStructure);
  }
  std::sort(numbers.assigned.begin(), numbers.assigned.end());
  return true;
}

/// Names of the objects that are not on the disk, each once. Structure files are text: what is no number of an object
/// would be missing for ever.
std::vector<std::wstring> missingOf(std::vector<int> wanted, const std::vector<int>& onDisk, ObjectType type) {
  wanted.erase(std::unique(wanted.begin(), wanted.end()), wanted.end());
  std::vector<std::wstring> names;
  for (const int number : wanted) {
    if (number <= 0 || std::binary_search(onDisk.begin(), onDisk.end(), number)) continue;
    names.push_back(objectFileName(type, number));
  }
  return names;
}

/// Where a bulk download put its files: into a subfolder of the directory, the last that is there, or, where the
/// service makes none, into the directory itself.
std::wstring sourceFolder(const std::wstring& directory) {
  std::wstring folder = directory;
  WIN32_FIND_DATAW entry{};
  const HANDLE find = FindFirstFileW(platform::joinPath(directory, L"*").c_str(), &entry);
  if (find == INVALID_HANDLE_VALUE) return folder;
  do {
    const std::wstring name = entry.cFileName;
    const bool isDirectory = (entry.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
    if (isDirectory && platform::isSafeRelativeName(name)) folder = platform::joinPath(directory, name);
  } while (FindNextFileW(find, &entry) != FALSE);
  FindClose(find);
  return folder;
}

class OpenForReading {
 public:
  explicit OpenForReading(const std::wstring& path)
      : file_(CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_EXISTING, 0,
                          nullptr)) {}
  ~OpenForReading() {
    if (file_ != INVALID_HANDLE_VALUE) CloseHandle(file_);
  }
  OpenForReading(const OpenForReading&) = delete;
  OpenForReading& operator=(const OpenForReading&) = delete;

  /// Cuts `block` to what came: nothing at the end.
  bool read(std::vector<char>& block) const {
    DWORD count = 0;
    const bool came = file_ != INVALID_HANDLE_VALUE &&
                      ReadFile(file_, block.data(), static_cast<DWORD>(block.size()), &count, nullptr) != FALSE;
    block.resize(count);
    return came;
  }

 private:
  HANDLE file_;
};

/// False also when one of them can't be read.
bool haveSameContent(const std::wstring& one, const std::wstring& other) {
  constexpr std::size_t kBlock = 1U << 18U;
  if (platform::fileStatus(one).size != platform::fileStatus(other).size) return false;
  const OpenForReading first(one);
  const OpenForReading second(other);
  std::vector<char> a;
  std::vector<char> b;
  do {
    a.resize(kBlock);
    b.resize(kBlock);
    if (!first.read(a) || !second.read(b) || a != b) return false;
  } while (!a.empty());
  return true;
}

/// The server wins, and a file here is about to go. Whether it holds work that was never sent nobody knows for sure,
/// least of all the list of failed uploads: what is not the server's file is kept in the backups.
/// @return false when it can't be, and therefore stays
bool keepReplaced(const std::wstring& path, const std::wstring& incoming, int type) {
  if (haveSameContent(path, incoming)) return true;
  const bool isKept = autoBackup::createBackup(path, static_cast<QuorvelFileType>(type));
  lfperrC(isKept ? L"%s: \"%s\" gives way to the server's, kept in the backups\n"
                 : L"%s: \"%s\" stays, since no backup of it could be made\n",
          kSyncPrjData, path);
  return isKept;
}

/// Each file appears whole under its name, or what was there stays. Only where the server wins may something be there,
/// and it was looked at: what comes to the disk meanwhile is the user's.
void copyFiles(const std::wstring& source, const std::wstring& target, const std::vector<std::wstring>& names, int type,
               int mode) {
  for (const std::wstring& name : names) {
    const std::wstring path = platform::formatWide(L"%s\\%s", target, name);
    const std::wstring incoming = platform::formatWide(L"%s\\%s", source, name);
    const bool replaces = mode == kServerWins && platform::fileStatus(path).exists;
    if (replaces && !keepReplaced(path, incoming, type)) continue;
    if (CopyFileW(incoming.c_str(), path.c_str(), replaces ? FALSE : TRUE) != FALSE) continue;
    const DWORD error = GetLastError();
    // A structure file may name what the server does not have; a file that is open is the user's.
    if (mode == kAssigned || error == ERROR_SHARING_VIOLATION || error == ERROR_FILE_EXISTS) continue;
    showError(L"Error copying file: %s\n\n%s", path, error);
  }
}

}  // namespace

bool WGO_syncPrjData(PRJ& prj, int type, int mode) {
  if (!prj.IsOndrathProject()) return true;
  ClassNumbers numbers;
  if (!readNumbers(prj, type, numbers)) return false;
  const bool isTeilbild = type == eFileType_Teilbild;
  const ObjectType object = isTeilbild ? eObject_Teilbild : eObject_Plan;
  std::vector<std::wstring> names;
  if (mode == kAssigned) names = missingOf(numbers.assigned, numbers.onDisk, object);
  if (mode == kMissing) names = missingOf(numbers.onServer, numbers.onDisk, object);
  if (mode != kServerWins && names.empty()) return true;

  const std::wstring target = projectPlace(prj);
  const std::wstring place = transferPlace(prj);
  if (target.empty() || place.empty()) {
    lfperrC(L"%s: no directory for \"%s\"\n", kSyncPrjData, prj.GetOndrathProjectUuid());
    return false;
  }
  const TransferDirectory directory(place);
  if (!directory.isOurs()) {
    lfperrC(L"%s: \"%s\" is in use (error %u)\n", kSyncPrjData, place, GetLastError());
    return false;
  }
  if (!downloadTBPLFiles(prj, directory.path(), type)) return false;
  const std::wstring source = sourceFolder(directory.path());
  if (mode == kServerWins) names = NetManager::getFilesList(source, isTeilbild ? L".zdw" : L".zpl");
  copyFiles(source, target, names, type, mode);
  return true;
}

bool WGO_fullDownloadProjectData(PRJ& prj, const std::wstring& targetDirectory) {
  if (!prj.IsOndrathProject()) return false;
  return downloadKind(L"Quorvel::FileAccess::WGO_fullDownloadProjectData", prj, targetDirectory, kCloudKindWholeProject,
                      L"Updating project cache...");
}

}  // namespace Quorvel::FileAccess
