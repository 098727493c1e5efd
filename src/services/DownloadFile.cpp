#include "cloud/CloudPaths.h"
#include "cloud/Ondrath_Services.h"
#include "core/LastError.h"
#include "host/Project.h"
#include "host/Trace.h"
#include "platform/Text.h"
#include "zephor/FileServices.h"
#include "zephor/Service.h"

namespace Quorvel::FileAccess {

unsigned long WGO_downloadFile(const PRJ& prj, const wchar_t* file, bool /*ignored*/) {
  if (WGO_isBlockedDownload()) return ERROR_SUCCESS;
  if (file == nullptr) {
    lfperrC(L"%s: wrong parameter\n", L"Quorvel::FileAccess::WGO_downloadFile");
    return answered(ERROR_INVALID_DATA);
  }
  // An empty name would resolve to the project's directory: nothing is to be brought.
  if (!prj.IsOndrathProject() || *file == L'\0') return ERROR_SUCCESS;
  const ScopedAniCursor cursor(WGO_GetDisplayAniCursor());
  return answered(
      static_cast<std::uint32_t>(Ondrath_downloadFile(prj, Ondrath_ResolveProjectPath(prj, {}, file), false)));
}

unsigned long WGO_downloadFileEx(const PRJ& prj, const std::wstring& file, unsigned usePart) {
  if (WGO_isBlockedDownload()) return ERROR_SUCCESS;
  const CTimeTrace timer(WGO_GetTrace(),
                         platform::formatWide(L"%s: %s", L"Quorvel::FileAccess::WGO_downloadFileEx", file), 1, false,
                         true);
  if (!prj.IsOndrathProject()) return answered(ERROR_INVALID_DATA);
  if (file.empty()) return ERROR_SUCCESS;
  const ScopedAniCursor cursor(WGO_GetDisplayAniCursor());
  return answered(
      static_cast<std::uint32_t>(Ondrath_downloadFile(prj, Ondrath_ResolveProjectPath(prj, {}, file), usePart != 0)));
}

}  // namespace Quorvel::FileAccess
