#include "background/NotUploadedText.h"

#include <cwchar>
#include <set>

namespace Quorvel::FileAccess {
namespace {

constexpr const wchar_t* kTypeMark = L"file type=";
constexpr const wchar_t* kNumberMark = L"number=";
constexpr const wchar_t* kTeilbildMark = L"TEILBILD";
constexpr std::size_t kLineBuffer = 1024;

enum class LineKind { NoEntry, Entry, Broken };

LineKind parseLine(const std::wstring& line, NotUploadedEntry& entry) {
  const std::size_t type = line.find(kTypeMark);
  if (type == std::wstring::npos) return LineKind::NoEntry;
  const std::wstring behind = line.substr(type + std::wcslen(kTypeMark));
  const std::size_t number = behind.find(kNumberMark);
  if (number == std::wstring::npos) return LineKind::Broken;
  entry.type = behind.starts_with(kTeilbildMark) ? eFileType_Teilbild : eFileType_Plan;
  entry.number = _wtoi(behind.c_str() + number + std::wcslen(kNumberMark));
  return entry.number > 0 && entry.number <= kHighestNotUploaded ? LineKind::Entry : LineKind::Broken;
}

}  // namespace

std::wstring notUploadedText(const std::vector<NotUploadedEntry>& entries) {
  std::wstring text = L"< ? xml version = \"1.0\" encoding = \"utf-8\" ? >\n";
  text += L"<Quorvel_NotUploadedFiles file version = \"1.0\">\n";
  for (const NotUploadedEntry& entry : entries) {
    text += platform::formatWide(L"   <file type=%s number=%d>\n",
                                 entry.type == eFileType_Teilbild ? kTeilbildMark : L"PLAN", entry.number);
  }
  return text + L"</Quorvel_NotUploadedFiles>\n";
}

std::vector<int> readNotUploaded(platform::TextFile& file, std::vector<NotUploadedEntry>& entries) {
  std::vector<int> broken;
  std::set<NotUploadedEntry> known(entries.begin(), entries.end());
  std::wstring line;
  for (int number = 1; file.readLine(line, kLineBuffer); ++number) {
    NotUploadedEntry entry;
    const LineKind kind = parseLine(line, entry);
    if (kind == LineKind::Entry && known.insert(entry).second) entries.push_back(entry);
    if (kind == LineKind::Broken) broken.push_back(number);
  }
  return broken;
}

}  // namespace Quorvel::FileAccess
