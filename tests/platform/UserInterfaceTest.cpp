#include "platform/UserInterface.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cstdint>

#include "TemporaryDirectory.h"
#include "platform/Messages.h"

namespace {

std::intptr_t shellExecute(const wchar_t* verb, const wchar_t* file) {
  return reinterpret_cast<std::intptr_t>(ShellExecuteW(nullptr, verb, file, nullptr, nullptr, SW_SHOWNORMAL));
}

class OpenerTest : public TemporaryDirectoryTest {
 protected:
  OpenerTest() { ::setenv("PATH", root().c_str(), 1); }

  /// An opener that tells its argument through a pipe in the file system.
  void installOpener() const {
    const std::filesystem::path script = root() / "xdg-open";
    std::ofstream(script) << "#!/bin/sh\nprintf '%s:%s' \"$#\" \"$1\" > '" << pipe().string() << "'\n";
    ASSERT_EQ(::chmod(script.c_str(), 0755), 0);
    ASSERT_EQ(::mkfifo(pipe().c_str(), 0600), 0);
  }
  std::string argumentSeen() const {
    std::ifstream in(pipe());
    return {std::istreambuf_iterator<char>(in), {}};
  }
  std::filesystem::path pipe() const { return root() / "pipe"; }
};

TEST_F(OpenerTest, TheTargetIsHandedAsOneArgument) {
  installOpener();
  const std::wstring link = L"https://portal/?token=a b&c=$(id);'\"";
  EXPECT_GT(platform::openWithDesktop(link), 32);
  EXPECT_EQ(argumentSeen(), "1:https://portal/?token=a b&c=$(id);'\"");
  const std::filesystem::path document = root() / "-a file.txt";
  std::ofstream(document) << "x";
  EXPECT_GT(shellExecute(L"open", platform::libraryPath(document.string()).c_str()), 32);
  EXPECT_EQ(argumentSeen(), "1:" + document.string());
}

TEST_F(OpenerTest, WhatCannotBeOpenedAnswersItsCode) {
  EXPECT_EQ(platform::openWithDesktop(L"https://portal"), 31);
  EXPECT_EQ(platform::openWithDesktop(platform::libraryPath((root() / "none").string())), 2);
  EXPECT_EQ(platform::openWithDesktop(L""), 2);
  const std::filesystem::path broken = root() / "xdg-open";
  std::ofstream(broken) << "#!/no/such/interpreter\n";
  ASSERT_EQ(::chmod(broken.c_str(), 0755), 0);
  EXPECT_EQ(platform::openWithDesktop(L"https://portal"), 31);
}

}  // namespace
