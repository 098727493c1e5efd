#include "toolkit/DirectoryListing.h"

#include "platform/Files.h"
#include "platform/Paths.h"
#include "toolkit/ArrivingFile.h"
#include "toolkit/FtpListing.h"

namespace Quorvel::FileAccess {

namespace {

class Find {
 public:
  explicit Find(const std::wstring& pattern) : handle_(FindFirstFileW(pattern.c_str(), &data_)) {}
  ~Find() {
    if (isOpen()) FindClose(handle_);
  }
  Find(const Find&) = delete;
  Find& operator=(const Find&) = delete;

  bool isOpen() const { return handle_ != INVALID_HANDLE_VALUE; }
  bool next() { return FindNextFileW(handle_, &data_) != FALSE; }
  const WIN32_FIND_DATAW& data() const { return data_; }
  std::vector<std::wstring> passedOver() const { return platform::namesPassedOver(handle_); }

 private:
  WIN32_FIND_DATAW data_{};
  HANDLE handle_;
};

/// A link to nothing has no size of its own.
bool leadsNowhere(const std::wstring& path) {
  return !platform::fileStatus(platform::weaklyCanonical(path)).exists;
}

DirectoryEntry toEntry(const WIN32_FIND_DATAW& data, const std::wstring& directory) {
  DirectoryEntry entry;
  entry.name = data.cFileName;
  entry.isDirectory = (data.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
  entry.isLink = (data.dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0;
  entry.isReadOnly = (data.dwFileAttributes & FILE_ATTRIBUTE_READONLY) != 0;
  const std::uint64_t size = (std::uint64_t{data.nFileSizeHigh} << 32U) | data.nFileSizeLow;
  if (!entry.isDirectory && size <= INT64_MAX) entry.size = static_cast<std::int64_t>(size);
  if (entry.isLink && entry.size == 0 && leadsNowhere(platform::joinPath(directory, entry.name))) entry.size = -1;
  entry.time = data.ftLastWriteTime;
  return entry;
}

}  // namespace

DWORD listDirectory(const std::wstring& directory, const std::wstring& pattern, Arriving arriving,
                    std::vector<DirectoryEntry>& out, std::vector<std::wstring>* unnamed) {
  Find find(platform::joinPath(directory, L"*"));
  if (!find.isOpen()) return GetLastError();
  do {
    const std::wstring name = find.data().cFileName;
    if (name == L"." || name == L".." || !matchesPattern(name, pattern)) continue;
    if (arriving == Arriving::Hidden && ArrivingFile::isNameOfOne(name)) continue;
    out.push_back(toEntry(find.data(), directory));
  } while (find.next());
  const DWORD error = GetLastError();
  if (unnamed != nullptr) *unnamed = find.passedOver();
  return error == ERROR_NO_MORE_FILES ? ERROR_SUCCESS : error;
}

DWORD findEntry(const std::wstring& path, std::vector<DirectoryEntry>& out) {
  const Find find(path);
  if (find.isOpen()) {
    out.push_back(toEntry(find.data(), platform::directoryOf(path)));
    return ERROR_SUCCESS;
  }
  const DWORD error = GetLastError();
  return error == ERROR_FILE_NOT_FOUND ? ERROR_SUCCESS : error;
}

DWORD removeEntry(const std::wstring& path, const DirectoryEntry& entry) {
  if (entry.isDirectory && !entry.isLink) return platform::removeTree(path);
  if (entry.isDirectory) return RemoveDirectoryW(path.c_str()) != FALSE ? ERROR_SUCCESS : GetLastError();
  // The attribute that is seen through a link is that of a file elsewhere.
  if (entry.isReadOnly && !entry.isLink) SetFileAttributesW(path.c_str(), FILE_ATTRIBUTE_NORMAL);
  return DeleteFileW(path.c_str()) != FALSE ? ERROR_SUCCESS : GetLastError();
}

}  // namespace Quorvel::FileAccess
