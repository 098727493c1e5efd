#include "cloud/UploadPipeline.h"

namespace Quorvel::FileAccess::Threading {

CloudStatus Ondrath_UploadFreeFiles(const PRJ& /*prj*/, const std::vector<WGO_FileCompareInfo>& /*batch*/,
                                    const std::vector<bool>& /*newFiles*/, const CloudTransferOptions& /*options*/) {
  return ERROR_NOT_SUPPORTED;
}

}  // namespace Quorvel::FileAccess::Threading
