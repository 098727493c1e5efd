#include "ftp/SyncSteps.h"

#include <set>
#include <string_view>

#include "diagnostics/Progress.h"
#include "ftp/LocalDirectories.h"
#include "ftp/SyncDecision.h"
#include "zephor/FileFilter.h"

namespace Quorvel::FileAccess {
namespace {

/// Takes out what a broken off transfer of a file has left beside it.
void dropLeftOvers(std::vector<RemoteFileEntry>& files) {
  std::set<std::wstring> names;
  for (const RemoteFileEntry& file : files) names.insert(file.name);
  std::erase_if(files, [&](const RemoteFileEntry& file) {
    for (const std::wstring_view ending : {L".part", L".upload"}) {
      if (!file.name.ends_with(ending)) continue;
      if (names.contains(file.name.substr(0, file.name.size() - ending.size()))) return true;
    }
    return false;
  });
}

}  // namespace

int localNumberOf(const int* pathNr) {
  constexpr int kDistance = eServerDataPath - eLocalDataPath;
  if (pathNr == nullptr) return eNoPath;
  return *pathNr >= eServerDataPath && *pathNr <= eServerAdminPath ? *pathNr - kDistance : *pathNr;
}

bool isExcluded(const WGO_FileFilter* filter, const std::wstring& name) {
  return filter != nullptr && filter->IsFileExcluded(name.c_str());
}

bool isDirectoryExcluded(const WGO_FileFilter* filter, const std::wstring& name) {
  return filter != nullptr && filter->IsDirectoryExcluded(name.c_str());
}

void dropExcludedDirectories(const WGO_FileFilter* filter, std::vector<RemoteFileEntry>& directories) {
  std::erase_if(directories, [&](const RemoteFileEntry& entry) { return isDirectoryExcluded(filter, entry.name); });
}

InetFileInfo infoOf(const RemoteFileEntry& entry) {
  return {entry.name, 0, entry.size};
}

DWORD newerFilesIn(const std::wstring& directory, const WGO_FileFilter* filter,
                   const std::vector<RemoteFileEntry>& onServer, std::vector<InetFileInfo>& files) {
  std::vector<RemoteFileEntry> local;
  const DWORD error = listLocalFiles(directory, local);
  dropLeftOvers(local);
  std::erase_if(local, [&](const RemoteFileEntry& entry) { return isExcluded(filter, entry.name); });
  for (const RemoteFileEntry& entry : filesToSend(std::move(local), onServer)) files.push_back(infoOf(entry));
  return error;
}

std::wstring synchronizingText(const std::wstring& directory) {
  return L"Synchronizing: \"" + directory + L"\"";
}

std::shared_ptr<IProgress> demandProgress(int wanted, const std::wstring& text) {
  if (wanted == 0) return nullptr;
  auto progress = ConnectionLogger::CreateProgress(text);
  if (progress != nullptr) progress->setText(text);
  return progress;
}

DWORD lastErrorOr(DWORD other) {
  const DWORD error = GetLastError();
  return error != 0 ? error : other;
}

}  // namespace Quorvel::FileAccess
