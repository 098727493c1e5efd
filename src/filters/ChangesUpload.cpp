#include <cwctype>
#include <set>
#include <utility>

#include "cloud/CloudCall.h"
#include "cloud/UploadPipeline.h"
#include "filters/LogFrame.h"
#include "host/Project.h"
#include "host/System.h"
#include "platform/Files.h"
#include "platform/Paths.h"
#include "platform/Text.h"
#include "zephor/DirectoryChanges.h"
#include "zephor/FileServices.h"

namespace Quorvel::FileAccess {
namespace {

constexpr const wchar_t* kUpload = L"Quorvel::FileAccess::WGO_DirectoryChanges::upload";

struct UploadPlan {
  std::vector<WGO_FileCompareInfo> files;
  std::vector<bool> newFiles;  ///< by position in `files`
  /// Directory, beginning with that of the project, and name.
  std::set<std::pair<std::wstring, std::wstring>> deletions;
};

/// Name of the project's directory on the disk.
std::wstring directoryNameOf(const PRJ* project) {
  std::wstring directory;
  std::wstring name;
  if (project != nullptr) {
    name = project->GetDirectoryName();
  } else {
    ltbgetC(directory, name, 0);
  }
  while (!name.empty() && std::iswspace(static_cast<std::wint_t>(name.back())) != 0) name.pop_back();
  return name + L".prj";
}

/// A notice may be about a directory, which is nothing to send.
bool isFile(const std::wstring& path) {
  const platform::FileStatus status = platform::fileStatus(path);
  return status.exists && !status.isDirectory;
}

/// @param root              of the local projects, with its separator
/// @param projectDirectory  below it
UploadPlan planUpload(const std::vector<WGO_FileCompareInfo>& changes, const std::wstring& root,
                      const std::wstring& projectDirectory, bool deleteOnServer) {
  UploadPlan plan;
  for (const WGO_FileCompareInfo& change : changes) {
    // The pipeline cuts names off at the length of the project's directory: of a path that lies elsewhere it would make
    // another file's name.
    if (!platform::startsWithIgnoreCase(change.fileName, root + projectDirectory + L'\\')) {
      lfperrC(L"%s: %s is left out, it does not lie in %s%s\n", kUpload, change.fileName, root, projectDirectory);
      continue;
    }
    if (change.state == eFileChange_Deleted) {
      if (!deleteOnServer) continue;
      const std::wstring below = change.fileName.substr(root.size());
      plan.deletions.emplace(platform::directoryOf(below), platform::fileNameOf(below));
    } else if ((change.state == eFileChange_Created || change.state == eFileChange_Changed) &&
               isFile(change.fileName)) {
      plan.files.push_back(change);
      plan.newFiles.push_back(change.state == eFileChange_Created);
    }
  }
  return plan;
}

/// @return the status of the last deletion; 0 without any
unsigned long deleteAll(const PRJ& project, const std::wstring& root, const UploadPlan& plan) {
  unsigned long result = ERROR_SUCCESS;
  for (const auto& [directory, name] : plan.deletions) {
    // The whole path: a relative one could be taken for that of another directory of the same name.
    const std::wstring path = platform::joinPath(root + directory, name);
    result = WGO_deleteServerFile(project, path.c_str());
  }
  return result;
}

}  // namespace

bool WGO_DirectoryChanges::upload(const std::vector<WGO_FileCompareInfo>& changes, const PRJ* project,
                                  bool deleteOnServer) {
  if (changes.empty()) return true;
  if (directory_.empty()) {
    lfperrC(L"%s: not executed because directory path is not set, maybe init is missing\n\n", kUpload);
    return false;
  }
  if (WGO_isBlockedUpload()) return true;
  const CTimeTrace timer(1, kUpload, 1, false, true);
  const LogFrame frame(kUpload);
  const std::wstring projectDirectory = directoryNameOf(project);
  const std::size_t rootLength = directory_.find(projectDirectory);
  if (rootLength == std::wstring::npos) {
    lfperrC(L"%s: not executed because %s is not found in %s\n\n", kUpload, projectDirectory, directory_);
    return false;
  }
  const std::wstring root = directory_.substr(0, rootLength);
  // The other stores have their own roads.
  if (project == nullptr || !project->IsOndrathProject()) return true;
  const UploadPlan plan = planUpload(changes, root, projectDirectory, deleteOnServer);
  std::wstring text;
  if (isExecutedByQuorvel()) {
    text = platform::formatWide(L"Uploading %d files to \"\\\\%s\\%s\"", plan.files.size(), project->GetDirectoryName(),
                                project->GetProjectDisplayName());
  }
  const CloudStatus status =
      Threading::Ondrath_UploadFreeFiles(*project, plan.files, plan.newFiles,
                                         transferOptions(kUpload, text, static_cast<std::uint32_t>(plan.files.size())));
  if (status != 0) {
    lfperrC(L"%s: UploadFreeFiles returned error %lu\n\n", kUpload, status);
    return false;
  }
  // Only the last one's answer counts.
  return deleteAll(*project, root, plan) == ERROR_SUCCESS;
}

}  // namespace Quorvel::FileAccess
