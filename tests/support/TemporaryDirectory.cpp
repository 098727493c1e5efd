#include "tests/support/TemporaryDirectory.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>

#include "platform/Paths.h"

namespace zephor_test {

TemporaryDirectory::TemporaryDirectory() {
  // Beside the program and not in /tmp, which may be a file system without extended attributes. Who knows a faster file
  // system that has them names it.
  const char* const chosen = std::getenv("ZEPHOR_TEST_DIRECTORY");  // NOLINT(concurrency-mt-unsafe)
  const std::filesystem::path base =
      chosen != nullptr ? chosen : std::filesystem::read_symlink("/proc/self/exe").parent_path();
  path_ = (base / "test.XXXXXX").string();
  if (mkdtemp(path_.data()) == nullptr) throw std::runtime_error("no temporary directory: " + path_);
}

TemporaryDirectory::~TemporaryDirectory() {
  std::error_code ignored;
  std::filesystem::remove_all(path_, ignored);
}

std::wstring TemporaryDirectory::libraryPath() const {
  return platform::libraryPath(path_);
}

std::string contentOf(const std::string& systemPath) {
  std::ifstream file(systemPath, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

}  // namespace zephor_test
