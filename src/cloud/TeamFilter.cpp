// The filter file is written by hand and read line by line, without escapes: a name with a quote is cut at it.
#include <optional>

#include "host/Files.h"
#include "host/Trace.h"
#include "platform/Files.h"
#include "platform/Synchronisation.h"
#include "platform/Text.h"
#include "zephor/Portal.h"

namespace Quorvel::FileAccess {
namespace {

constexpr int kAdministrationPath = 8;
constexpr std::size_t kLineBuffer = 1024;
constexpr std::wstring_view kUuidKey = L"\"teamUuid\":";
constexpr std::wstring_view kNameKey = L"\"teamName\":";

/// Empty when the host has no such path.
std::wstring filterPath() {
  const std::wstring directory = lfinigC(kAdministrationPath);
  return directory.empty() ? std::wstring() : directory + L"teamsFilter.json";
}

/// The value of a line whose first quoted text is the key.
std::optional<std::wstring> valueIn(const std::wstring& line, std::wstring_view key) {
  const std::size_t at = line.find(L'"');
  if (at == std::wstring::npos || line.compare(at, key.size(), key) != 0) return std::nullopt;
  const std::size_t begin = line.find(L'"', at + key.size());
  if (begin == std::wstring::npos) return std::nullopt;
  const std::size_t end = line.find(L'"', begin + 1);
  if (end == std::wstring::npos) return std::nullopt;
  return line.substr(begin + 1, end - begin - 1);
}

bool writeTeams(platform::TextFile& file, const std::map<std::wstring, std::wstring>& teams) {
  bool written = file.write(L"{\n") && file.write(L"  \"filteredTeams\": [\n");
  std::size_t left = teams.size();
  for (const auto& [uuid, name] : teams) {
    written = written && file.write(L"    {\n") && file.write(L"      \"teamUuid\": \"" + uuid + L"\",\n") &&
              file.write(L"      \"teamName\": \"" + name + L"\"\n") &&
              file.write(--left > 0 ? L"    },\n" : L"    }\n");
  }
  return written && file.write(L"  ]\n") && file.write(L"}\n");
}

}  // namespace

bool WGO_ReadOndrathTeamFilter(std::map<std::wstring, std::wstring>& teams) {
  teams.clear();
  const std::wstring path = filterPath();
  if (path.empty()) return false;
  platform::TextFile file(path, L"r, ccs=UTF-16LE");
  if (!file.isOpen()) return false;
  std::wstring line;
  while (file.readLine(line, kLineBuffer)) {
    const std::optional<std::wstring> uuid = valueIn(line, kUuidKey);
    if (!uuid || !file.readLine(line, kLineBuffer)) continue;
    if (const auto name = valueIn(line, kNameKey)) teams.insert_or_assign(*uuid, *name);
  }
  // Of one that could not be read to its end, some teams would hide the others.
  const bool isWhole = file.close();
  if (!isWhole) teams.clear();
  return isWhole;
}

bool WGO_WriteOndrathTeamFilter(const std::map<std::wstring, std::wstring>& teams) {
  const std::wstring path = filterPath();
  if (path.empty()) return false;
  // Beside its place first: a disk that fills up must not cost the filter that stands.
  const std::wstring part = platform::formatWide(L"%s.%u.part", path, GetCurrentProcessId());
  platform::TextFile file(part, L"w, ccs=UTF-16LE");
  if (!file.isOpen()) return false;
  const bool written = writeTeams(file, teams);
  if (file.close() && written && MoveFileExW(part.c_str(), path.c_str(), MOVEFILE_REPLACE_EXISTING) != FALSE)
    return true;
  lfperrC(L"%s: \"%s\" could not be written\n", L"Quorvel::FileAccess::WGO_WriteOndrathTeamFilter", path);
  DeleteFileW(part.c_str());
  return false;
}

}  // namespace Quorvel::FileAccess
