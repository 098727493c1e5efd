#include "zephor/BackgroundChanges.h"

namespace Quorvel::FileAccess {

void WGO_callbackManageChanges(const std::wstring& /*fullPath*/, unsigned long /*action*/) {}

WGO_ChangesCallback WGO_callbackManageChangesFkt() {
  return WGO_callbackManageChanges;
}

void WGO_SetBackgroundChangesManagerRunning(bool /*running*/, bool /*withCollector*/) {}

bool WGO_IsBackgroundChangesManagerRunning() {
  return false;
}

void WGO_callbackManageChangesCORForWG(const std::wstring& /*fullPath*/, unsigned long /*action*/) {}

WGO_ChangesCallback WGO_callbackManageChangesCORForWGFkt() {
  return WGO_callbackManageChangesCORForWG;
}

WGO_BackgroundWork WGO_GetBackgroundWork() {
  return {};
}

}  // namespace Quorvel::FileAccess
