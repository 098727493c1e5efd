#include "services/ServedProject.h"

#include "core/ObjectNames.h"
#include "host/Trace.h"
#include "platform/Text.h"
#include "zephor/FileTransfer.h"
#include "zephor/Projects.h"

namespace Quorvel::FileAccess {

std::wstring currentHost() {
  const wchar_t* host = getInetFileManager().getServerName();
  return host != nullptr ? host : L"";
}

std::wstring currentProjectDirectory() {
  const wchar_t* directory = getInetFileManager().getProjectName();
  return directory != nullptr ? directory : L"";
}

bool isAimedAt(const std::wstring& host, const std::wstring& project) {
  return platform::equalsIgnoreCase(currentHost(), host) &&
         platform::equalsIgnoreCase(currentProjectDirectory(), WGO_BuildProjectDirectoryName(project.c_str()));
}

std::optional<PRJ> activeProjectOn(const std::wstring& host, const wchar_t* function) {
  PRJ active = get_ActivePrj();
  if (host != active.host) {
    lfperrC(L"%s: hosts not equal %s %s\n", function, active.host, host);
    return std::nullopt;
  }
  return active;
}

std::wstring transferObjectFileName(int number, int fileType) {
  std::wstring name;
  const std::optional<ObjectType> type = objectTypeOf(fileType);
  const int pathNumber = ePrjPath;
  if (type) getInetFileManager().getObjectFileName(&number, &*type, name, &pathNumber);
  return name;
}

}  // namespace Quorvel::FileAccess
