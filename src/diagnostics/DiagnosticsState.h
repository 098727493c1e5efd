// What the diagnostics keep for the whole process.
#pragma once

#include <atomic>
#include <mutex>
#include <string>
#include <thread>

#include "platform/Time.h"
#include "platform/WindowsTypes.h"

namespace Quorvel::FileAccess::ConnectionLogger {

/// What the last error box was and when it ended. Written under `lock` alone; `owner` is read without it, by threads
/// that look for themselves.
struct BoxMemory {
  std::recursive_mutex lock;
  std::atomic<std::thread::id> owner{};  ///< the thread that holds the lock; none while it is free
  int depth = 0;                         ///< how often the owner holds it
  int answer = 0;
  UINT style = 0;
  ULONGLONG endTick = 0;
};

struct DiagnosticsState {
  ULONGLONG (*tickCount)() = &GetTickCount64;
  DWORD (*sleep)(DWORD milliseconds, BOOL alertable) = &SleepEx;

  std::mutex pendingLock;
  std::wstring pendingText;  ///< for the next InternetExceptionResolve; under pendingLock

  wchar_t lastErrorText[1024] = {};  ///< the answer of getLastErrorString; for one thread at a time
  BoxMemory box;
};

DiagnosticsState& diagnosticsState();

}  // namespace Quorvel::FileAccess::ConnectionLogger
