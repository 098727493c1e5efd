#include "cloud/UploadPipeline.h"

#include <algorithm>

#include "cloud/CloudCall.h"
#include "cloud/CloudPaths.h"
#include "cloud/ObjectHeaders.h"
#include "cloud/Ondrath_Services.h"
#include "platform/Files.h"
#include "platform/Paths.h"
#include "platform/Text.h"
#include "zephor/Archives.h"
#include "zephor/Service.h"

namespace Quorvel::FileAccess::Threading {
namespace {

constexpr const wchar_t* kUploadFreeFiles = L"Quorvel::FileAccess::Threading::Ondrath_UploadFreeFiles";
/// Host path under which a file's directory stands while its header is read.
constexpr int kProjectPath = 1;
constexpr const wchar_t* kUploadAsync = L"Quorvel::FileAccess::Threading::UploadAsync";

/// What all groups of one upload have in common.
struct Destination {
  const std::wstring& project;
  const std::wstring& baseDirectory;
  bool rereadHeaders;
  const CloudTransferOptions& options;
};

/// Cut at the base's length, a path from elsewhere would go up under another file's name.
bool liesBelow(const std::wstring& path, const std::wstring& baseDirectory, std::size_t baseLength) {
  const std::wstring base = withBackslashes(baseDirectory);
  const std::wstring full = withBackslashes(path);
  if (full.size() <= baseLength || !platform::startsWithIgnoreCase(full, base)) return false;
  const std::wstring name = L'\\' + full.substr(baseLength) + L'\\';
  return name.find(L"\\..\\") == std::wstring::npos;
}

/// Answers a group's status; one that is not 0 is told to the log.
CloudStatus answered(CloudStatus status, const wchar_t* failureLine) {
  if (status != 0) lfperrC(failureLine, kUploadAsync, statusCode(status));
  return status;
}

template <typename Header>
CloudStatus sendWithHeaders(const Destination& to, FilesWithHeaders<Header>& files) {
  // All of them may have been without a header.
  if (files.infos.empty()) return 0;
  const CloudStatus status =
      UploadFilesRetry(to.project, to.baseDirectory, files.infos, std::uint32_t{sizeof(Header)}, to.options);
  for (QuorvFileInfo& info : files.infos) info.header = nullptr;
  return status;
}

/// Compressing in place empties a file before the host looks at its head, so a file that only bears a Teilbild's name
/// must not come that far. One that is missing or empty is nothing to compress.
bool isForeign(const std::wstring& path, int number) {
  const platform::FileStatus status = platform::fileStatus(path);
  if (!status.exists || status.size == 0 || WGO_isZipFile(path.c_str(), nullptr)) return false;
  TeilbildHeader header;
  return !readHeader({0, platform::directoryOf(path) + L'\\', kProjectPath}, number, header);
}

CloudStatus sendTeilbilder(const Destination& to, const NumberedFiles& teilbilder) {
  zipTBsForUpload(teilbilder, to.baseDirectory);
  FilesWithHeaders<TeilbildHeader> files;
  getQuorvelTBInfos(to.baseDirectory, teilbilder, files, to.rereadHeaders);
  return answered(sendWithHeaders(to, files), L"%s: Uploading TBs failed with 0x%08lx\n");
}

CloudStatus sendPlans(const Destination& to, const NumberedFiles& plans) {
  FilesWithHeaders<PlanHeader> files;
  getQuorvelPLInfos(to.baseDirectory, plans, files, to.rereadHeaders);
  return answered(sendWithHeaders(to, files), L"%s: Uploading Plans failed with 0x%08lx\n");
}

/// The groups in their order; the first that fails is the last that is tried.
CloudStatus sendGroups(const Destination& to, const NumberedFiles& teilbilder, const NumberedFiles& plans,
                       const std::vector<QuorvFileInfo>& others) {
  if (!others.empty()) {
    const CloudStatus status = answered(UploadFilesRetry(to.project, to.baseDirectory, others, 0, to.options),
                                        L"%s: Uploading other files failed with 0x%08lx\n");
    if (status != 0) return status;
  }
  if (!teilbilder.empty()) {
    const CloudStatus status = sendTeilbilder(to, teilbilder);
    if (status != 0) return status;
  }
  return plans.empty() ? 0 : sendPlans(to, plans);
}

}  // namespace

CloudStatus zipTBsForUpload(const NumberedFiles& teilbilder, const std::wstring& baseDirectory) {
  for (const auto& [number, teilbild] : teilbilder) {
    const std::wstring path = platform::joinPath(baseDirectory, teilbild.info.name);
    const unsigned long result = isForeign(path, number) ? ERROR_INVALID_DATA : WGO_zipProjectFile(path);
    if (result != ERROR_SUCCESS && result != ERROR_ALREADY_EXISTS) {
      lfperrC(L"%s: failed to zip TB %s\n", L"Quorvel::FileAccess::Threading::zipTBsForUpload", path);
    }
  }
  return 0;
}

CloudStatus UploadAsync(const std::vector<WGO_FileCompareInfo>& batch, const std::vector<bool>& newFiles,
                        const std::wstring& project, const std::wstring& baseDirectory, std::size_t baseLength,
                        bool rereadHeaders, const CloudTransferOptions& options) {
  return guardedCall(kUploadAsync, [&]() -> CloudStatus {
    const CTimeTrace timer(WGO_GetTrace(), platform::formatWide(L"%s(): \"%s*\"", kUploadAsync, baseDirectory), 1,
                           false, true);
    const auto outside = std::find_if(batch.begin(), batch.end(), [&](const WGO_FileCompareInfo& file) {
      return !liesBelow(file.fileName, baseDirectory, baseLength);
    });
    if (outside != batch.end()) {
      lfperrC(L"%s: \"%s\" is not a file below \"%s\", nothing is uploaded\n", kUploadAsync, outside->fileName,
              baseDirectory);
      return ERROR_INVALID_PARAMETER;
    }
    NumberedFiles teilbilder;
    NumberedFiles plans;
    std::vector<QuorvFileInfo> others;
    getTypeSortedFileMaps(baseLength, batch, newFiles, teilbilder, plans, others);
    return sendGroups({project, baseDirectory, rereadHeaders, options}, teilbilder, plans, others);
  });
}

CloudStatus Ondrath_UploadFreeFiles(const PRJ& prj, const std::vector<WGO_FileCompareInfo>& batch,
                                    const std::vector<bool>& newFiles, const CloudTransferOptions& options) {
  return guardedCall(kUploadFreeFiles, [&]() -> CloudStatus {
    const CloudCall call(kUploadFreeFiles, prj);
    if (!call.requireCloudProject()) return ERROR_INVALID_PARAMETER;
    if (batch.empty()) return 0;
    const std::wstring& first = batch.front().fileName;
    const std::size_t baseLength = lengthOfProjectBase(call.project(), first);
    if (baseLength == 0) return ERROR_INVALID_PARAMETER;
    return UploadAsync(batch, newFiles, call.project(), first.substr(0, baseLength), baseLength, true, options);
  });
}

}  // namespace Quorvel::FileAccess::Threading
