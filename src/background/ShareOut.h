// Sharing a list out over threads of the threading library, and ending their connections with it.
#pragma once

#include <cstddef>

namespace Quorvel::FileAccess {

class IZepInetFileTransfer;
class IZepInetFileTransferInternal;

namespace Threading {

/// Threads that the threading library allows this process now; at least 1.
int allowedThreads();

/// Work on elements of a list, on any of its threads.
class ListWork {
 public:
  virtual ~ListWork() = default;
  virtual void workOn(std::size_t begin, std::size_t end) = 0;
};

/// How a list is shared out.
struct ShareOut {
  int threads = 1;
  /// Where each thread that worked ends its connection; null when there are none.
  IZepInetFileTransferInternal* connections = nullptr;
  /// Where each thread turns its dialogs off before it works; null when they stay as they are.
  IZepInetFileTransfer* silenced = nullptr;

  // Both answer when all is done and no thread of the list holds a connection any more, the calling one included. An
  // exception of the threading library passes, after that.

  /// Ranges, halved while they are longer than a thread's share of the list and than three elements: what is stolen is
  /// worth a connection.
  void ranges(std::size_t count, ListWork& work) const;
  /// Each element by itself.
  void elements(std::size_t count, ListWork& work) const;
};

}  // namespace Threading
}  // namespace Quorvel::FileAccess
