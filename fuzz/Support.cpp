#include "fuzz/Support.h"

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "platform/Paths.h"

namespace fuzz {
namespace {

struct TemporaryDirectory {
  std::filesystem::path path = std::filesystem::temp_directory_path() / ("zephor-fuzz-" + std::to_string(getpid()));
  TemporaryDirectory() { std::filesystem::create_directories(path); }
  ~TemporaryDirectory() { std::filesystem::remove_all(path); }
};

const std::filesystem::path& own() {
  static const TemporaryDirectory directory;
  return directory.path;
}

}  // namespace

void require(bool holds, const char* statement) {
  if (holds) return;
  std::fprintf(stderr, "does not hold: %s\n", statement);
  std::abort();
}

std::wstring directory() {
  return platform::libraryPath(own().string());
}

std::wstring fileOf(std::string_view bytes, const char* name) {
  const std::string path = (own() / name).string();
  std::ofstream stream(path, std::ios::binary | std::ios::trunc);
  stream.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  require(stream.flush().good(), "the input was written to its file");
  return platform::libraryPath(path);
}

}  // namespace fuzz
