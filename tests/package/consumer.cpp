// Starts and stops the service of an installed library and calls one export that answers by itself.
#include "zephor/Projects.h"
#include "zephor/Service.h"

int main() {
  using namespace Quorvel::FileAccess;
  const bool started = WGO_Service_Initialize(eWGOInit_Default);
  const bool named = WGO_BuildProjectDirectoryName(L"House ") == L"House.prj";
  WGO_Service_Uninitialize();
  return started && named ? 0 : 1;
}
