#include "background/BackgroundLog.h"

#include "background/Pacing.h"
#include "host/Trace.h"
#include "platform/Files.h"
#include "platform/Paths.h"
#include "platform/Synchronisation.h"
#include "platform/Text.h"

namespace Quorvel::FileAccess {
namespace {

constexpr const wchar_t* kLogFile = L"OndrathBackgroundService.log.xml";
constexpr const wchar_t* kBegin =
    L"<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?>\n"
    L"<BackgroundServicesCollection FileVersion=\"1.0\" ProjectType=\"Ondrath\">\n";
constexpr const wchar_t* kEnd = L"</BackgroundServicesCollection>\n";

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
  std::uint64_t change = 0;
  {
    const std::lock_guard guard(entriesLock_);
    entries_ += platform::formatWide(L"  <%s>\n", kind);
    entries_ += platform::formatWide(L"    <File>%s</File>\n", elementText(relative));
    entries_ += platform::formatWide(L"    <Time>%s</Time>\n", timeText());
    entries_ += platform::formatWide(L"    <Error>0x%08x</Error>\n", result);
    entries_ += platform::formatWide(L"  </%s>\n", kind);
    change = ++changes_;
  }
  publish(change);
}

/// Who waited here for the file finds it written for its own change, too.
void BackgroundLog::publish(std::uint64_t change) {
  const std::lock_guard file(fileLock_);
  if (written_ >= change) return;
  std::wstring entries;
  {
    const std::lock_guard guard(entriesLock_);
    entries = entries_;
    written_ = changes_;
  }
  const bool isWritten = write(entries);
  if (!isWritten && !isFailureTold_) lfperrC(L"BackgroundLog: \"%s\" could not be written\n", path_);
  isFailureTold_ = !isWritten;
}

bool BackgroundLog::write(const std::wstring& entries) const {
  if (entries.empty()) return DeleteFileW(path_.c_str()) != FALSE || _waccess(path_.c_str(), 0) != 0;
  // The ending keeps the file beside out of uploads, the process those of others apart.
  const std::wstring beside = platform::formatWide(L"%s.%u.part", path_, GetCurrentProcessId());
  platform::TextFile file(beside, L"w,ccs=UTF-8");
  const bool isWhole = file.isOpen() && file.write(kBegin + entries + kEnd);
  if (file.close() && isWhole && MoveFileExW(beside.c_str(), path_.c_str(), MOVEFILE_REPLACE_EXISTING) != FALSE) {
    return true;
  }
  DeleteFileW(beside.c_str());
  return false;
}

BackgroundLog& BackgroundLogs::of(const std::wstring& directory) {
  const std::lock_guard guard(lock_);
  return logs_.try_emplace(platform::toLower(directory), directory).first->second;
}

}  // namespace Quorvel::FileAccess
