#include "zephor/NotUploadedFiles.h"

#include <thread>

#include "platform/Files.h"
#include "platform/Text.h"
#include "tests/support/CloudFixture.h"

namespace {

class NotUploadedFiles : public zephor_test::CloudFixture {
 protected:
  std::wstring file() const { return path(L"NotUploadedFiles.xml"); }
  std::vector<std::wstring> names() const {
    std::vector<std::wstring> list;
    const std::size_t count = getNotUploadedFilesList(list);
    EXPECT_EQ(count, list.size());
    return list;
  }
};

using Names = std::vector<std::wstring>;

TEST_F(NotUploadedFiles, TheFileHoldsOneLineForEachEntry) {
  addEntryToNotUploadedFilesList(L"X:\\any\\TB000012.ZDW");
  addEntryToNotUploadedFilesList(L"pb000003.zpl");
  addEntryToNotUploadedFilesList(L"tb000012.zdw");
  EXPECT_EQ(desk.readFile(file()),
            "< ? xml version = \"1.0\" encoding = \"utf-8\" ? >\n"
            "<Quorvel_NotUploadedFiles file version = \"1.0\">\n"
            "   <file type=TEILBILD number=12>\n"
            "   <file type=PLAN number=3>\n"
            "</Quorvel_NotUploadedFiles>\n");
  EXPECT_EQ(names(), (Names{L"tb000012.zdw", L"pb000003.zpl"}));
}

TEST_F(NotUploadedFiles, ARemovalReachesTheFileWhenTheListIsClosed) {
  addEntryToNotUploadedFilesList(L"tb000012.zdw");
  removeEntryFromNotUploadedFilesList(L"tb000012.zdw");
  EXPECT_FALSE(existsEntryInNotUploadedFilesList(L"tb000012.zdw"));
  EXPECT_TRUE(desk.exists(file()));
  closeNotUploadedFilesList();
  EXPECT_FALSE(desk.exists(file()));
}

TEST_F(NotUploadedFiles, UploadsOfSeveralThreadsAllLeaveTheirEntries) {
  constexpr int kThreads = 4;
  constexpr int kEach = 10;
  std::vector<std::thread> uploads;
  for (int thread = 0; thread < kThreads; ++thread) {
    uploads.emplace_back([thread] {
      for (int i = 1; i <= kEach; ++i) {
        const std::wstring name = platform::formatWide(L"tb%06d.zdw", thread * 100 + i);
        addEntryToNotUploadedFilesList(name.c_str());
        if (i % 2 == 0) removeEntryFromNotUploadedFilesList(name.c_str());
      }
    });
  }
  for (auto& upload : uploads) upload.join();
  EXPECT_EQ(names().size(), std::size_t{kThreads * kEach / 2});
}

TEST_F(NotUploadedFiles, WhatAnEarlierRunLeftIsNeverForgotten) {
  addEntryToNotUploadedFilesList(L"tb000012.zdw");
  addEntryToNotUploadedFilesList(L"tb000013.zdw");
  closeNotUploadedFilesList();
  closeNotUploadedFilesList();
  EXPECT_TRUE(desk.exists(file())) << "an unread list is not an empty one";
  removeEntryFromNotUploadedFilesList(L"tb000012.zdw");
  addEntryToNotUploadedFilesList(L"tb000014.zdw");
  resetNotUploadedFilesList();
  EXPECT_EQ(names(), (Names{L"tb000013.zdw", L"tb000014.zdw"}));
  deleteXMLFileOfNotUploadedFilesList(true);
  EXPECT_TRUE(names().empty());
}

TEST_F(NotUploadedFiles, ClosingTheListOfOneProjectLeavesThatOfTheNext) {
  addEntryToNotUploadedFilesList(L"tb000012.zdw");
  removeEntryFromNotUploadedFilesList(L"tb000012.zdw");
  set_ActivePrj(PRJ(L"team", L"Team", L"Other", L"0c1e6f5e-7a0e-4c1e-9d5e-0000000000ab", true));
  const std::wstring next = get_ActPrjPath() + L"\\NotUploadedFiles.xml";
  desk.writeFile(next, "   <file type=TEILBILD number=5>\n");
  closeNotUploadedFilesList();
  EXPECT_TRUE(desk.exists(next));
  EXPECT_EQ(names(), (Names{L"tb000005.zdw"}));
}

TEST_F(NotUploadedFiles, ABrokenFileNeverHarms) {
  desk.writeFile(file(),
                 "   <file type=TEILBILD number=5>\n"
                 "   <file type=TEILBILD number=>\n"
                 "   <file type=PLAN>\n"
                 "   <file type=TEILBILD number=99999999999999999999>\n"
                 "\xff\xfe\x01 file type\n" +
                     std::string(100000, 'x') +
                     "\n"
                     "   <file type=ANYTHING number=6>\r\n"
                     "   <file type=TEILBILD number=5>");
  EXPECT_EQ(names(), (Names{L"tb000005.zdw", L"pb000006.zpl"}));
  EXPECT_TRUE(desk.hasErrorLine(L"NotUploadedFiles.xml\" line 2: expected"));
  EXPECT_TRUE(desk.hasErrorLine(L"line 4: expected"));
}

TEST_F(NotUploadedFiles, AFileThatCannotBeReadIsNotWrittenOver) {
  desk.writeFile(file() + L"\\in the way", "");
  addEntryToNotUploadedFilesList(L"tb000012.zdw");
  EXPECT_TRUE(desk.hasErrorLine(L"NotUploadedFiles.xml\" can't be read and is not written over"));
  EXPECT_TRUE(existsEntryInNotUploadedFilesList(L"tb000012.zdw"));
  DeleteFileW((file() + L"\\in the way").c_str());
  RemoveDirectoryW(file().c_str());
  desk.writeFile(file(), "   <file type=TEILBILD number=5>\n");
  closeNotUploadedFilesList();
  EXPECT_EQ(names(), (Names{L"tb000012.zdw", L"tb000005.zdw"})) << "read before it is written at the end";
}

}  // namespace
