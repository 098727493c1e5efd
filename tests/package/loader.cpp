// Loads an installed library, with all that it needs of its host, and calls what it finds in it by name.
// Usage: loader LIBRARY ARCHIVE TARGET
#include <dlfcn.h>

#include <cstdio>

#include "platform/Paths.h"
#include "zephor/ProjectArchives.h"
#include "zephor/Projects.h"
#include "zephor/Service.h"

namespace exports = Quorvel::FileAccess;

template <typename Function>
Function* found(void* library, const char* name) {
  void* const symbol = ::dlsym(library, name);
  if (symbol == nullptr) std::fprintf(stderr, "loader: %s\n", ::dlerror());
  return reinterpret_cast<Function*>(symbol);
}

int main(int, char** arguments) {
  void* const library = ::dlopen(arguments[1], RTLD_NOW | RTLD_LOCAL);
  if (library == nullptr) {
    std::fprintf(stderr, "loader: %s\n", ::dlerror());
    return 1;
  }
  auto* const start = found<decltype(exports::WGO_Service_Initialize)>(
      library, "_ZN7Quorvel10FileAccess22WGO_Service_InitializeENS0_12WGO_InitModeE");
  auto* const name = found<decltype(exports::WGO_BuildProjectDirectoryName)>(
      library, "_ZN7Quorvel10FileAccess29WGO_BuildProjectDirectoryNameB5cxx11EPKw");
  auto* const unpack =
      found<decltype(exports::WGO_unzipFolder)>(library, "_ZN7Quorvel10FileAccess15WGO_unzipFolderEPKwS2_");
  if (start == nullptr || name == nullptr || unpack == nullptr) return 1;

  const bool started = start(exports::eWGOInit_Default);
  const bool named = name(L"Court\t") == L"Court.prj";
  const bool unpacked =
      unpack(platform::libraryPath(arguments[2]).c_str(), platform::libraryPath(arguments[3]).c_str());
  std::printf("loader: started %d, named %d, unpacked %d\n", started, named, unpacked);
  return started && named && unpacked ? 0 : 1;
}
