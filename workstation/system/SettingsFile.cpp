#include "workstation/system/SettingsFile.h"

#include <algorithm>
#include <filesystem>

#include "platform/Files.h"
#include "platform/Paths.h"
#include "platform/Synchronisation.h"
#include "workstation/system/SettingsFormat.h"

namespace workstation {
namespace {

constexpr std::uint64_t kLargestFile = std::uint64_t{4} * 1024 * 1024;
constexpr ULONGLONG kLockLimitMilliseconds = 10'000;
// File systems count time in steps; two writes within one step carry the same time.
constexpr std::uint64_t kSettleTicks = 2ULL * 10'000'000;

/// Holds the lock file exclusively; waits for another process.
class SettingsLock {
 public:
  explicit SettingsLock(const std::wstring& path) {
    const ULONGLONG begin = GetTickCount64();
    DWORD pause = 1 + GetCurrentProcessId() % 3;
    for (;;) {
      handle_ = CreateFileW(path.c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr, OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL,
                            nullptr);
      if (handle_ != INVALID_HANDLE_VALUE || GetLastError() != ERROR_SHARING_VIOLATION) return;
      if (GetTickCount64() - begin > kLockLimitMilliseconds) return;
      Sleep(pause);
      pause = 1 + (pause * 5 + GetCurrentThreadId()) % 13;
    }
  }
  ~SettingsLock() {
    if (isHeld()) CloseHandle(handle_);
  }
  SettingsLock(const SettingsLock&) = delete;
  SettingsLock& operator=(const SettingsLock&) = delete;

  bool isHeld() const { return handle_ != INVALID_HANDLE_VALUE; }

 private:
  HANDLE handle_ = INVALID_HANDLE_VALUE;
};

std::wstring lockPath(const std::wstring& settingsPath) {
  return platform::joinPath(platform::directoryOf(settingsPath), L"settings.lock");
}

std::wstring failureText(const std::wstring& file, const wchar_t* what, DWORD code) {
  return platform::formatWide(L"%s: %s (error %u)", file, what, code);
}

bool holdsPassword(const SettingsValues& values) {
  return std::any_of(values.servers.begin(), values.servers.end(),
                     [](const auto& server) { return !server.second.password.empty(); });
}

/// Takes the file from everybody but its user. A later write keeps the permissions.
std::error_code keepFromOthers(const std::wstring& path) {
  using std::filesystem::perms;
  std::error_code problem;
  std::filesystem::permissions(platform::systemPath(path), perms::owner_read | perms::owner_write, problem);
  return problem;
}

}  // namespace

SettingsFile::SettingsFile(std::wstring path) : path_(std::move(path)) {}

bool SettingsFile::readText(std::string& text, std::wstring& error) {
  const DWORD code = platform::readWholeFile(path_, text, kLargestFile);
  if (code != 0) error = failureText(path_, L"the settings can't be read", code);
  return code == 0;
}

bool SettingsFile::isCurrent() {
  if (!isSettled_) return false;
  const platform::FileStatus status = platform::fileStatus(path_);
  return status.exists && status.size == size_ && CompareFileTime(&status.writeTime, &writeTime_) == 0;
}

bool SettingsFile::load(std::wstring& error) {
  // The state is taken before the content: a change between the two is then seen as one.
  const platform::FileStatus status = platform::fileStatus(path_);
  FILETIME now{};
  GetSystemTimeAsFileTime(&now);
  std::string text;
  SettingsValues values;
  if (!readText(text, error) || !parseSettings(text, path_, values, error)) return false;
  const std::lock_guard guard(mutex_);
  values_ = std::make_shared<const SettingsValues>(std::move(values));
  writeTime_ = status.writeTime;
  size_ = status.size;
  isSettled_ = platform::toTicks(now) > platform::toTicks(status.writeTime) + kSettleTicks;
  return true;
}

std::shared_ptr<const SettingsValues> SettingsFile::values() {
  {
    const std::lock_guard guard(mutex_);
    if (isCurrent()) return values_;
  }
  std::wstring error;
  load(error);
  const std::lock_guard guard(mutex_);
  return values_;
}

bool SettingsFile::change(const std::function<void(SettingsValues&)>& edit, std::wstring& error) {
  const SettingsLock lock(lockPath(path_));
  if (!lock.isHeld()) {
    error = failureText(lockPath(path_), L"the lock of the settings can't be taken", GetLastError());
    return false;
  }
  std::string before;
  SettingsValues values;
  if (!readText(before, error) || !parseSettings(before, path_, values, error)) return false;
  edit(values);
  const std::string after = renderSettings(before, values);
  if (after != before) {
    // Before the write: a password is at no moment in a file that others may read.
    if (const std::error_code problem = holdsPassword(values) ? keepFromOthers(path_) : std::error_code(); problem) {
      error = failureText(path_, L"the settings can't be kept from others", static_cast<DWORD>(problem.value()));
      return false;
    }
    const DWORD code = platform::writeFileAtomically(path_, after.data(), after.size());
    if (code != 0) {
      error = failureText(path_, L"the settings can't be written", code);
      return false;
    }
  }
  remember(values);
  return true;
}

void SettingsFile::remember(const SettingsValues& values) {
  const std::lock_guard guard(mutex_);
  values_ = std::make_shared<const SettingsValues>(values);
  isSettled_ = false;
}

bool SettingsFile::create(const SettingsValues& values, bool replace, std::wstring& error) {
  const SettingsLock lock(lockPath(path_));
  if (!lock.isHeld()) {
    error = failureText(lockPath(path_), L"the lock of the settings can't be taken", GetLastError());
    return false;
  }
  std::string before;
  SettingsValues merged = values;
  if (platform::fileStatus(path_).exists) {
    if (!replace) {
      error = platform::formatWide(L"%s: the workstation has a configuration already", path_);
      return false;
    }
    SettingsValues existing;
    std::wstring damage;
    if (readText(before, damage) && parseSettings(before, path_, existing, damage)) {
      merged.numbers = existing.numbers;
      merged.lastProject = existing.lastProject;
      merged.recentProjects = existing.recentProjects;
      merged.servers = existing.servers;
    } else {
      before.clear();
      if (CopyFileW(path_.c_str(), (path_ + L".old").c_str(), FALSE) == FALSE) {
        error = failureText(path_, L"the damaged settings can't be kept", GetLastError());
        return false;
      }
    }
  }
  const std::string after = renderSettings(before, merged);
  const DWORD code = platform::writeFileAtomically(path_, after.data(), after.size());
  if (code != 0) {
    error = failureText(path_, L"the settings can't be written", code);
    return false;
  }
  // The settings may come to hold the passwords of servers.
  const std::error_code problem = keepFromOthers(path_);
  if (problem)
    error = failureText(path_, L"the settings can't be kept from others", static_cast<DWORD>(problem.value()));
  return !problem;
}

}  // namespace workstation
