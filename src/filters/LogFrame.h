// Lines before and after an operation, which set its own lines apart in the error log.
#pragma once

#include <string>

#include "host/Trace.h"

namespace Quorvel::FileAccess {

class LogFrame {
 public:
  /// @param function  full name, a literal
  explicit LogFrame(const wchar_t* function) : function_(function) { write(L"Start"); }
  ~LogFrame() { write(L"End"); }
  LogFrame(const LogFrame&) = delete;
  LogFrame& operator=(const LogFrame&) = delete;

 private:
  void write(const wchar_t* word) const {
    const std::wstring rule(99, L'*');
    lfperrC(L"%s: %s\n", function_, rule);
    lfperrC(L"%s: \n", function_);
    lfperrC(L"%s: %s\n", function_, word);
    lfperrC(L"%s: \n", function_);
    lfperrC(L"%s: %s\n\n", function_, rule);
  }

  const wchar_t* function_;
};

}  // namespace Quorvel::FileAccess
