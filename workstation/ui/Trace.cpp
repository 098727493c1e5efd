#include "host/Trace.h"

#include <chrono>

#include "workstation/ui/Diagnostics.h"

namespace {

using Clock = std::chrono::steady_clock;

double milliseconds(Clock::duration duration) {
  return std::chrono::duration<double, std::milli>(duration).count();
}

}  // namespace

void lfperrText(const std::wstring& line) {
  workstation::writeErrorLine(line);
}

CConsoleTrace::CConsoleTrace(const std::wstring& text, int level) {
  if (workstation::isTraced(level)) workstation::writeTraceText(text);
}

void NTR_traceModul(int module, int level, const std::wstring& text) {
  if (workstation::isTraced(level)) {
    workstation::writeTraceText(platform::formatWide(L"[%d] %s", module, text));
  }
}

struct CTimeTrace::State {
  std::wstring name;
  Clock::time_point startedAt;
  Clock::duration spent{};
  bool running = false;
  long long bytes = -1;
};

// Untimed scopes cost nothing: without a level there is no state, and every operation does nothing.
CTimeTrace::CTimeTrace(int level, const std::wstring& name, unsigned /*unit*/, bool /*nested*/, bool running) {
  if (level <= 0) return;
  state_ = std::make_unique<State>();
  state_->name = name;
  if (running) start();
}

CTimeTrace::~CTimeTrace() {
  if (state_ == nullptr) return;
  stop();
  const double spent = milliseconds(state_->spent);
  std::wstring text = platform::formatWide(L"%s: %.3f ms", state_->name, spent);
  if (state_->bytes >= 0) text += platform::formatWide(L", %lld bytes", state_->bytes);
  workstation::writeTraceText(text);
}

void CTimeTrace::start() {
  if (state_ == nullptr || state_->running) return;
  state_->startedAt = Clock::now();
  state_->running = true;
}

void CTimeTrace::stop() {
  if (state_ == nullptr || !state_->running) return;
  state_->spent += Clock::now() - state_->startedAt;
  state_->running = false;
}

void CTimeTrace::stopTimer() {
  stop();
}

void CTimeTrace::setBytesRead(long long bytes) {
  if (state_ != nullptr) state_->bytes = bytes;
}
