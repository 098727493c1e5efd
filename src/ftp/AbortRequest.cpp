#include "ftp/AbortRequest.h"

#include <atomic>

namespace Quorvel::FileAccess {

namespace {
std::atomic<bool> requested = false;
static_assert(std::atomic<bool>::is_always_lock_free, "a signal handler sets it");
}  // namespace

void requestAbort(bool abort) {
  requested = abort;
}

bool isAbortRequested() {
  return requested;
}

}  // namespace Quorvel::FileAccess
