#include "workstation/objects/OpenFiles.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <future>
#include <thread>

#include "host/ObjectFiles.h"
#include "platform/Files.h"
#include "platform/Text.h"
#include "tests/workstation/Fixtures.h"
#include "workstation/objects/BlockFile.h"
#include "workstation/objects/ObjectFile.h"

namespace {

using zephor_test::FileSizeLimit;

class OpenFilesTest : public testing::Test {
 protected:
  OpenFilesTest() {
    write("content", "the first content");
    const std::wstring content = path(L"content");
    EXPECT_EQ(
        workstation::createObject(directory_.libraryPath(), eFileType_Teilbild, 1, L"", content, {}, object_, error_),
        ERROR_SUCCESS);
    handle_ = workstation::openInCore(object_, error_);
    EXPECT_GT(handle_, 0) << platform::toUtf8(error_);
  }
  ~OpenFilesTest() override { workstation::closeAllInCore(); }

  std::wstring path(const std::wstring& name) const { return directory_.libraryPath() + L"\\" + name; }
  std::string read(const std::string& name) const { return zephor_test::contentOf(directory_.path(name)); }
  bool exists(const std::string& name) const { return std::filesystem::exists(directory_.path(name)); }
  void write(const std::string& name, const std::string& bytes) const {
    std::ofstream(directory_.path(name), std::ios::binary) << bytes;
  }

  zephor_test::TemporaryDirectory directory_;
  std::wstring object_;
  std::wstring error_;
  int handle_ = 0;
};

TEST_F(OpenFilesTest, OpenFileCannotBeReplacedByItsNameButIsSavedThroughItsHandle) {
  write("other", "x");
  EXPECT_EQ(MoveFileExW(path(L"other").c_str(), object_.c_str(), MOVEFILE_REPLACE_EXISTING), FALSE);
  EXPECT_FALSE(lcfile_GetForUpload(handle_));
  ASSERT_EQ(workstation::replaceContent(object_, path(L"other"), {}, error_), ERROR_SUCCESS)
      << platform::toUtf8(error_);
  EXPECT_TRUE(lcfile_GetForUpload(handle_));
  TeilbildHeader header{};
  EXPECT_TRUE(liesTbHeader(handle_, header));
  EXPECT_EQ(header.versionCounter, 2U);
  EXPECT_EQ(workstation::verifyObject(object_, error_), ERROR_SUCCESS) << platform::toUtf8(error_);
}

TEST_F(OpenFilesTest, ReconnectTakesOverTheContentAndUsesUpThePart) {
  workstation::markModified(handle_);
  write("tb000001.zdw.part", "QVPK short");
  ASSERT_EQ(lcfile_ReConnect(handle_, path(L"tb000001.zdw.part")), 0);
  EXPECT_EQ(read("tb000001.zdw"), "QVPK short");
  EXPECT_FALSE(exists("tb000001.zdw.part"));
  EXPECT_FALSE(lcfile_GetForUpload(handle_));
  EXPECT_TRUE(workstation::findOpenFile(handle_)->compressed);
}

TEST_F(OpenFilesTest, FailedReconnectBringsTheOldContentBack) {
  const std::string before = read("tb000001.zdw");
  write("part", std::string(200000, 'p'));
  {
    const FileSizeLimit limit(before.size() + 50000);
    EXPECT_NE(lcfile_ReConnect(handle_, path(L"part")), 0);
  }
  EXPECT_EQ(read("tb000001.zdw"), before);
  EXPECT_TRUE(exists("part"));
  EXPECT_FALSE(exists("tb000001.zdw.restore.part"));
  {
    // Not even a copy of the old content can be kept: nothing is touched.
    const FileSizeLimit limit(100);
    EXPECT_NE(lcfile_ReConnect(handle_, path(L"part")), 0);
  }
  EXPECT_EQ(read("tb000001.zdw"), before);
  EXPECT_NE(lcfile_ReConnect(handle_, path(L"no such part")), 0);
  EXPECT_NE(lcfile_ReConnect(handle_ + 1, path(L"part")), 0);
  EXPECT_EQ(read("tb000001.zdw"), before);
}

TEST_F(OpenFilesTest, InterruptedReplacementIsUndoneWhenTheFileIsReadAgain) {
  const std::string before = read("tb000001.zdw");
  workstation::closeInCore(handle_);
  write("tb000001.zdw.restore.part", before);
  write("tb000001.zdw", before.substr(0, 700));
  workstation::ObjectFileInfo info;
  EXPECT_EQ(workstation::readObjectHeader(object_, info, error_), ERROR_SUCCESS) << platform::toUtf8(error_);
  EXPECT_EQ(read("tb000001.zdw"), before);
  EXPECT_FALSE(exists("tb000001.zdw.restore.part"));
}

TEST_F(OpenFilesTest, LowLevelWorkKeepsOthersOut) {
  struct Counter {
    int inside = 0;
    int most = 0;
    int runs = 0;
  } counter;
  const HANDLE file = getOpenFileHandle_FromFileName(object_);
  const auto work = [](HANDLE, void* arguments) -> unsigned long {
    auto& shared = *static_cast<Counter*>(arguments);
    shared.most = std::max(shared.most, ++shared.inside);
    --shared.inside;
    return static_cast<unsigned long>(++shared.runs);
  };
  {
    const auto worker = [&] {
      for (int run = 0; run < 100; ++run) lcfile_doLowlevelOnFile(file, work, &counter);
    };
    const std::jthread one(worker);
    const std::jthread two(worker);
  }
  EXPECT_EQ(counter.most, 1);
  EXPECT_EQ(counter.runs, 200);
  EXPECT_EQ(lcfile_doLowlevelOnFile(INVALID_HANDLE_VALUE, work, &counter), ERROR_INVALID_HANDLE);
  const auto closing = workstation::findOpenFile(file);
  std::future<unsigned long> late;
  {
    const std::lock_guard lock(closing->mutex);
    late = std::async(std::launch::async, [&] { return lcfile_doLowlevelOnFile(file, work, &counter); });
    workstation::closeInCore(handle_);
  }
  EXPECT_EQ(late.get(), ERROR_INVALID_HANDLE);
}

TEST_F(OpenFilesTest, BackupsOfOneSecondStandBesideEachOther) {
  EXPECT_TRUE(autoBackup::createBackup(object_, eFileType_Teilbild));
  EXPECT_TRUE(autoBackup::createBackup(object_, eFileType_Teilbild));
  int backups = 0;
  for (const auto& entry : std::filesystem::directory_iterator(directory_.path("Backup"))) {
    EXPECT_EQ(zephor_test::contentOf(entry.path()), read("tb000001.zdw"));
    ++backups;
  }
  EXPECT_EQ(backups, 2);
  EXPECT_FALSE(autoBackup::createBackup(path(L"tb000002.zdw"), eFileType_Teilbild));
}

}  // namespace
