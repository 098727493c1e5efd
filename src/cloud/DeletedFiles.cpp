#include "cloud/CloudCall.h"
#include "host/Trace.h"
#include "zephor/CloudFiles.h"
#include "zephor/Service.h"

namespace Quorvel::FileAccess {

void WGO_getOndrathDeletedFiles(const PRJ& prj, std::vector<std::wstring>& out, ShareFileTypeID type) {
  const CloudCall call(L"Quorvel::FileAccess::WGO_getOndrathDeletedFiles", prj);
  out.clear();
  if (type < eShareFile_Resource || type > eShareFile_Bim) {
    lfperrC(L"%s: wrong parameter\n", call.function());
    return;
  }
  if (!call.requireCloudProject()) return;
  const CTimeTrace timer(
      WGO_GetTrace(),
      platform::formatWide(L"%s{Ondrath GetQuorvelProjectResourceFiles() }: \"%s\"", call.function(), call.project()),
      1, false, true);
  std::vector<std::wstring> names;
  const CloudStatus status = call.run([&](ICloudProjectService& service, const std::wstring& project) {
    return service.GetQuorvelProjectResourceFiles(project, names, kCloudKindDeletedFirst + type);
  });
  if (status == 0) out = std::move(names);
}

}  // namespace Quorvel::FileAccess
