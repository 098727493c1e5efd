// A directory of its own for one test, known to the system and as a library path.
#pragma once

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "platform/Paths.h"

class TemporaryDirectoryTest : public testing::Test {
 protected:
  TemporaryDirectoryTest() {
    // Beside the program and not in /tmp, which may be a file system without extended attributes.
    std::string pattern = (std::filesystem::read_symlink("/proc/self/exe").parent_path() / "test.XXXXXX").string();
    root_ = mkdtemp(pattern.data());
  }
  ~TemporaryDirectoryTest() override {
    std::error_code error;
    std::filesystem::remove_all(root_, error);
  }

  const std::filesystem::path& root() const { return root_; }
  std::wstring path(const std::wstring& name) const { return platform::libraryPath(root_.string()) + L"\\" + name; }

  void write(const std::string& name, const std::string& content = "content") const {
    std::filesystem::create_directories((root_ / name).parent_path());
    std::ofstream(root_ / name, std::ios::binary) << content;
  }
  std::string read(const std::string& name) const {
    std::ifstream file(root_ / name, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
  }
  bool exists(const std::string& name) const {
    return std::filesystem::exists(std::filesystem::symlink_status(root_ / name));
  }
  std::size_t entryCount(const std::string& name = ".") const {
    const std::filesystem::directory_iterator entries(root_ / name);
    return static_cast<std::size_t>(std::distance(begin(entries), end(entries)));
  }

 private:
  std::filesystem::path root_;
};
