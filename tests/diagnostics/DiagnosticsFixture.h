// A directory for the logs, a scripted user, and a clock that moves only when a test moves it.
#pragma once

#include <string>
#include <vector>

#include "diagnostics/DiagnosticsState.h"
#include "platform/Text.h"
#include "platform/UserInterface.h"
#include "tests/platform/TemporaryDirectory.h"
#include "workstation/ui/HostInterface.h"
#include "workstation/ui/ScriptedInterface.h"

namespace diag = Quorvel::FileAccess::ConnectionLogger;

class DiagnosticsTest : public TemporaryDirectoryTest {
 protected:
  DiagnosticsTest() {
    now += 1'000'000;
    slept = 0;
    platform::setUserInterface(&user);
    diag::diagnosticsState().tickCount = [] { return now; };
    diag::diagnosticsState().sleep = [](DWORD milliseconds, BOOL) -> DWORD {
      slept += milliseconds;
      return 0;
    };
  }
  ~DiagnosticsTest() override {
    workstation::stopDiagnostics();
    platform::setUserInterface(nullptr);
  }

  void traceAt(int level) const { workstation::startDiagnostics((root() / "logs").string(), level); }
  std::wstring trace() const { return platform::fromUtf8(read("logs/zephor-trace.log")); }

  workstation::ScriptedInterface user;
  static inline ULONGLONG now = 0;
  static inline DWORD slept = 0;
};
