#include "diagnostics/ConnectionLog.h"

#include <cwchar>
#include <string>
#include <vector>

#include "platform/Files.h"
#include "platform/Messages.h"
#include "platform/Text.h"
#include "platform/Time.h"

namespace Quorvel::FileAccess::ConnectionLogger {
namespace {

constexpr std::size_t kTextLimit = 4096;
constexpr DWORD kAppendPathLimit = 8192;
constexpr DWORD kResetPathLimit = 2048;

/// Empty when the variable is not set or does not fit into `limit` characters.
std::wstring logDirectory(DWORD limit) {
  std::vector<wchar_t> buffer(limit);
  const DWORD length = GetEnvironmentVariableW(L"APPDATA", buffer.data(), limit);
  if (length == 0 || length >= limit) return {};
  return std::wstring(buffer.data(), length) + L"\\Tarvendorf";
}

std::wstring logFile(const std::wstring& directory) {
  return directory + L"\\QuorvelInetLog.log";
}

bool ensureDirectory(const std::wstring& directory) {
  if (_waccess(directory.c_str(), 0) == 0) return true;
  CreateDirectoryW(directory.c_str(), nullptr);
  return _waccess(directory.c_str(), 0) == 0;
}

}  // namespace

void AppendConnectionLog(const wchar_t* text) {
  if (text == nullptr || std::wcslen(text) >= kTextLimit) return;
  const std::wstring directory = logDirectory(kAppendPathLimit);
  if (directory.empty() || !ensureDirectory(directory)) return;

  SYSTEMTIME now{};
  GetLocalTime(&now);
  std::wstring line = platform::formatWide(L"<%02d.%02d.%4d - %02d:%02d:%02d :: ", now.wDay, now.wMonth, now.wYear,
                                           now.wHour, now.wMinute, now.wSecond);
  line += text;
  if (line.back() == L'\n') line.pop_back();
  line += L">\n";

  platform::TextFile file(logFile(directory), L"a");
  if (!file.isOpen()) return;
  file.write(line);
  file.close();
}

void ResetConnectionLog() {
  const std::wstring directory = logDirectory(kResetPathLimit);
  if (!directory.empty()) _wunlink(logFile(directory).c_str());
}

}  // namespace Quorvel::FileAccess::ConnectionLogger
