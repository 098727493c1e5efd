#include <optional>

#include "cloud/CloudCall.h"
#include "cloud/CloudPaths.h"
#include "cloud/ObjectHeaders.h"
#include "cloud/Ondrath_Services.h"
#include "host/FileTypes.h"
#include "host/Files.h"
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

/// Position of the base text, first behind the project's directory: a directory above it may have the same name.
std::size_t positionOfBase(const std::wstring& path, const std::wstring& baseText, const std::wstring& uuid) {
  if (baseText.empty()) return std::wstring::npos;
  const std::wstring directory = cloudDirectoryName(uuid);
  const std::size_t project = path.find(directory);
  const std::size_t below =
      project == std::wstring::npos ? std::wstring::npos : path.find(baseText, project + directory.size());
  return below != std::wstring::npos ? below : path.find(baseText);
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
  // A base without a backslash at its end leaves it to the rest.
  if (info.name.starts_with(L'\\')) {
    info.name.erase(0, 1);
  } else if (base.back() != L'\\') {
    return kWrongArgument;
  }
  if (!platform::isSafeRelativeName(info.name)) return kWrongArgument;
  std::wstring text;
  getlocalizedMessageTextForOndrath(text, fileName, 1, 0, 0, 0);
  return UploadFilesRetry(call.project(), base, {info}, 0, call.options(text));
}

CloudStatus Ondrath_uploadFreeFileEx(const PRJ& prj, const std::wstring& path, const std::wstring& baseText,
                                     const CloudTransferOptions& options) {
  const CloudCall call(L"Quorvel::FileAccess::Threading::Ondrath_uploadFreeFileEx", prj);
  if (!call.requireCloudProject()) return kWrongArgument;
  const std::wstring fullName = withBackslashes(path);
  const std::wstring directory = withBackslashes(baseText);
  const std::size_t found = positionOfBase(fullName, directory, call.project());
  if (found == std::wstring::npos) return kWrongArgument;
  const std::wstring base = fullName.substr(0, found);
  QuorvFileInfo info;
  info.name = platform::joinPath(directory, platform::fileNameOf(fullName));
  // A path in a directory below `baseText` would send its content under another file's name.
  if (!platform::equalsIgnoreCase(base + info.name, fullName)) return kWrongArgument;
  info.fileHandle = openHandleOf(path);
  QuorvelFileType type = eFileType_Unknown;
  int number = -1;
  GetTypeFromFilePathName(path, type, number);
  ObjectHeader header;
  // Before the project becomes the active one: the database in the core does not change with it.
  if (!loadObjectHeader(prj, type, number, path, header)) return ERROR_INVALID_DATA;
  const ScopedProject project(prj);
  info.header = headerRecord(header);
  return UploadFilesRetry(call.project(), base, {info}, headerRecordSize(header), options);
}

}  // namespace Quorvel::FileAccess::Threading
