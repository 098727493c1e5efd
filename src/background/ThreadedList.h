// Running one list of elements: alone on the calling thread, or shared out over several threads while the calling
// thread polls progress. The calling thread then does none of the work and keeps its own connection.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>

#include "background/ShareOut.h"
#include "platform/WindowsTypes.h"

namespace Quorvel::FileAccess {

class IProgress;

namespace Threading {

/// Lists shorter than this gain nothing from more connections.
constexpr std::size_t kFewestForThreads = 6;

/// The user's setting, read at the first call of the process; one that is missing is written as 0.
bool isThreadingAllowed();

/// One list. The derived class says what is done with an element, and how its elements are shared out.
class ThreadedList : protected ListWork {
 public:
  ThreadedList(const ThreadedList&) = delete;
  ThreadedList& operator=(const ThreadedList&) = delete;

 protected:
  /// Work on the element with this index; the answer is an error code or 0.
  using Element = std::function<DWORD(std::size_t)>;

  explicit ThreadedList(const ShareOut& shareOut) : shareOut_(shareOut) {}

  /// Decides and runs. An exception of the thread library passes to the caller, one of an element counts as its error.
  /// @param threadFunc  what the worker thread of a threaded list does: it shares out
  /// @return the first error, or 0
  DWORD run(std::size_t count, const Element& element, const std::function<void()>& threadFunc, IProgress** progress);

  const ShareOut& shareOut() const { return shareOut_; }

 private:
  void workOn(std::size_t begin, std::size_t end) override;
  void runOnWorker(const std::function<void()>& threadFunc, IProgress** progress);
  void keepError(DWORD error);
  void step(IProgress** progress) const;

  ShareOut shareOut_;
  const Element* element_ = nullptr;
  std::atomic<std::uint64_t> done_ = 0;
  std::atomic<DWORD> firstError_ = 0;
};

}  // namespace Threading
}  // namespace Quorvel::FileAccess
