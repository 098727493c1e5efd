// Listings. The names of a directory are read at once when a listing begins, and each entry's status when its turn
// comes: an entry that vanished meanwhile is passed over, and one that comes meanwhile is not seen.

#include <dirent.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <memory>
#include <string>
#include <vector>

#include "platform/Attributes.h"
#include "platform/Errors.h"
#include "platform/FileWildcard.h"
#include "platform/Files.h"
#include "platform/Handles.h"
#include "platform/PathLookup.h"
#include "platform/Paths.h"
#include "platform/Text.h"

namespace {

using platform::EntryStatus;
using platform::fail;
using platform::WildcardPattern;

struct FoundName {
  std::wstring name;
  std::wstring sortKey;
};

bool fillData(const std::string& path, const std::wstring& name, WIN32_FIND_DATAW& data) {
  EntryStatus status;
  if (platform::readStatus(path, status) != 0 || name.size() >= MAX_PATH) return false;
  // Pipes, sockets and devices are no files that anybody here could work with.
  if (!S_ISREG(status.mode) && !S_ISDIR(status.mode) && !S_ISLNK(status.mode)) return false;
  data = WIN32_FIND_DATAW();
  data.dwFileAttributes = status.attributes;
  data.ftCreationTime = status.creation;
  data.ftLastAccessTime = status.access;
  data.ftLastWriteTime = status.write;
  data.nFileSizeHigh = static_cast<DWORD>(status.size >> 32U);
  data.nFileSizeLow = static_cast<DWORD>(status.size & 0xFFFFFFFFU);
  std::copy(name.begin(), name.end(), data.cFileName);
  return true;
}

class FindObject : public platform::HandleObject {
 public:
  FindObject(std::string directory, std::vector<FoundName> names)
      : directory_(std::move(directory)), names_(std::move(names)) {}

  /// @return false at the end
  bool next(WIN32_FIND_DATAW& data) {
    while (position_ < names_.size()) {
      const std::wstring& name = names_[position_++].name;
      if (fillData(directory_ + '/' + platform::toUtf8(name), name, data)) return true;
    }
    return false;
  }

  bool isClosedByCloseHandle() const override { return false; }

 private:
  std::string directory_;
  std::vector<FoundName> names_;
  std::size_t position_ = 0;
};

/// Names that match, `.` and `..` first, the others in the order of a Windows volume: by letter without case.
std::vector<FoundName> matchingNames(DIR* stream, const WildcardPattern& pattern) {
  std::vector<FoundName> names;
  while (const dirent* entry = ::readdir(stream)) {
    const std::string_view name = entry->d_name;
    // A name with a backslash would be taken for a path.
    if (name.find('\\') != std::string_view::npos || !platform::isValidUtf8(name)) continue;
    std::wstring wide = platform::fromUtf8(name);
    if (!pattern.matches(wide)) continue;
    const bool isDots = name == "." || name == "..";
    std::wstring key = isDots ? std::wstring(name.size(), L'\1') : platform::toUpper(wide);
    names.push_back({std::move(wide), std::move(key)});
  }
  std::sort(names.begin(), names.end(), [](const FoundName& a, const FoundName& b) {
    return a.sortKey != b.sortKey ? a.sortKey < b.sortKey : a.name < b.name;
  });
  return names;
}

DWORD beginListing(const std::wstring& directory, const std::wstring& pattern, std::shared_ptr<FindObject>& find) {
  platform::Location place;
  if (WildcardPattern::hasWildcard(directory)) return ERROR_INVALID_NAME;
  if (const DWORD error = platform::locate(directory.c_str(), place)) return error;
  const std::unique_ptr<DIR, int (*)(DIR*)> stream(::opendir(place.path.c_str()), ::closedir);
  if (!stream && errno == ENOTDIR) return ERROR_DIRECTORY;
  if (!stream) return errno == ENOENT ? ERROR_PATH_NOT_FOUND : platform::fromErrno(errno);
  auto names = matchingNames(stream.get(), WildcardPattern(pattern));
  find = std::make_shared<FindObject>(place.path, std::move(names));
  return ERROR_SUCCESS;
}

/// A path without a wildcard stands for the one entry, under its name on the disk.
DWORD findSingle(const wchar_t* path, std::shared_ptr<FindObject>& find) {
  platform::Location place;
  if (const DWORD error = platform::locate(path, place)) return error;
  EntryStatus status;
  if (const int error = platform::readStatus(place.path, status)) return platform::pathError(error, place.path);
  std::vector<FoundName> names{{platform::fromUtf8(platform::nameOf(place.path)), {}}};
  find = std::make_shared<FindObject>(platform::parentOf(place.path), std::move(names));
  return ERROR_SUCCESS;
}

DWORD beginFind(const std::wstring& path, std::shared_ptr<FindObject>& find) {
  const std::size_t nameBegin = path.find_last_of(L"\\/:") + 1;  // 0 when the path is a name alone
  const std::wstring name = path.substr(nameBegin);
  // A separator at the end leaves nothing to look for.
  if (name.empty()) return path.empty() ? ERROR_PATH_NOT_FOUND : ERROR_FILE_NOT_FOUND;
  const std::wstring directory = nameBegin == 0 ? L"." : path.substr(0, nameBegin);
  if (!WildcardPattern::hasWildcard(name)) {
    return WildcardPattern::hasWildcard(directory) ? ERROR_INVALID_NAME : findSingle(path.c_str(), find);
  }
  return beginListing(directory, name, find);
}

}  // namespace

HANDLE FindFirstFileW(const wchar_t* pattern, WIN32_FIND_DATAW* data) {
  std::shared_ptr<FindObject> find;
  DWORD error = pattern == nullptr || data == nullptr ? ERROR_PATH_NOT_FOUND : beginFind(pattern, find);
  if (error == ERROR_SUCCESS && !find->next(*data)) error = ERROR_FILE_NOT_FOUND;
  if (error != ERROR_SUCCESS) {
    SetLastError(error);
    return INVALID_HANDLE_VALUE;
  }
  return platform::insertHandle(std::move(find));
}

BOOL FindNextFileW(HANDLE find, WIN32_FIND_DATAW* data) {
  const auto object = platform::findHandleOf<FindObject>(find);
  if (!object) return FALSE;
  return object->next(*data) ? TRUE : fail(ERROR_NO_MORE_FILES);
}

BOOL FindClose(HANDLE find) {
  if (!platform::findHandleOf<FindObject>(find)) return FALSE;
  platform::removeHandle(find);
  return TRUE;
}
