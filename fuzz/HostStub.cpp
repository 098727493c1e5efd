// The host's operations that the parsers' files ask for, as a host without a project answers them.

#include "host/Files.h"
#include "host/System.h"
#include "host/Trace.h"
#include "host/Users.h"
#include "platform/Text.h"
#include "workstation/system/Folders.h"

void lfperrText(const std::wstring& /*line*/) {}
std::wstring lfinigC(int /*pathNumber*/) {
  return {};
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
