// Where trace lines, error lines and timings go.
#pragma once

#include <memory>
#include <string>

#include "host/Export.h"
#include "platform/Text.h"

/// One ready line to the host's error log. From any thread.
HOST_API void lfperrText(const std::wstring& line);

/// printf-like line to the host's error log; `%s` is wide.
template <typename... Arguments>
void lfperrC(const wchar_t* format, const Arguments&... arguments) {
  lfperrText(platform::formatWide(format, arguments...));
}

/// Writes one trace text to the host's console at level 1 to 4, when it is constructed.
class HOST_API CConsoleTrace {
 public:
  CConsoleTrace(const std::wstring& text, int level);
};

/// Trace line under a module number.
HOST_API void NTR_traceModul(int module, int level, const std::wstring& text);

/// Times a scope; the text goes to the trace at its end when `level` is above 0.
class HOST_API CTimeTrace {
 public:
  CTimeTrace(int level, const std::wstring& name, unsigned unit, bool nested, bool running);
  ~CTimeTrace();
  CTimeTrace(const CTimeTrace&) = delete;
  CTimeTrace& operator=(const CTimeTrace&) = delete;
  void start();
  void stop();
  void stopTimer();
  void setBytesRead(long long bytes);

 private:
  struct State;
  std::unique_ptr<State> state_;
};
