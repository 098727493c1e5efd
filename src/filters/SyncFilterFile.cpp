#include "filters/SyncFilterFile.h"

#include <cstddef>

#include "platform/Files.h"
#include "platform/Synchronisation.h"
#include "platform/Text.h"
#include "zephor/FileTransfer.h"
#include "zephor/UploadFilters.h"

namespace Quorvel::FileAccess {
namespace {

constexpr const wchar_t* kFileName = L"WGO_SyncFilter.xml";
constexpr const wchar_t* kRootTag = L"<Tarvendorf_WGO_ProjectSyncFilter";
constexpr const wchar_t* kClosingRootTag = L"</Tarvendorf_WGO_ProjectSyncFilter";
constexpr std::wstring_view kActivated = L"activated";
constexpr std::size_t kLineBuffer = 1024;
constexpr int kExistence = 0;

constexpr const wchar_t* kDefaultDirectories[] = {L"/", L"BIM"};
constexpr const wchar_t* kDefaultFiles[] = {L"usrprj.*", L"*.bdfa", L"version.txt"};
constexpr const wchar_t* kHelp[] = {
    L"\n<!-- --",
    L"<directory exclude = \"/\": !!! turn off sync completely",
    L"<directory exclude = \"BIM\": BIM directory",
    L"<... activated = \"1\": filter is active",
    L"<... activated = \"0\": filter is not active",
    L"<!- -->\n",
};

bool exists(const std::wstring& path) {
  return _waccess(path.c_str(), kExistence) == 0;
}

/// Every entry is switched off: the file changes nothing before a user edits it.
std::wstring defaultText() {
  std::wstring text = L"< ? xml version = \"1.0\" encoding = \"utf-8\" ? >\n";
  text += platform::formatWide(L"%s file version = \"1.0\" activated = \"1\">\n", kRootTag);
  for (const wchar_t* name : kDefaultDirectories) {
    text += platform::formatWide(L"   <directory exclude = \"%s\" activated = \"0\">\n", name);
  }
  for (const wchar_t* name : kDefaultFiles) {
    text += platform::formatWide(L"   <file exclude = \"%s\" activated = \"0\">\n", name);
  }
  text += platform::formatWide(L"%s>\n", kClosingRootTag);
  for (const wchar_t* line : kHelp) text += platform::formatWide(L"%s\n", line);
  return text;
}

/// Position behind the next double quote at or behind `from`, or npos.
std::size_t behindQuote(std::wstring_view line, std::size_t from) {
  const std::size_t quote = line.find(L'"', from);
  return quote == std::wstring_view::npos ? quote : quote + 1;
}

/// `usrprj.*` is a left match, `*.bdfa` an extension, everything else a name, wildcards in other places included.
std::pair<SyncFilterKind, std::wstring> classify(bool isFile, std::wstring_view value) {
  if (!isFile) return {SyncFilterDirectory, std::wstring(value)};
  if (value.ends_with(L".*")) return {SyncFilterLeftMatch, std::wstring(value.substr(0, value.size() - 2))};
  if (value.starts_with(L"*.")) return {SyncFilterExtension, std::wstring(value.substr(1))};
  return {SyncFilterExactFile, std::wstring(value)};
}

}  // namespace

SyncFilterLine scanSyncFilterLine(const std::wstring& line, const wchar_t* keyword,
                                  std::pair<SyncFilterKind, std::wstring>& entry) {
  const std::wstring_view text = line.c_str();
  const auto holds = [&](std::wstring_view part) { return text.find(part) != std::wstring_view::npos; };
  constexpr std::size_t kNowhere = std::wstring_view::npos;

  if (holds(kClosingRootTag)) return SyncFilterLine::EndOfFilter;
  const std::size_t activated = text.find(kActivated);
  if (activated == kNowhere) return SyncFilterLine::NoEntry;
  const std::size_t state = behindQuote(text, activated + kActivated.size());
  if (state == kNowhere) return SyncFilterLine::NoEntry;
  // A root that is switched off switches off the whole file.
  if (_wtoi(line.c_str() + state) == 0) return holds(kRootTag) ? SyncFilterLine::EndOfFilter : SyncFilterLine::NoEntry;

  const std::size_t key = text.find(keyword);
  if (key == kNowhere) return SyncFilterLine::NoEntry;
  const bool isFile = holds(L"<file");
  if (!isFile && !holds(L"<directory")) return SyncFilterLine::NoEntry;
  const std::size_t begin = behindQuote(text, key + std::wstring_view(keyword).size());
  const std::size_t end = begin == kNowhere ? kNowhere : text.find(L'"', begin);
  if (end == kNowhere) return SyncFilterLine::NoEntry;
  entry = classify(isFile, text.substr(begin, end - begin));
  return SyncFilterLine::Entry;
}

void readSyncFilterLines(platform::TextFile& file, const wchar_t* keyword, SyncFilterEntries& entries) {
  int number = 1;
  std::wstring line;
  while (file.readLine(line, kLineBuffer)) {
    std::pair<SyncFilterKind, std::wstring> entry;
    const SyncFilterLine found = scanSyncFilterLine(line, keyword, entry);
    if (found == SyncFilterLine::EndOfFilter) break;
    if (found == SyncFilterLine::Entry) entries.emplace(std::move(entry), number);
    // A long line comes in pieces.
    if (line.ends_with(L'\n')) ++number;
  }
}

std::wstring BuildSyncFilterPath(const wchar_t* projectName) {
  if (projectName == nullptr) return {};
  const int projects = ePrjPath;
  std::wstring path = getInetFileManager().getPathFromNr(&projects);
  path += L'\\';
  std::wstring name = projectName;
  name.erase(name.find_last_not_of(L' ') + 1);
  const bool hasEnding = name.find(L".prj") != std::wstring::npos || name.find(L".PRJ") != std::wstring::npos;
  path += name;
  return path + (hasEnding ? L"\\" : L".prj\\") + kFileName;
}

bool WGO_createSyncFilter(const wchar_t* projectName) {
  const std::wstring path = BuildSyncFilterPath(projectName);
  if (path.empty() || exists(path)) return false;
  // Whole or not at all, as a cut file would stay for good; and never over one that somebody else makes meanwhile.
  const std::wstring beside = platform::formatWide(L"%s.%u-%u.part", path, GetCurrentProcessId(), GetCurrentThreadId());
  const std::string bytes = platform::toUtf8(defaultText());
  if (platform::writeFileAtomically(beside, bytes.data(), bytes.size()) != ERROR_SUCCESS) return false;
  if (MoveFileW(beside.c_str(), path.c_str()) != FALSE) return true;
  DeleteFileW(beside.c_str());
  return false;
}

bool readSyncFilterFile(const std::wstring& path, const wchar_t* keyword, SyncFilterEntries& entries) {
  if (!exists(path)) return false;
  platform::TextFile file(path, L"r");
  if (!file.isOpen()) return false;
  readSyncFilterLines(file, keyword, entries);
  return true;
}

bool ReadSyncFilterExcludes(const wchar_t* projectName, SyncFilterEntries& entries) {
  WGO_createSyncFilter(projectName);
  return readSyncFilterFile(BuildSyncFilterPath(projectName), kExcludeLines, entries);
}

bool ReadSyncFilterIncludes(const wchar_t* projectName, SyncFilterEntries& entries) {
  WGO_createSyncFilter(projectName);
  readSyncFilterFile(BuildSyncFilterPath(projectName), kIncludeLines, entries);
  return true;
}

}  // namespace Quorvel::FileAccess
