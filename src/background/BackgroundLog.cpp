#include "background/BackgroundLog.h"

#include <chrono>
#include <string_view>

#include "background/Pacing.h"
#include "host/Trace.h"
#include "platform/Files.h"
#include "platform/Paths.h"
#include "platform/Synchronisation.h"
#include "platform/Text.h"

namespace Quorvel::FileAccess {
namespace {

constexpr const wchar_t* kLogFile = L"OndrathBackgroundService.log.xml";
/// Behind the mark of a UTF-8 text file.
constexpr std::string_view kBegin =
    "\xEF\xBB\xBF<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?>\n"
    "<BackgroundServicesCollection FileVersion=\"1.0\" ProjectType=\"Ondrath\">\n";
constexpr std::string_view kEnd = "</BackgroundServicesCollection>\n";
constexpr int kReplaceAttempts = 5;
constexpr std::chrono::milliseconds kReplacePause{20};

/// A name as text of an element. Characters that no XML text may hold are shown as replacement characters.
std::wstring elementText(const std::wstring& name) {
  std::wstring text;
  for (const wchar_t c : name) {
    if (c == L'&') {
      text += L"&amp;";
    } else if (c == L'<') {
      text += L"&lt;";
    } else if (c == L'>') {
      text += L"&gt;";
    } else {
      text += c < L' ' ? L'\xFFFD' : c;
    }
  }
  return text;
}

std::wstring timeText() {
  const SYSTEMTIME now = pacing().localTime();
  return platform::formatWide(L"%02d.%02d.%04d - %02d:%02d:%02d", now.wDay, now.wMonth, now.wYear, now.wHour,
                              now.wMinute, now.wSecond);
}

/// Somebody may be reading the old file.
bool replace(const std::wstring& from, const std::wstring& to) {
  for (int attempt = 1;; ++attempt) {
    if (MoveFileExW(from.c_str(), to.c_str(), MOVEFILE_REPLACE_EXISTING) != FALSE) return true;
    if (GetLastError() != ERROR_SHARING_VIOLATION || attempt == kReplaceAttempts) return false;
    pacing().sleep(kReplacePause, {});
  }
}

}  // namespace

BackgroundLog::BackgroundLog(const std::wstring& directory) : path_(platform::joinPath(directory, kLogFile)) {}

void BackgroundLog::restart() {
  std::uint64_t change = 0;
  {
    const std::lock_guard guard(entriesLock_);
    entries_.clear();
    change = ++changes_;
  }
  publish(change);
}

void BackgroundLog::append(const wchar_t* kind, const std::wstring& relative, std::uint32_t result) {
  std::wstring entry = platform::formatWide(L"  <%s>\n", kind);
  entry += platform::formatWide(L"    <File>%s</File>\n", elementText(relative));
  entry += platform::formatWide(L"    <Time>%s</Time>\n", timeText());
  entry += platform::formatWide(L"    <Error>0x%08x</Error>\n", result);
  entry += platform::formatWide(L"  </%s>\n", kind);
  std::uint64_t change = 0;
  {
    const std::lock_guard guard(entriesLock_);
    entries_ += platform::toUtf8(entry);
    change = ++changes_;
  }
  publish(change);
}

/// Who waited here for the file finds it written for its own change, too.
void BackgroundLog::publish(std::uint64_t change) {
  const std::lock_guard file(fileLock_);
  if (written_ >= change) return;
  std::string text(kBegin);
  bool isEmpty = false;
  {
    const std::lock_guard guard(entriesLock_);
    isEmpty = entries_.empty();
    text += entries_;
    written_ = changes_;
  }
  text += kEnd;
  const bool isWritten = isEmpty ? remove() : write(text);
  if (!isWritten && !isFailureTold_)
    lfperrC(L"%s: \"%s\" could not be written\n", L"Quorvel::FileAccess::BackgroundLog::append", path_);
  isFailureTold_ = !isWritten;
}

bool BackgroundLog::remove() const {
  return DeleteFileW(path_.c_str()) != FALSE || _waccess(path_.c_str(), 0) != 0;
}

bool BackgroundLog::write(const std::string& text) const {
  // The ending keeps the file beside out of uploads, the process those of others apart.
  const std::wstring beside = platform::formatWide(L"%s.%u.part", path_, GetCurrentProcessId());
  const HANDLE file = CreateFileW(beside.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr);
  if (file == INVALID_HANDLE_VALUE) return false;
  DWORD written = 0;
  const bool isWhole = WriteFile(file, text.data(), static_cast<DWORD>(text.size()), &written, nullptr) != FALSE &&
                       written == text.size();
  if (CloseHandle(file) != FALSE && isWhole && replace(beside, path_)) return true;
  DeleteFileW(beside.c_str());
  return false;
}

BackgroundLog& BackgroundLogs::of(const std::wstring& directory) {
  const std::lock_guard guard(lock_);
  return logs_.try_emplace(platform::toLower(directory), directory).first->second;
}

}  // namespace Quorvel::FileAccess
