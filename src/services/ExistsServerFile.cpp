#include "cloud/CloudPaths.h"
#include "cloud/Ondrath_Services.h"
#include "host/Files.h"
#include "host/Project.h"
#include "host/System.h"
#include "platform/Files.h"
#include "services/ServedProject.h"
#include "zephor/FileServices.h"

namespace Quorvel::FileAccess {

bool WGO_existsOnlineServerFile(const PRJ& prj, const wchar_t* file) {
  if (file == nullptr || !prj.IsOndrathProject()) return false;
  const ScopedAniCursor cursor(WGO_GetDisplayAniCursor());
  return Ondrath_existsFile(prj, Ondrath_ResolveProjectPath(prj, {}, file));
}

bool WGO_existsOnlineServerFile(const wchar_t* host, const wchar_t* dir, const wchar_t* file) {
  if (host == nullptr || dir == nullptr || file == nullptr) return false;
  if (!ZSYST_IsOndrathServer(host)) return false;
  const ScopedAniCursor cursor(WGO_GetDisplayAniCursor());
  const std::optional<PRJ> active = activeProjectOn(host, L"Quorvel::FileAccess::WGO_existsOnlineServerFile");
  return active && Ondrath_existsFile(*active, Ondrath_ResolveProjectPath(*active, dir, file));
}

bool WGO_existsProjectFile(std::wstring file) {  // NOLINT(performance-unnecessary-value-param): exported so
  const PRJ active = get_ActivePrj();
  if (active.IsOndrathProject()) return WGO_existsOnlineServerFile(active, file.c_str());
  return _waccess((lfinigC(1) + file).c_str(), 0) == 0;
}

}  // namespace Quorvel::FileAccess
