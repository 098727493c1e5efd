// "OndrathBackgroundService.log.xml": what background work did in a project's directory since the manager was started.
#pragma once

#include <cstdint>
#include <map>
#include <mutex>
#include <string>

namespace Quorvel::FileAccess {

/// The log of one directory. Any thread. A log that can't be written hurts nobody: the error log says so once, and the
/// next entry writes everything again.
class BackgroundLog {
 public:
  explicit BackgroundLog(const std::wstring& directory);

  /// Empties it; the file is gone then.
  void restart();
  /// Answers when the file holds the entry, behind those that were appended before. The file is written whole beside
  /// its place and renamed; an entry that came while another was being written goes with all others that did.
  /// @param kind      Upload or Delete
  /// @param relative  path below the directory
  void append(const wchar_t* kind, const std::wstring& relative, std::uint32_t result);

 private:
  void publish(std::uint64_t change);
  bool remove() const;
  bool write(const std::string& text) const;

  const std::wstring path_;
  std::mutex entriesLock_;
  std::string entries_;  ///< in UTF-8
  std::uint64_t changes_ = 0;
  std::mutex fileLock_;
  std::uint64_t written_ = 0;  ///< the last change that the file was written for
  bool isFailureTold_ = false;
};

/// The logs of all directories of this process: work on a project that was closed goes on into its own.
class BackgroundLogs {
 public:
  BackgroundLog& of(const std::wstring& directory);

 private:
  std::mutex lock_;
  std::map<std::wstring, BackgroundLog> logs_;
};

}  // namespace Quorvel::FileAccess
