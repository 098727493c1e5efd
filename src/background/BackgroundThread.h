// Threads that go on by themselves, and what they say.
#pragma once

#include <atomic>
#include <cstddef>
#include <functional>
#include <string>

#include "host/Trace.h"

namespace Quorvel::FileAccess {

/// Runs work on a thread that nobody waits for. An exception of the work ends at the error log.
/// @param name   what debuggers show
/// @param count  raised from before the thread starts until the work is done
/// @return false when the system has no thread or no memory for it; nothing ran then
bool runDetached(const std::wstring& name, std::atomic<std::size_t>& count, std::function<void()> work);

/// A trace line of background work.
template <typename... Arguments>
void traceBackground(const wchar_t* format, const Arguments&... arguments) {
  const CConsoleTrace trace(platform::formatWide(format, arguments...), 4);
}

}  // namespace Quorvel::FileAccess
