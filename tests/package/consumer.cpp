// Packs a file and gets it back with an installed library.
// Usage: consumer DIRECTORY
#include <cstdio>
#include <fstream>
#include <iterator>
#include <string>

#include "platform/Paths.h"
#include "zephor/Diagnostics.h"
#include "zephor/ProjectArchives.h"
#include "zephor/Projects.h"
#include "zephor/Service.h"

int main(int, char** arguments) {
  using namespace Quorvel::FileAccess;
  const std::string directory = arguments[1];
  const auto path = [&](const char* name) { return platform::libraryPath(directory + name); };
  std::ofstream(directory + "/House/plan.dxf") << "a wall";

  const bool started = WGO_Service_Initialize(eWGOInit_Default);
  const bool named = WGO_BuildProjectDirectoryName(L"House ") == L"House.prj";
  const bool packed = WGO_zipFolder(path("/House").c_str(), path("/House.zip").c_str(), {}, true) &&
                      WGO_unzipFolder(path("/House.zip").c_str(), path("/Copy").c_str());
  std::wstring text;
  ConnectionLogger::WGO_GetErrorString(ERROR_ACCESS_DENIED, text);
  WGO_Service_Uninitialize();

  std::ifstream copy(directory + "/Copy/plan.dxf");
  const bool same = std::string(std::istreambuf_iterator<char>(copy), {}) == "a wall";
  std::printf("consumer: started %d, named %d, packed %d, the same %d, %ls", started, named, packed, same,
              text.c_str());
  return started && named && packed && same && !text.empty() ? 0 : 1;
}
