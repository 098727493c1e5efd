// Exact reads and writes of one open file, in blocks, with the error code as the answer.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>

#include "platform/WindowsTypes.h"
#include "workstation/Export.h"

namespace workstation {

constexpr std::size_t kBlockSize = std::size_t{1} << 20U;

/// A file that is closed by the destructor when it was opened here. Operations answer 0 or the error.
class WORKSTATION_API BlockFile {
 public:
  BlockFile() = default;
  /// Works on a handle that stays the caller's.
  explicit BlockFile(HANDLE borrowed) : handle_(borrowed), owned_(false) {}
  ~BlockFile();
  BlockFile(const BlockFile&) = delete;
  BlockFile& operator=(const BlockFile&) = delete;

  DWORD openForReading(const std::wstring& path);
  /// Makes a new file; one of that name is an error.
  /// @param replaced  the file whose place it is going to take, with that one's permissions; it may be missing
  DWORD create(const std::wstring& path, const std::wstring& replaced = {});
  DWORD size(std::uint64_t& out) const;
  /// Fewer bytes than asked for: ERROR_HANDLE_EOF.
  DWORD readAt(std::uint64_t position, void* buffer, std::size_t size) const;
  /// Reads what is left, at most `size` bytes, from the current position.
  DWORD readSome(void* buffer, std::size_t size, std::size_t& read) const;
  DWORD writeAt(std::uint64_t position, const void* buffer, std::size_t size) const;
  DWORD seek(std::uint64_t position) const;
  /// Cuts the file behind `size` bytes and brings it to the disk.
  DWORD finish(std::uint64_t size) const;
  DWORD close();

 private:
  HANDLE handle_ = nullptr;
  bool owned_ = false;
};

/// Sees each block that was copied.
using BlockObserver = std::function<void(const std::uint8_t* block, std::size_t size)>;

/// Copies from the current position of `from` to its end, or `limit` bytes, to `position` of `to`.
/// @param copied  bytes copied, also after an error
WORKSTATION_API DWORD copyBlocks(const BlockFile& from, const BlockFile& to, std::uint64_t position,
                                 std::uint64_t limit, const BlockObserver& observer, std::uint64_t& copied);

/// A name beside `path` that no other writer uses; its ending keeps it out of every transfer.
WORKSTATION_API std::wstring temporaryBeside(const std::wstring& path);

/// Removes a file when the scope ends, unless it was released.
class WORKSTATION_API TemporaryFileGuard {
 public:
  explicit TemporaryFileGuard(std::wstring path) : path_(std::move(path)) {}
  ~TemporaryFileGuard();
  TemporaryFileGuard(const TemporaryFileGuard&) = delete;
  TemporaryFileGuard& operator=(const TemporaryFileGuard&) = delete;
  const std::wstring& path() const { return path_; }
  void release() { path_.clear(); }

 private:
  std::wstring path_;
};

}  // namespace workstation
