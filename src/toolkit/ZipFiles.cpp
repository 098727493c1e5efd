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
  const DWORD error = listDirectory(directory, L"*", Arriving::Hidden, found);
  if (error != ERROR_SUCCESS) return L"directory \"" + directory + L"\" can't be read: " + systemReason(error);
  for (const DirectoryEntry& item : found) {
    if (item.isLink) continue;
    const std::wstring path = platform::joinPath(directory, item.name);
    const std::wstring name = prefix + item.name;
    if (!item.isDirectory) {
      const auto size = static_cast<std::uint64_t>(std::max<std::int64_t>(0, item.size));
      if (isWanted(item, path, selection)) out.push_back(fileEntry(path, name, size, item.time));
      continue;
    }
    if (!selection.recurses || holds(selection.excludedDirectories, item.name)) continue;
    const std::size_t before = out.size();
    std::wstring reason = collectFiles(path, name + L"/", selection, out);
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
