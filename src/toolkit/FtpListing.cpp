// Facts of entries, and names.

#include "toolkit/FtpListing.h"

#include <algorithm>

#include "platform/Text.h"
#include "toolkit/FtpEntryText.h"

namespace Quorvel::FileAccess {

namespace {

/// @return false for what is neither file, directory nor link
bool takeType(std::string_view value, FtpEntry& entry) {
  const std::string type = lowerCase(value);
  entry.isDirectory = type == "dir";
  // "OS.unix=slink:/where", "OS.unix=symlink"
  entry.isLink = type.rfind("os.unix=slink", 0) == 0 || type.rfind("os.unix=symlink", 0) == 0;
  return entry.isDirectory || entry.isLink || type == "file";
}

/// Reads "name=value;" after "name=value;". @return false when there is no type, or one that is passed over
bool takeFacts(std::string_view facts, FtpEntry& entry) {
  bool hasType = false;
  while (!facts.empty()) {
    const std::string_view fact = facts.substr(0, facts.find(';'));
    facts.remove_prefix(std::min(fact.size() + 1, facts.size()));
    const std::size_t equals = fact.find('=');
    if (equals == std::string_view::npos) continue;
    const std::string name = lowerCase(fact.substr(0, equals));
    const std::string_view value = fact.substr(equals + 1);
    if (name == "type") {
      if (hasType || !takeType(value, entry)) return false;
      hasType = true;
    } else if (name == "size") {
      entry.size = parseSize(value);
    } else if (name == "modify") {
      entry.time = parseFtpTime(value);
    }
  }
  if (entry.isDirectory) entry.size.reset();
  return hasType;
}

std::optional<FtpEntry> parseFacts(std::string_view line, bool nameIsPath) {
  line = withoutLineEnd(line);
  if (!line.empty() && line[0] == ' ') line.remove_prefix(1);
  const std::size_t blank = line.find(' ');
  if (blank == std::string_view::npos || blank == 0 || line[blank - 1] != ';') return std::nullopt;
  FtpEntry entry;
  if (!takeFacts(line.substr(0, blank), entry)) return std::nullopt;
  std::string_view name = line.substr(blank + 1);
  if (nameIsPath) name = name.substr(name.rfind('/') + 1);
  if (!isEntryName(name)) return std::nullopt;
  entry.name = name;
  return entry;
}

}  // namespace

std::optional<FtpEntry> parseFactsLine(std::string_view line) {
  return parseFacts(line, false);
}

std::optional<FtpEntry> parseFactsOfOne(std::string_view line) {
  return parseFacts(line, true);
}

bool isFactsLine(std::string_view line) {
  return lowerCase(line.substr(0, line.find(' ', 1))).find("type=") != std::string::npos;
}

std::wstring nameOf(std::string_view bytes) {
  if (platform::isValidUtf8(bytes)) return platform::fromUtf8(bytes);
  std::wstring latin1;
  for (const char c : bytes) latin1 += static_cast<wchar_t>(static_cast<unsigned char>(c));
  return latin1;
}

bool matchesPattern(const std::wstring& name, const std::wstring& pattern) {
  const std::wstring text = platform::toLower(name);
  const std::wstring wanted = platform::toLower(pattern.empty() ? L"*" : pattern);
  constexpr std::size_t kNone = std::wstring::npos;
  std::size_t t = 0;
  std::size_t w = 0;
  // Where the last `*` stands, and how far into the text it reaches by now.
  std::size_t star = kNone;
  std::size_t reached = 0;
  while (t < text.size()) {
    if (w < wanted.size() && wanted[w] == L'*') {
      star = w++;
      reached = t;
    } else if (w < wanted.size() && (wanted[w] == L'?' || wanted[w] == text[t])) {
      ++w;
      ++t;
    } else if (star != kNone) {
      w = star + 1;
      t = ++reached;
    } else {
      return false;
    }
  }
  return wanted.find_first_not_of(L'*', w) == kNone;
}

}  // namespace Quorvel::FileAccess
