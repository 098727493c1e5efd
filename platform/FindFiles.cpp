// Listings. The names of a directory are read at once when a listing begins, and each entry's status when its turn
// comes: an entry that vanished meanwhile is passed over, and one that comes meanwhile is not seen.

#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <memory>
#include <string>
#include <vector>

#include "platform/Attributes.h"
#include "platform/Descriptor.h"
#include "platform/DirectoryStream.h"
#include "platform/Errors.h"
#include "platform/FileWildcard.h"
#include "platform/Files.h"
#include "platform/Handles.h"
#include "platform/PathLookup.h"
#include "platform/Paths.h"
#include "platform/Text.h"

namespace {

using platform::Descriptor;
using platform::DirectoryStream;
using platform::EntryStatus;
using platform::fail;
using platform::WildcardPattern;

/// Names and keys in UTF-8, whose bytes stand in the order of the characters.
struct FoundName {
  std::string name;
  std::string sortKey;
};

struct FoundNames {
  std::vector<FoundName> names;
  std::vector<std::wstring> passedOver;  ///< in no order
  int error = 0;                         ///< errno that ended the reading early
};

class FindObject : public platform::HandleObject {
 public:
  /// @param descriptor  the directory, open; may be none
  FindObject(std::string directory, Descriptor descriptor, FoundNames found)
      : path_(std::move(directory)),
        directoryLength_(path_.size() + 1),
        names_(std::move(found.names)),
        passedOver_(std::move(found.passedOver)),
        descriptor_(std::move(descriptor)) {
    path_ += '/';
    if (found.error != 0) failure_ = platform::fromErrno(found.error);
  }

  /// @return 0; ERROR_NO_MORE_FILES at the end; another error at the end of a listing that is not whole
  DWORD next(WIN32_FIND_DATAW& data) {
    while (position_ < names_.size()) {
      const std::string& name = names_[position_++].name;
      path_.replace(directoryLength_, std::string::npos, name);
      EntryStatus status;
      const int error = platform::readStatus(descriptor_.get(), name.c_str(), path_, status);
      if (error == 0 && fillData(status, name, data)) return ERROR_SUCCESS;
      if (error != 0 && error != ENOENT && failure_ == ERROR_NO_MORE_FILES) failure_ = platform::fromErrno(error);
    }
    return failure_;
  }

  const std::vector<std::wstring>& passedOver() const { return passedOver_; }

  bool isClosedByCloseHandle() const override { return false; }

 private:
  static bool fillData(const EntryStatus& status, const std::string& name, WIN32_FIND_DATAW& data) {
    // Pipes, sockets and devices are no files that anybody here could work with.
    if (!S_ISREG(status.mode) && !S_ISDIR(status.mode) && !S_ISLNK(status.mode)) return false;
    const std::wstring wide = platform::fromUtf8(name);
    if (wide.size() >= MAX_PATH) return false;
    data = WIN32_FIND_DATAW();
    data.dwFileAttributes = status.attributes;
    data.ftCreationTime = status.creation;
    data.ftLastAccessTime = status.access;
    data.ftLastWriteTime = status.write;
    data.nFileSizeHigh = static_cast<DWORD>(status.size >> 32U);
    data.nFileSizeLow = static_cast<DWORD>(status.size & 0xFFFFFFFFU);
    std::copy(wide.begin(), wide.end(), data.cFileName);
    return true;
  }

  std::string path_;  // of the directory with its separator, then of the entry that is looked at
  std::size_t directoryLength_;
  std::vector<FoundName> names_;
  std::vector<std::wstring> passedOver_;
  Descriptor descriptor_;
  std::size_t position_ = 0;
  DWORD failure_ = ERROR_NO_MORE_FILES;
};

bool isAscii(std::string_view text) {
  return std::all_of(text.begin(), text.end(), [](char c) { return static_cast<unsigned char>(c) < 0x80; });
}

std::string upperKey(std::string_view name) {
  if (!isAscii(name)) return platform::toUtf8(platform::toUpper(platform::fromUtf8(name)));
  std::string key(name);
  for (char& c : key) c = c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
  return key;
}

/// Names that match, `.` and `..` first, the others in the order of a Windows volume: by letter without case.
FoundNames matchingNames(DirectoryStream& stream, const std::wstring& pattern) {
  const bool matchesAll = pattern == L"*";
  const WildcardPattern matcher(pattern);
  FoundNames found;
  while (const char* entry = stream.next()) {
    const std::string_view name = entry;
    if (!matchesAll && !matcher.matches(platform::fromUtf8(name))) continue;
    // A name with a backslash would be taken for a path.
    if (name.find('\\') != std::string_view::npos || !platform::isValidUtf8(name)) {
      found.passedOver.push_back(platform::fromUtf8(name));
      continue;
    }
    const bool isDots = name == "." || name == "..";
    found.names.push_back({std::string(name), isDots ? std::string(name.size(), '\1') : upperKey(name)});
  }
  found.error = stream.error();
  std::sort(found.names.begin(), found.names.end(), [](const FoundName& a, const FoundName& b) {
    const int order = a.sortKey.compare(b.sortKey);
    return order != 0 ? order < 0 : a.name < b.name;
  });
  return found;
}

DWORD beginListing(const std::wstring& directory, const std::wstring& pattern, std::shared_ptr<FindObject>& find) {
  platform::Location place;
  if (WildcardPattern::hasWildcard(directory)) return ERROR_INVALID_NAME;
  if (const DWORD error = platform::locate(directory.c_str(), place)) return error;
  DirectoryStream stream(place.path);
  if (!stream && stream.error() == ENOTDIR) return ERROR_DIRECTORY;
  if (!stream) return stream.error() == ENOENT ? ERROR_PATH_NOT_FOUND : platform::fromErrno(stream.error());
  FoundNames found = matchingNames(stream, pattern);
  Descriptor descriptor(::fcntl(stream.descriptor(), F_DUPFD_CLOEXEC, 0));
  find = std::make_shared<FindObject>(place.path, std::move(descriptor), std::move(found));
  return ERROR_SUCCESS;
}

/// A path without a wildcard stands for the one entry, under its name on the disk.
DWORD findSingle(const wchar_t* path, std::shared_ptr<FindObject>& find) {
  platform::Location place;
  if (const DWORD error = platform::locate(path, place)) return error;
  EntryStatus status;
  if (const int error = platform::readStatus(place.path, status)) return platform::pathError(error, place.path);
  FoundNames found;
  found.names.push_back({platform::nameOf(place.path), {}});
  find = std::make_shared<FindObject>(platform::parentOf(place.path), Descriptor(), std::move(found));
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
  if (error == ERROR_SUCCESS) {
    error = find->next(*data);
    if (error == ERROR_NO_MORE_FILES) error = ERROR_FILE_NOT_FOUND;
  }
  if (error != ERROR_SUCCESS) {
    SetLastError(error);
    return INVALID_HANDLE_VALUE;
  }
  return platform::insertHandle(std::move(find));
}

BOOL FindNextFileW(HANDLE find, WIN32_FIND_DATAW* data) {
  const auto object = platform::findHandleOf<FindObject>(find);
  if (!object) return FALSE;
  const DWORD error = object->next(*data);
  return error == ERROR_SUCCESS ? TRUE : fail(error);
}

BOOL FindClose(HANDLE find) {
  if (!platform::findHandleOf<FindObject>(find)) return FALSE;
  platform::removeHandle(find);
  return TRUE;
}

std::vector<std::wstring> platform::namesPassedOver(HANDLE find) {
  const auto object = findHandleOf<FindObject>(find);
  return object ? object->passedOver() : std::vector<std::wstring>();
}
