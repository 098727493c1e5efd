#include <algorithm>

#include "host/Trace.h"
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

void removeFiles(const std::wstring& directory, const std::vector<std::wstring>& keepFiles) {
  // Also when it became a link after it was found: what lies behind one is not of this tree.
  if (isLinkedDirectory(GetFileAttributesW(directory.c_str()))) return;
  forEachEntry(directory + L"\\*.*", [&](const WIN32_FIND_DATAW& entry) {
    const bool isKept = std::find(keepFiles.begin(), keepFiles.end(), entry.cFileName) != keepFiles.end();
    if (!isDirectory(entry) && !isKept) _wunlink((directory + L"\\" + entry.cFileName).c_str());
  });
}

}  // namespace

bool WGO_deleteLocalDirectoryTree(const wchar_t* directory, bool removeRoot, std::vector<std::wstring>& keepFiles,
                                  std::vector<std::wstring>* directories) {
  if (directory == nullptr) return false;
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
  for (auto place = found.rbegin(); place != found.rend(); ++place) {
    removeFiles(*place, keepFiles);
    // One that still holds a kept file stays.
    if (removeRoot || *place != root) RemoveDirectoryW(place->c_str());
  }
  return true;
}

}  // namespace Quorvel::FileAccess
