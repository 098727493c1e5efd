// Whose turn it is with a file: uploads and deletions of one file follow one another, so that the store ends with what
// the file was last.
#pragma once

#include <condition_variable>
#include <mutex>
#include <set>
#include <string>

namespace Quorvel::FileAccess {

class FileTurns {
 public:
  /// Waits until nobody else has the turn of this key.
  void take(const std::wstring& key);
  void give(const std::wstring& key);

 private:
  std::mutex lock_;
  std::condition_variable given_;
  std::set<std::wstring> taken_;
};

/// Has a turn while it lives.
class FileTurn {
 public:
  FileTurn(FileTurns& turns, std::wstring key);
  ~FileTurn();
  FileTurn(const FileTurn&) = delete;
  FileTurn& operator=(const FileTurn&) = delete;

 private:
  FileTurns& turns_;
  std::wstring key_;
};

}  // namespace Quorvel::FileAccess
