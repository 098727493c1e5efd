#include <optional>

#include "cloud/CloudCall.h"
#include "cloud/ObjectHeaders.h"
#include "cloud/Ondrath_Services.h"
#include "host/FileTypes.h"
#include "host/Files.h"
#include "host/ObjectFiles.h"
#include "platform/Paths.h"
#include "platform/Text.h"
#include "zephor/Workgroup.h"

namespace Quorvel::FileAccess::Threading {
namespace {

constexpr CloudStatus kWrongArgument = ERROR_INVALID_PARAMETER;

/// Aims the service at a project and makes it the active one, unless it is already.
class ScopedProject {
 public:
  explicit ScopedProject(const PRJ& prj) : before_(get_ActivePrj()) {
    if (std::wstring(before_.host) == prj.host && before_.GetOndrathProjectUuid() == prj.GetOndrathProjectUuid())
      return;
    settings_.emplace(prj.host, prj.GetDirectoryName());
    set_ActivePrj(prj);
  }
  ~ScopedProject() {
    if (settings_) set_ActivePrj(before_);
  }
  ScopedProject(const ScopedProject&) = delete;
  ScopedProject& operator=(const ScopedProject&) = delete;

 private:
  PRJ before_;
  std::optional<CScopedPrjSettings> settings_;
};

std::intptr_t openHandle(const std::wstring& path) {
  const HANDLE handle = getOpenFileHandle_FromFileName(path);
  return handle == nullptr ? -1 : reinterpret_cast<std::intptr_t>(handle);
}

}  // namespace

CloudStatus Ondrath_uploadFreeFile(const PRJ& prj, const std::wstring& fileName, int pathNumber) {
  const CloudCall call(L"Quorvel::FileAccess::Threading::Ondrath_uploadFreeFile", prj);
  if (!call.requireCloudProject()) return kWrongArgument;
  const ScopedProject project(prj);
  const std::wstring base = lfinigC(pathNumber);
  if (base.empty() || !platform::startsWithIgnoreCase(fileName, base)) return kWrongArgument;
  QuorvFileInfo info;
  info.name = fileName.substr(base.size());
  if (!platform::isSafeRelativeName(info.name)) return kWrongArgument;
  std::wstring text;
  getlocalizedMessageTextForOndrath(text, fileName, 1, 0, 0, 0);
  return UploadFilesRetry(call.project(), base, {info}, 0, call.options(text));
}

CloudStatus Ondrath_uploadFreeFileEx(const PRJ& prj, const std::wstring& path, const std::wstring& baseText,
                                     const CloudTransferOptions& options) {
  const CloudCall call(L"Quorvel::FileAccess::Threading::Ondrath_uploadFreeFileEx", prj);
  if (!call.requireCloudProject()) return kWrongArgument;
  const ScopedProject project(prj);
  const std::size_t found = baseText.empty() ? std::wstring::npos : path.find(baseText);
  if (found == std::wstring::npos) return kWrongArgument;
  const std::wstring base = path.substr(0, found);
  QuorvFileInfo info;
  info.name = platform::joinPath(baseText, platform::fileNameOf(path));
  // A path in a directory below `baseText` would send its content under another file's name.
  if (!platform::equalsIgnoreCase(base + info.name, path)) return kWrongArgument;
  info.fileHandle = openHandle(path);
  QuorvelFileType type = eFileType_Unknown;
  int number = -1;
  GetTypeFromFilePathName(path, type, number);
  ObjectHeader header;
  if (!loadObjectHeader(type, number, path, header)) return ERROR_INVALID_DATA;
  info.header = headerRecord(header);
  return UploadFilesRetry(call.project(), base, {info}, headerRecordSize(header), options);
}

}  // namespace Quorvel::FileAccess::Threading
