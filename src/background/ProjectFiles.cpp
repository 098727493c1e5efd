// Project files by their paths: what is in step by the server's dates is not moved. All through the access object.
#include <algorithm>
#include <array>
#include <atomic>
#include <exception>
#include <future>
#include <map>
#include <system_error>
#include <thread>

#include "background/ProjectFilesCache.h"
#include "cloud/CloudPaths.h"
#include "core/AccessObject.h"
#include "host/FileTypes.h"
#include "host/Project.h"
#include "host/Trace.h"
#include "platform/Files.h"
#include "platform/Paths.h"
#include "platform/Text.h"
#include "platform/Time.h"
#include "zephor/FileLists.h"

namespace Quorvel::FileAccess {
namespace {

constexpr const wchar_t* kDelete = L"Quorvel::FileAccess::WGO_deleteProjectFiles";
constexpr const wchar_t* kDownload = L"WGO Download (WGO_DownloadProjectFiles): ";
/// The server works on so many deletions of a set at once.
constexpr std::size_t kMostDeletions = 8;

using FilesByKey = std::map<std::wstring, std::wstring>;  ///< to the path that the caller gave
using RecordsByKey = std::map<std::wstring, CResourceInfo>;

void trace(const wchar_t* text) {
  constexpr int kModule = 2;
  NTR_traceModul(kModule, 1, std::wstring(kDownload) + text);
}

IWGOAccess* accessServing(const PRJ& prj) {
  IWGOAccess* const access = currentWGOAccess();
  return access != nullptr && access->IsProjectWithDownload(prj) ? access : nullptr;
}

/// Empty for a path that lies elsewhere.
std::wstring keyIn(const PRJ& prj, const std::wstring& directory, const std::wstring& path) {
  std::wstring base;
  std::wstring relative;
  if (splitAtProjectDirectory(prj.GetOndrathProjectUuid(), path, base, relative)) return keyOfProjectFile(relative);
  const std::wstring plain = withBackslashes(path);
  const bool isBelow = !directory.empty() && platform::startsWithIgnoreCase(plain, directory + L'\\');
  return isBelow ? keyOfProjectFile(plain.substr(directory.size())) : std::wstring();
}

FilesByKey byKey(const PRJ& prj, const std::set<std::wstring>& files) {
  const std::wstring directory = prj.GetFullProjectPath(true);
  FilesByKey keys;
  for (const std::wstring& file : files) {
    const std::wstring key = keyIn(prj, directory, file);
    if (!key.empty()) keys.emplace(key, file);
  }
  return keys;
}

/// Adds the classes in which the server may list a name.
void addClasses(const std::wstring& key, std::set<int>& classes) {
  if (key.starts_with(L"bim\\")) {
    classes.insert(eShareFile_Bim);
    return;
  }
  QuorvelFileType type = eFileType_Unknown;
  int number = -1;
  const bool isKnown = GetTypeFromFilePathName(key, type, number);
  const bool isInRoot = key.find(L'\\') == std::wstring::npos;
  if (isKnown && isInRoot && type == eFileType_Teilbild) {
    classes.insert(eShareFile_Teilbild);
  } else if (isKnown && isInRoot && type == eFileType_Plan) {
    classes.insert(eShareFile_Plan);
  } else {
    classes.insert(eShareFile_Ordinary);
    if (isKnown) classes.insert(eShareFile_Resource);
  }
}

RecordsByKey recordsOf(const PRJ& prj, const FilesByKey& files) {
  RecordsByKey records;
  IWGOAccess* const access = currentWGOAccess();
  if (access == nullptr) return records;
  std::set<int> classes;
  for (const auto& [key, path] : files) addClasses(key, classes);
  for (const int type : classes) {
    std::vector<CResourceInfo> listed;
    access->getOndrathResourceFiles(prj, listed, type);
    for (CResourceInfo& record : listed) {
      const std::wstring key = keyOfProjectFile(record.name);
      if (files.contains(key)) records.emplace(key, std::move(record));
    }
  }
  return records;
}

bool isHere(const std::wstring& path) {
  const platform::FileStatus status = platform::fileStatus(path);
  return status.exists && !status.isDirectory;
}

/// Whether the server's record tells of the file here, which was just sent, to the second that a date has. Another one
/// is of somebody who sent it since, or of a file that was passed over: noted as in step, it would never come here. A
/// server that gives times of its own so costs a look at the content.
bool isOfFileHere(const CResourceInfo& record, const std::wstring& path) {
  constexpr std::uint64_t kTicksPerSecond = 10'000'000;
  const platform::FileStatus status = platform::fileStatus(path);
  return status.exists && platform::toTicks(record.modifiedTime) / kTicksPerSecond ==
                              platform::toTicks(status.writeTime) / kTicksPerSecond;
}

/// Notes what went, and forgets what the server no longer has.
void noteOnServer(const PRJ& prj, const FilesByKey& files, const std::set<std::wstring>& sent) {
  const RecordsByKey records = recordsOf(prj, files);
  ProjectFilesCache::edit(prj.GetFullProjectPath(true), [&](ProjectFilesCache& cache) {
    for (const auto& [key, path] : files) {
      const auto record = records.find(key);
      if (record == records.end()) {
        cache.forget(key);
      } else if (sent.contains(path)) {
        isOfFileHere(record->second, path) ? cache.put(key, record->second) : cache.forget(key);
      }
    }
  });
}

std::wstring parentOf(const std::wstring& path) {
  const std::size_t separator = path.find_last_of(L"\\/");
  return path.substr(0, separator == std::wstring::npos ? 0 : separator);
}

/// Sends directory by directory, as the set has them in order. @return what went
std::set<std::wstring> uploadGroups(IWGOAccess& access, const std::set<std::wstring>& files) {
  std::set<std::wstring> sent;
  for (auto begin = files.begin(); begin != files.end();) {
    const std::wstring directory = parentOf(*begin);
    const auto end = std::find_if(begin, files.end(), [&](const auto& file) { return parentOf(file) != directory; });
    std::set<std::wstring> group(begin, end);
    if (access.UploadChangedFiles(directory, group) == ERROR_SUCCESS) sent.merge(group);
    begin = end;
  }
  return sent;
}

/// A status of which any bit tells a failure, as a code of 32.
std::uint32_t codeOf(long long status) {
  const auto code = static_cast<std::uint32_t>(status);
  return status != 0 && code == 0 ? std::uint32_t{ERROR_GEN_FAILURE} : code;
}

std::uint32_t resultOf(std::future<std::uint32_t>& task) {
  try {
    return task.get();
  } catch (const std::exception& exception) {
    lfperrC(L"%s: %s\n", kDelete, platform::fromUtf8(exception.what()));
  } catch (...) {
    lfperrC(L"%s: unknown exception\n", kDelete);
  }
  return ERROR_GEN_FAILURE;
}

/// Runs tasks in their order, a few at a time. The calling thread takes its part when no other can be had.
void runTasks(std::vector<std::packaged_task<std::uint32_t()>>& tasks) {
  std::atomic<std::size_t> next = 0;
  const auto work = [&] {
    for (std::size_t index = next++; index < tasks.size(); index = next++) tasks[index]();
  };
  std::array<std::jthread, kMostDeletions> workers;  // joined at the end
  std::size_t started = 0;
  try {
    for (; started < std::min(workers.size(), tasks.size()); ++started) workers[started] = std::jthread(work);
  } catch (const std::system_error&) {
    if (started == 0) work();
  }
}

}  // namespace

void WGO_getOndrathProjectFiles(const PRJ& prj, const std::set<std::wstring>& files, std::vector<CResourceInfo>& out) {
  out.clear();
  for (auto& [key, record] : recordsOf(prj, byKey(prj, files))) out.push_back(record);
}

WGOResult WGO_DownloadProjectFiles(const PRJ& prj, const std::set<std::wstring>& files, bool progressBar) {
  IWGOAccess* const access = accessServing(prj);
  if (access == nullptr) return eWGOResult_NotServed;
  if (files.empty()) return eWGOResult_NoFiles;
  const FilesByKey keys = byKey(prj, files);
  // What it tells is noted, not what the server has afterwards: that somebody may have sent behind the download.
  const RecordsByKey records = recordsOf(prj, keys);
  if (records.empty()) return eWGOResult_NotOnServer;
  const std::wstring directory = prj.GetFullProjectPath(true);
  const ProjectFilesCache known = ProjectFilesCache::read(directory);
  std::set<std::wstring> wanted;
  for (const auto& [key, record] : records) {
    const std::wstring& path = keys.at(key);
    if (!isHere(path) || !known.has(key, record)) wanted.insert(path);
  }
  if (wanted.empty()) {
    trace(L"Files are already up to date, no download was executed.\n");
    return eWGOResult_UpToDate;
  }
  if (!(progressBar ? access->DownloadFiles(prj, wanted) : access->DownloadFilesWithoutProgressBar(prj, wanted))) {
    trace(L"Download failed!\n");
    return eWGOResult_DownloadFailed;
  }
  ProjectFilesCache::edit(directory, [&](ProjectFilesCache& cache) {
    for (const auto& [key, record] : records) {
      if (wanted.contains(keys.at(key))) cache.put(key, record);
    }
  });
  trace(L"Files were not up to date, download was executed.\n");
  return eWGOResult_Downloaded;
}

bool WGO_UploadProjectFiles(const PRJ& prj, const std::set<std::wstring>& files, bool progressBar) {
  IWGOAccess* const access = accessServing(prj);
  if (access == nullptr) return false;
  if (files.empty()) return true;
  std::set<std::wstring> sent;
  if (progressBar) {
    sent = uploadGroups(*access, files);
  } else if (access->UploadFilesWithoutProgressBar(prj, files)) {
    sent = files;
  }
  noteOnServer(prj, byKey(prj, files), sent);
  return sent.size() == files.size();
}

std::uint32_t WGO_deleteProjectFiles(const PRJ& prj, const std::set<std::wstring>& files) {
  IWGOAccess* const access = accessServing(prj);
  if (access == nullptr || files.empty()) return 0;
  std::vector<std::packaged_task<std::uint32_t()>> tasks;
  std::vector<std::future<std::uint32_t>> results;
  for (const std::wstring& file : files) {
    tasks.emplace_back([&prj, &file, access] { return codeOf(access->deleteServerFile(prj, file)); });
    results.push_back(tasks.back().get_future());
  }
  runTasks(tasks);
  std::uint32_t first = 0;
  for (std::future<std::uint32_t>& result : results) {
    const std::uint32_t code = resultOf(result);
    if (first == 0) first = code;
  }
  noteOnServer(prj, byKey(prj, files), {});
  return first;
}

}  // namespace Quorvel::FileAccess
