#include "fuzz/Support.h"

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "platform/Paths.h"

namespace fuzz {
namespace {

struct TemporaryFile {
  std::string path = (std::filesystem::temp_directory_path() / ("zephor-fuzz-" + std::to_string(getpid()))).string();
  ~TemporaryFile() { std::filesystem::remove(path); }
};

}  // namespace

void require(bool holds, const char* statement) {
  if (holds) return;
  std::fprintf(stderr, "does not hold: %s\n", statement);
  std::abort();
}

std::wstring fileOf(std::string_view bytes) {
  static const TemporaryFile file;
  std::ofstream stream(file.path, std::ios::binary | std::ios::trunc);
  stream.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  require(stream.flush().good(), "the input was written to its file");
  return platform::libraryPath(file.path);
}

}  // namespace fuzz
