// Folders and single files into an archive.
#include <algorithm>
#include <unordered_set>

#include "archives/ArchiveMessages.h"
#include "archives/ZipProgress.h"
#include "host/UserMessages.h"
#include "platform/Files.h"
#include "platform/Paths.h"
#include "platform/Text.h"
#include "platform/UserInterface.h"
#include "zephor/ProjectArchives.h"

namespace Quorvel::FileAccess {
namespace {

constexpr const wchar_t* kZipFolder = L"Quorvel::FileAccess::WGO_zipFolder";
constexpr const wchar_t* kZipFiles = L"Quorvel::FileAccess::WGO_zipFiles";
constexpr const wchar_t* kFilter = L"ZIP (*.zip)";
constexpr const wchar_t* kExtension = L".zip";
constexpr int kSameNameTextId = 2500486;

bool write(CkZipW& zip, const std::wstring& path) {
  logLinks(kZipFolder, zip);
  const ScopedZipProgress progress(zip, kPackingTextId, path);
  return zip.WriteZipAndClose();
}

/// The first file whose bare name another one before it has; they would be one entry. Empty when there is none.
std::wstring sameNameIn(const std::vector<std::wstring>& files) {
  std::unordered_set<std::wstring> names;
  const auto isTaken = [&names](const std::wstring& file) {
    return !names.insert(platform::toLower(platform::fileNameOf(file))).second;
  };
  const auto found = std::find_if(files.begin(), files.end(), isTaken);
  return found == files.end() ? std::wstring() : *found;
}

std::wstring askForArchive() {
  if (Msg2usr_IsDeny()) return {};
  std::wstring path = platform::userInterface().askFileName({Msg2usr_GetWnd(), kFilter});
  if (!path.empty() && platform::fileNameOf(path).find(L'.') == std::wstring::npos) path += kExtension;
  return path;
}

}  // namespace

bool WGO_zipFolder(const wchar_t* folder, const wchar_t* zipPath, const std::vector<std::wstring>& excludedDirectories,
                   bool recursive) {
  if (folder == nullptr || *folder == L'\0' || zipPath == nullptr) return false;
  CkZipW zip;
  if (!zip.NewZip(zipPath)) return failWithMessage(kZipFolder, zip.lastErrorText());
  for (const std::wstring& directory : excludedDirectories) zip.AddExcludedDirectory(directory.c_str());
  const std::wstring pattern = platform::joinPath(folder, L"*");
  const bool isDone = zip.AppendFiles(pattern.c_str(), recursive) && write(zip, zipPath);
  return isDone || failWithMessage(kZipFolder, zip.lastErrorText());
}

void WGO_zipFiles(const std::vector<std::wstring>& files) {
  const std::wstring path = askForArchive();
  if (path.empty()) return;
  if (platform::fileStatus(path).exists && !askToReplace(path)) return;
  if (const std::wstring file = sameNameIn(files); !file.empty()) {
    failWithMessage(kZipFiles, platform::formatWide(L"%s\n\n%s", file, languageText(kSameNameTextId)));
    return;
  }
  CkZipW zip;
  const auto append = [&zip](const std::wstring& file) { return zip.AppendOneFileOrDir(file.c_str(), false); };
  const bool isDone = zip.NewZip(path.c_str()) && std::all_of(files.begin(), files.end(), append) && write(zip, path);
  if (!isDone) failWithMessage(kZipFiles, zip.lastErrorText());
}

}  // namespace Quorvel::FileAccess
