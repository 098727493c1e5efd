#include "background/FileTurns.h"

#include <utility>

namespace Quorvel::FileAccess {

void FileTurns::take(const std::wstring& key) {
  std::unique_lock guard(lock_);
  given_.wait(guard, [&] { return !taken_.contains(key); });
  taken_.insert(key);
}

void FileTurns::give(const std::wstring& key) {
  // Notified under the lock: who gave its turn back touches nothing here any more.
  const std::lock_guard guard(lock_);
  taken_.erase(key);
  given_.notify_all();
}

FileTurn::FileTurn(FileTurns& turns, std::wstring key) : turns_(turns), key_(std::move(key)) {
  turns_.take(key_);
}

FileTurn::~FileTurn() {
  turns_.give(key_);
}

}  // namespace Quorvel::FileAccess
