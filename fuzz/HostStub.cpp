// What the parsers' files ask of the host and of higher rooms, as it is without a project.

#include <cstdlib>

#include "fuzz/Support.h"
#include "host/Files.h"
#include "host/Project.h"
#include "host/System.h"
#include "host/Trace.h"
#include "host/Users.h"
#include "platform/Text.h"
#include "workstation/system/Folders.h"
#include "zephor/FileServices.h"
#include "zephor/FileTransfer.h"

void lfperrText(const std::wstring& /*line*/) {}
std::wstring lfinigC(int pathNumber) {
  constexpr int kTeamFilterPath = 8;
  constexpr int kDescriptionPath = 18;
  return pathNumber == kTeamFilterPath || pathNumber == kDescriptionPath ? fuzz::directory() + L'\\' : std::wstring();
}
int ldirrmc(const std::wstring& /*directory*/) {
  return 0;
}
bool ZSYST_IsOndrathServer(const std::wstring& host) {
  return platform::equalsIgnoreCase(host, kOndrathHost);
}
bool ZSYST_IsInetServer(const std::wstring& /*host*/) {
  return false;
}
std::wstring ZSYST_getLocalDataDirectory() {
  return L"C:";
}
int getFileAccessTrace() {
  return 0;
}
PRJ get_ActivePrj() {
  return {};
}
int lzuGetCountOfUserContainers() {
  return 32;
}

namespace workstation {

bool isKnownHost(const std::wstring& /*host*/) {
  return false;
}
std::wstring serverRootName(const std::wstring& host) {
  return host;
}

}  // namespace workstation

namespace Quorvel::FileAccess {

IZepInetFileTransfer& getInetFileManager() {
  std::abort();  // what is fuzzed is given its file
}
unsigned long WGO_downloadFile(const PRJ& /*prj*/, const wchar_t* /*file*/, bool /*ignored*/) {
  return ERROR_FILE_NOT_FOUND;
}

}  // namespace Quorvel::FileAccess
