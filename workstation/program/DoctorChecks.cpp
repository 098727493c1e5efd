// The checks of the workstation and of the project that is open on it.
#include "workstation/program/DoctorChecks.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string_view>
#include <system_error>

#include "host/Project.h"
#include "platform/Files.h"
#include "platform/Paths.h"
#include "platform/Text.h"
#include "workstation/Servers.h"
#include "workstation/program/CacheContent.h"
#include "workstation/program/Objects.h"
#include "workstation/store/DirectoryScan.h"
#include "workstation/store/LocalTree.h"
#include "zephor/NotUploadedFiles.h"

namespace workstation::program {

namespace {

namespace fs = std::filesystem;

constexpr const wchar_t* kDataDirectory = L"C:\\Data";
constexpr const wchar_t* kDatabase = L"QuorvelProjectDB.db3";
constexpr std::int64_t kNanoseconds = 1'000'000'000;

std::string systemText(int error) {
  return std::generic_category().message(error);
}

std::string probePath(const std::string& directory) {
  return directory + "/zephor-doctor-" + std::to_string(::getpid()) + ".tmp";
}

std::int64_t nanoseconds(const timespec& time) {
  return time.tv_sec * kNanoseconds + time.tv_nsec;
}

std::int64_t machineTime() {
  timespec now{};
  ::clock_gettime(CLOCK_REALTIME, &now);
  return nanoseconds(now);
}

void checkWritable(Findings& findings, const wchar_t* check, const std::string& directory) {
  const std::string failure = probeDirectory(directory).failure;
  const std::wstring shown = platform::fromUtf8(directory);
  if (failure.empty()) {
    findings.push_back({check, Health::Ok, shown});
  } else {
    findings.push_back({check, Health::Problem, shown + L": nothing can be written: " + platform::fromUtf8(failure),
                        L"give your user the right to write there, or free space"});
  }
}

/// A file goes there and comes back.
void checkTrash(Findings& findings, const std::string& directory) {
  const std::string path = probePath(directory);
  std::ofstream(path) << "x";
  const std::wstring name = platform::libraryPath(path);
  platform::TrashFailure failure;
  std::string thrown;
  if (platform::moveToTrash(name, &failure, &thrown) == ERROR_SUCCESS) {
    const bool isBack = platform::takeFromTrash(thrown, name);
    findings.push_back({L"trash", Health::Ok,
                        platform::fromUtf8(fs::path(thrown).parent_path().parent_path().string()) +
                            (isBack ? L"" : L" (a small file of this check stays in it)")});
  } else {
    findings.push_back({L"trash", Health::Problem,
                        L"takes nothing: " + platform::fromUtf8(failure.trash + ": " + failure.reason),
                        L"without a trash nothing is removed here; make its directory writable, or set XDG_DATA_HOME"});
  }
  ::unlink(path.c_str());
}

void checkOpener(Findings& findings) {
  const char* const list = std::getenv("PATH");
  std::string_view rest = list != nullptr ? list : "";
  while (!rest.empty()) {
    const std::size_t length = std::min(rest.find(':'), rest.size());
    const std::string candidate = std::string(rest.substr(0, length)) + "/xdg-open";
    if (candidate.front() == '/' && ::access(candidate.c_str(), X_OK) == 0) {
      findings.push_back({L"desktop", Health::Ok, L"links are opened with " + platform::fromUtf8(candidate)});
      return;
    }
    rest.remove_prefix(std::min(length + 1, rest.size()));
  }
  findings.push_back({L"desktop", Health::Warning, L"there is no xdg-open: links and documents are not opened",
                      L"install xdg-utils, or use zephor portal --print"});
}

void checkSettings(Findings& findings) {
  std::wstring file;
  const bool isPrivate = areSettingsPrivate(file);
  const std::wstring shown = platform::fromUtf8(platform::systemPath(file));
  if (isPrivate) {
    findings.push_back({L"settings", Health::Ok, shown});
  } else {
    findings.push_back({L"settings", Health::Problem, shown + L" holds passwords and others may read it",
                        L"chmod 600 '" + shown + L"'"});
  }
}

void checkWatches(Findings& findings, const std::string& directory) {
  std::uint64_t limit = 0;
  std::ifstream("/proc/sys/fs/inotify/max_user_watches") >> limit;
  std::uint64_t directories = 1;
  std::error_code error;
  for (fs::recursive_directory_iterator entry(directory, error); !error && entry != fs::recursive_directory_iterator();
       entry.increment(error)) {
    std::error_code unknown;
    if (entry->symlink_status(unknown).type() == fs::file_type::directory) ++directories;
  }
  const std::wstring text =
      platform::formatWide(L"%s to watch, %llu may be watched by this user in all",
                           counted(directories, L"directory", L"directories"), static_cast<unsigned long long>(limit));
  // Others of the user's programs watch, too. What can't be watched is looked at now and then.
  const bool isEnough = directories <= limit / 2;
  findings.push_back({L"watching", isEnough ? Health::Ok : Health::Warning, text,
                      isEnough ? L""
                               : L"sudo sysctl fs.inotify.max_user_watches=" +
                                     std::to_wstring(std::max<std::uint64_t>(524'288, directories * 4))});
}

void checkFiles(Findings& findings, const std::string& directory) {
  const DirectoryScan scan = scanDirectory(directory, isPrivateKey);
  if (!scan.failure.empty())
    findings.push_back({L"files", Health::Problem, scan.failure, L"give your user the right to read all of it"});
  std::string replaced;
  const auto leftovers =
      static_cast<std::uint64_t>(std::count_if(scan.files.begin(), scan.files.end(), [&](const ScannedFile& file) {
        return isLeftoverOfLoad(std::string_view(file.name).substr(file.name.rfind('\\') + 1), replaced);
      }));
  if (leftovers > 0) {
    findings.push_back({L"leftovers", Health::Warning,
                        counted(leftovers, L"file", L"files") + L" of loads that were killed",
                        L"zephor sync brings what is somebody's work to safety and removes the rest"});
  }
  for (const std::wstring& name : scan.passedOver)
    findings.push_back(
        {L"files", Health::Warning, name + L" is never sent: no other workstation can hold the name", L"rename it"});
  findings.push_back({L"files", Health::Ok, counted(scan.files.size(), L"file", L"files")});
}

void checkCache(Findings& findings, const std::wstring& path) {
  if (isCacheWhole(get_ActivePrj().GetOndrathProjectUuid(), path)) {
    findings.push_back({L"cache", Health::Ok, L"complete"});
  } else {
    findings.push_back({L"cache", Health::Warning, L"not everything has come here yet", L"zephor sync"});
  }
  std::vector<std::wstring> waiting;
  if (getNotUploadedFilesList(waiting) > 0)
    findings.push_back({L"not sent", Health::Warning,
                        counted(waiting.size(), L"file", L"files") + L" could not be sent: " + waiting.front() +
                            (waiting.size() > 1 ? L" ..." : L""),
                        L"zephor not-uploaded retry"});
}

}  // namespace

Probe probeDirectory(const std::string& directory) {
  Probe probe;
  const std::string path = probePath(directory);
  const std::int64_t before = machineTime();
  const int file = ::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, S_IRUSR | S_IWUSR);
  if (file < 0) {
    probe.failure = systemText(errno);
    return probe;
  }
  struct stat status {};
  const bool isWritten = ::write(file, "x", 1) == 1 && ::fsync(file) == 0 && ::fstat(file, &status) == 0;
  if (!isWritten) probe.failure = systemText(errno);
  ::close(file);
  ::unlink(path.c_str());
  if (!isWritten) return probe;
  // Only what lies outside of the time that it took tells anything.
  const std::int64_t written = nanoseconds(status.st_mtim);
  if (written < before) probe.ahead = written - before;
  if (const std::int64_t after = machineTime(); written > after) probe.ahead = written - after;
  return probe;
}

void checkSpace(Findings& findings, const std::wstring& check, const std::string& directory) {
  constexpr std::uint64_t kMegabyte = 1'000'000;
  constexpr std::uint64_t kLittle = 1000 * kMegabyte;
  constexpr std::uint64_t kHardlyAny = 100 * kMegabyte;
  struct statvfs status {};
  const std::wstring shown = platform::fromUtf8(directory);
  if (::statvfs(directory.c_str(), &status) != 0) {
    findings.push_back({check, Health::Problem, shown + L": " + platform::fromUtf8(systemText(errno)),
                        L"mount the disk, or make the directory"});
    return;
  }
  const std::uint64_t free = status.f_bavail * status.f_frsize;
  const Health health = free < kHardlyAny ? Health::Problem : free < kLittle ? Health::Warning : Health::Ok;
  findings.push_back({check, health, platform::formatWide(L"%s: %.1f GB free", shown, static_cast<double>(free) / 1e9),
                      health == Health::Ok ? L"" : L"free space, before a save finds none"});
}

void checkWorkstation(Findings& findings, bool mayProbe) {
  const std::string data = platform::systemPath(kDataDirectory);
  checkSettings(findings);
  checkSpace(findings, L"space", data);
  if (mayProbe) {
    checkWritable(findings, L"data", data);
    std::array<wchar_t, 4096> temp{};
    GetTempPathW(static_cast<DWORD>(temp.size()), temp.data());
    checkWritable(findings, L"temporary files", platform::systemPath(temp.data()));
    checkTrash(findings, data);
  }
  checkOpener(findings);
  checkRecords(findings);
}

void checkProject(Findings& findings) {
  const std::wstring path = get_ActPrjPath();
  const std::string directory = platform::systemPath(path);
  const std::wstring name = get_ActivePrj().GetProjectDisplayName();
  findings.push_back({L"project", Health::Ok, name + L" in " + platform::fromUtf8(directory)});
  checkCache(findings, path);
  checkFiles(findings, directory);
  checkWatches(findings, directory);
  const std::string database = platform::systemPath(platform::joinPath(path, kDatabase));
  checkDatabase(findings, L"project database", database,
                L"move it away with its -wal and -shm, then zephor db update makes it anew from the objects");
}

}  // namespace workstation::program
