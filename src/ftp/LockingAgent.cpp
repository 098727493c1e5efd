#include "zephor/LockingAgent.h"

#include "host/Locking.h"
#include "host/System.h"

namespace Quorvel::FileAccess {
namespace {

constexpr const wchar_t* kAgentSetting = L"Settings\\FileLockingAgent";

bool hasNetwork() {
  return lfnetg() || ZSYST_IsInetConnection();
}

}  // namespace

bool WGO_GetFileLockingAgend() {
  if (!hasNetwork()) return false;
  int value = 1;
  if (!ZSYST_ZepRegGetNumber(L"HKCU", kAgentSetting, value)) {
    value = 1;
    ZSYST_ZepRegPutNumber(L"HKCU", kAgentSetting, value);
  }
  return value >= 1;
}

bool WGO_SetFileLockingAgend(bool run) {
  if (!hasNetwork()) return false;
  const bool before = WGO_GetFileLockingAgend();
  ZSYST_ZepRegPutNumber(L"HKCU", kAgentSetting, run ? 1 : 0);
  IFileLockingAgentInternal& agent = getFileLockingAgentInternal();
  if (run) {
    agent.start();
  } else {
    agent.stop();
  }
  return before;
}

}  // namespace Quorvel::FileAccess
