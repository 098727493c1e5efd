// What background work keeps for the whole process.
#pragma once

#include <atomic>
#include <cstddef>

#include "background/BackgroundLog.h"
#include "background/CorUploadCollector.h"
#include "background/FileTurns.h"
#include "background/UploadThreads.h"

namespace Quorvel::FileAccess {

/// Each member keeps its own locks.
struct BackgroundState {
  std::atomic<bool> running{false};
  std::atomic<std::size_t> uploads{0};    ///< whose log entry is not written yet
  std::atomic<std::size_t> deletions{0};  ///< the same
  UploadThreads uploadThreads;
  FileTurns turns;
  BackgroundLogs logs;
  CORUploadInfoCollector collector;
};

/// Never destroyed: threads that upload may still run at the exit.
BackgroundState& backgroundState();

}  // namespace Quorvel::FileAccess
