#include <algorithm>

#include "host/Trace.h"
#include "platform/EmptyTree.h"
#include "platform/Files.h"
#include "zephor/ProjectAdministration.h"

namespace Quorvel::FileAccess {
namespace {

constexpr DWORD kLinkedDirectory = FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_REPARSE_POINT;

bool isDirectory(const WIN32_FIND_DATAW& entry) {
  return (entry.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

bool isLinkedDirectory(DWORD attributes) {
  return attributes != INVALID_FILE_ATTRIBUTES && (attributes & kLinkedDirectory) == kLinkedDirectory;
}

template <typename Visit>
void forEachEntry(const std::wstring& pattern, Visit visit) {
  WIN32_FIND_DATAW entry{};
  const HANDLE find = FindFirstFileW(pattern.c_str(), &entry);
  if (find == INVALID_HANDLE_VALUE) return;
  do {
    visit(entry);
  } while (FindNextFileW(find, &entry) != FALSE);
  FindClose(find);
}

}  // namespace

bool WGO_deleteLocalDirectoryTree(const wchar_t* directory, bool removeRoot, std::vector<std::wstring>& keepFiles,
                                  std::vector<std::wstring>* directories) {
  // Behind an empty text there would be the root of the volume.
  if (directory == nullptr || *directory == L'\0') return false;
  const std::wstring root = directory;
  const bool isNested = directories != nullptr;
  if (!isNested && !removeRoot && isLinkedDirectory(GetFileAttributesW(directory))) {
    lfperrC(L"%s: \"%s\" is a link, what it leads to is not deleted\n",
            L"Quorvel::FileAccess::WGO_deleteLocalDirectoryTree", root);
    return false;
  }
  std::vector<std::wstring> own{root};
  std::vector<std::wstring>& found = isNested ? *directories : own;
  if (!isLinkedDirectory(GetFileAttributesW(directory))) {
    forEachEntry(root + L"\\*", [&](const WIN32_FIND_DATAW& entry) {
      if (!isDirectory(entry) || entry.cFileName[0] == L'.') return;
      const std::wstring below = root + L"\\" + entry.cFileName;
      found.push_back(below);
      WGO_deleteLocalDirectoryTree(below.c_str(), removeRoot, keepFiles, &found);
    });
  }
  if (isNested) return true;
  std::vector<std::wstring> below;
  for (auto place = found.rbegin(); place != found.rend(); ++place) {
    below.push_back(place->substr(std::min(root.size() + 1, place->size())));
  }
  platform::emptyDirectories(root, below, [&keepFiles](const std::wstring& name) {
    return std::find(keepFiles.begin(), keepFiles.end(), name) == keepFiles.end();
  });
  // One that still holds a kept file stays.
  if (removeRoot) RemoveDirectoryW(directory);
  return true;
}

}  // namespace Quorvel::FileAccess
