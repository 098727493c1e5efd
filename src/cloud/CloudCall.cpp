#include "cloud/CloudCall.h"

#include <exception>

#include "host/System.h"
#include "platform/Text.h"

namespace Quorvel::FileAccess {

CloudStatus refusedByException(const wchar_t* function) {
  try {
    throw;
  } catch (const std::exception& error) {
    lfperrC(L"%s: the cloud service failed: %s\n", function, platform::fromUtf8(error.what()));
  } catch (...) {
    lfperrC(L"%s: the cloud service failed: unknown exception\n", function);
  }
  return kServiceThrew;
}

CloudCall::CloudCall(const wchar_t* function, const PRJ& prj)
    : function_(function), inCloud_(prj.IsOndrathProject()), project_(prj.GetOndrathProjectUuid()) {}

bool CloudCall::requireCloudProject() const {
  if (!inCloud_) lfperrC(L"%s: not Ondrath project\n", function_);
  return inCloud_;
}

CloudTransferOptions CloudCall::options(std::wstring text, std::uint32_t count) const {
  return transferOptions(function_, std::move(text), count);
}

CloudTransferOptions transferOptions(const wchar_t* function, std::wstring text, std::uint32_t count) {
  CloudTransferOptions options;
  options.count = count;
  if (isEntwVersion()) options.caption = function;
  options.text = std::move(text);
  return options;
}

}  // namespace Quorvel::FileAccess
