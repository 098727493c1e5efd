// The few services of the file system that the store needs beyond plain reading and writing: files made new, synced,
// renamed without replacing, times, sweeping. Paths are UTF-8 paths of the system. Failures are thrown as StoreError
// with the path.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "platform/WindowsTypes.h"
#include "workstation/Export.h"

namespace workstation {

/// An open file, closed at the end of its scope.
class DiskFile {
 public:
  static DiskFile createNew(const std::string& path);
  static DiskFile createOrEmpty(const std::string& path);
  /// Nothing when there is no such file.
  static std::optional<DiskFile> openToRead(const std::string& path);
  DiskFile(DiskFile&& other) noexcept;
  DiskFile(const DiskFile&) = delete;
  DiskFile& operator=(const DiskFile&) = delete;
  DiskFile& operator=(DiskFile&&) = delete;
  ~DiskFile();

  /// @return bytes read, 0 at the end
  std::size_t read(std::uint8_t* buffer, std::size_t size);
  void write(const std::uint8_t* data, std::size_t size);
  void setWriteTime(const FILETIME& time);
  void sync();
  /// Closes and reports what the system had kept back.
  void close();

 private:
  DiskFile(int descriptor, std::string path) : descriptor_(descriptor), path_(std::move(path)) {}
  int descriptor_;
  std::string path_;
};

/// A lock of a whole file between processes, given back when it goes or when the process ends.
class DiskLock {
 public:
  enum class Kind : std::uint8_t { Shared, ExclusiveOrNothing };
  /// Waits for a shared one. @return nothing when an exclusive one can't be had at once
  static std::optional<DiskLock> take(const std::string& path, Kind kind);
  DiskLock(DiskLock&& other) noexcept;
  DiskLock(const DiskLock&) = delete;
  DiskLock& operator=(const DiskLock&) = delete;
  DiskLock& operator=(DiskLock&&) = delete;
  ~DiskLock();

 private:
  explicit DiskLock(int descriptor) : descriptor_(descriptor) {}
  int descriptor_;
};

struct DiskEntry {
  std::string name;
  bool isDirectory = false;
  std::uint64_t size = 0;
  std::int64_t modifiedSeconds = 0;  ///< since 1970
  std::int64_t changedSeconds = 0;   ///< of its content, names or attributes; nobody sets it
};

/// Status of a path without following a link; nothing when there is none.
struct DiskStatus {
  bool isDirectory = false;
  bool readOnly = false;
  std::uint64_t size = 0;
  std::int64_t modifiedSeconds = 0;
  bool isLink = false;
  std::int64_t modifiedTicks = 0;  ///< 100 ns since 1601, UTC
};
std::optional<DiskStatus> diskStatus(const std::string& path);
/// False for a directory or file that this process may not write.
bool mayWrite(const std::string& path);
std::vector<DiskEntry> listDirectory(const std::string& path);
/// Makes one directory. @return false when it was there
bool makeDirectory(const std::string& path);
/// Gives a directory, or a file as far as files have them, the permissions of a directory, if this user may.
void copyPermissions(const std::string& from, const std::string& to) noexcept;
/// Makes a directory with its parents.
void makeDirectories(const std::string& path);
/// Renames unless the target exists. @return false when it exists; nothing is then changed
bool renameWithoutReplacing(const std::string& from, const std::string& to);
/// Renames over whatever file is there.
void renameReplacing(const std::string& from, const std::string& to);
/// Two files take each other's name in one step. @return false where the file system can't do that
bool exchangeNames(const std::string& one, const std::string& other);
/// Whether a file is open for writing anywhere on this machine. False where the system does not tell: a file of another
/// user, or a file system without leases.
WORKSTATION_API bool isOpenForWriting(const std::string& path) noexcept;
/// @return false when it can't be removed
bool removeFile(const std::string& path) noexcept;
/// Makes the content of a file, or the entries of a directory, survive a loss of power.
void syncPath(const std::string& path);
/// The same for all that was written to the file system of `path`.
void syncFileSystem(const std::string& path);
/// Makes files below a library path outlive a loss of power with their names; one that is gone is passed over.
void requireDurable(const std::wstring& root, const std::vector<std::wstring>& names);
std::int64_t nowSeconds();
/// Waits, some milliseconds at most, until whoever writes a file of that time gives it another one. What is read of the
/// file behind that belongs to its time.
/// @param modifiedTicks  100 ns since 1601, UTC
void waitForLaterTime(std::int64_t modifiedTicks);

}  // namespace workstation
