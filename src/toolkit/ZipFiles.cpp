#include "toolkit/ZipFiles.h"

#include <algorithm>

#include "platform/Files.h"
#include "platform/Paths.h"
#include "platform/Text.h"
#include "toolkit/DirectoryListing.h"
#include "toolkit/FtpListing.h"
#include "toolkit/ZipLibrary.h"

namespace Quorvel::FileAccess {

namespace {

bool holds(const std::vector<std::wstring>& names, const std::wstring& name) {
  return std::any_of(names.begin(), names.end(),
                     [&name](const std::wstring& other) { return platform::equalsIgnoreCase(other, name); });
}

bool isWanted(const DirectoryEntry& file, const std::wstring& path, const ZipSelection& selection) {
  return matchesPattern(file.name, selection.pattern) && !holds(selection.excludedNames, file.name) &&
         !platform::equalsIgnoreCase(path, selection.archive);
}

/// A log or journal of a database, whose file stands beside it.
bool isOfDatabase(const DirectoryEntry& file, const std::vector<DirectoryEntry>& all) {
  for (const std::wstring_view ending : {L"-wal", L"-journal"}) {
    if (!platform::endsWithIgnoreCase(file.name, ending)) continue;
    const std::wstring base = file.name.substr(0, file.name.size() - ending.size());
    return std::any_of(all.begin(), all.end(), [&base](const DirectoryEntry& other) { return other.name == base; });
  }
  return false;
}

/// Lists a directory whole. @return the reason when that can't be done
std::wstring list(const std::wstring& directory, std::vector<DirectoryEntry>& found) {
  std::vector<std::wstring> unnamed;
  const DWORD error = listDirectory(directory, L"*", Arriving::Hidden, found, &unnamed);
  if (error != ERROR_SUCCESS) return L"directory \"" + directory + L"\" can't be read: " + systemReason(error);
  if (unnamed.empty()) return {};
  return L"directory \"" + directory + L"\": the name \"" + unnamed.front() + L"\" can't be read: UTF-8 without " +
         L"backslashes expected";
}

}  // namespace

ZipEntry fileEntry(const std::wstring& path, const std::wstring& name, std::uint64_t size, const FILETIME& time) {
  ZipEntry entry;
  entry.kind = ZipEntry::Kind::File;
  entry.name = name;
  entry.path = path;
  entry.size = size;
  entry.time = time;
  return entry;
}

std::wstring collectFiles(const std::wstring& directory, const std::wstring& prefix, const ZipSelection& selection,
                          std::vector<ZipEntry>& out) {
  std::vector<DirectoryEntry> found;
  std::wstring reason = list(directory, found);
  if (!reason.empty()) return reason;
  for (const DirectoryEntry& item : found) {
    const std::wstring path = platform::joinPath(directory, item.name);
    if (item.isLink) {
      if (selection.links != nullptr) selection.links->push_back(path);
      continue;
    }
    const std::wstring name = prefix + item.name;
    if (!item.isDirectory) {
      const auto size = static_cast<std::uint64_t>(std::max<std::int64_t>(0, item.size));
      if (!isWanted(item, path, selection)) continue;
      out.push_back(fileEntry(path, name, size, item.time));
      out.back().isOfDatabase = isOfDatabase(item, found);
      continue;
    }
    if (!selection.recurses || holds(selection.excludedDirectories, item.name)) continue;
    const std::size_t before = out.size();
    reason = collectFiles(path, name + L"/", selection, out);
    if (!reason.empty()) return reason;
    if (out.size() > before) continue;
    ZipEntry& empty = out.emplace_back();
    empty.kind = ZipEntry::Kind::Directory;
    empty.name = name + L"/";
    empty.time = item.time;
  }
  return {};
}

}  // namespace Quorvel::FileAccess
