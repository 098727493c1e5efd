// The administration files of a cloud project.
#include <map>
#include <string>

#include "host/Project.h"
#include "zephor/FileServices.h"
#include "zephor/ProjectCache.h"
#include "zephor/Workgroup.h"

namespace Quorvel::FileAccess {

bool WGO_DownloadPrjDirAdminFiles(const PRJ& prj) {
  const ScopedAniCursor cursor(WGO_GetDisplayAniCursor());
  if (!prj.IsOndrathProject()) return true;
  const CScopedPrjSettings settings(prj.host, prj.GetDirectoryName());
  /// Names below the project's directory, and whether a project needs the file. They are fetched in the map's order.
  static const std::map<std::wstring, bool> files = {{L"Net\\user.cfg", true},
                                                     {L"project.cfg", false},
                                                     {L"Project1.Dat.xml", true},
                                                     {L"project.ofs", false},
                                                     {L"Xml\\MarkNumberingSchema.xml", true}};
  bool isComplete = true;
  for (const auto& [name, isRequired] : files) {
    const bool came = WGO_downloadFile(prj, name.c_str(), false) == ERROR_SUCCESS;
    isComplete = isComplete && (came || !isRequired);
  }
  return isComplete;
}

}  // namespace Quorvel::FileAccess
