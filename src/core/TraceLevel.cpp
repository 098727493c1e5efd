#include "core/ServiceState.h"
#include "host/System.h"
#include "zephor/Service.h"

namespace Quorvel::FileAccess {
namespace {

constexpr const wchar_t* kUserHive = L"HKCU";
constexpr int kMasterSwitch = 5;
constexpr int kDetailLevel = 1;

}  // namespace

int WGO_GetTrace() {
  std::atomic<int>& cached = serviceState().traceLevel;
  if (const int level = cached; level != kTraceLevelUnknown) return level;

  int level = kTraceLevelUnknown;
  if (ZSYST_ZepRegGetNumber(kUserHive, getTraceRegistrySection(kMasterSwitch), level)) {
    cached = level;
  } else {
    // The level stays unknown until the next call reads the 0 that is written here.
    ZSYST_ZepRegPutNumber(kUserHive, getTraceRegistrySection(kMasterSwitch), 0);
    return cached;
  }
  if (level < 1) return level;
  int detail = 0;
  if (ZSYST_ZepRegGetNumber(kUserHive, getTraceRegistrySection(kDetailLevel), detail)) cached = detail;
  return cached;
}

void WGO_SetTrace(int level) {
  serviceState().traceLevel = kTraceLevelUnknown;
  ZSYST_ZepRegPutNumber(kUserHive, getTraceRegistrySection(kMasterSwitch), level);
}

}  // namespace Quorvel::FileAccess
