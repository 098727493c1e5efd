// The host's locking manager on a project of the older store.
#include "ftp/FtpConnection.h"
#include "host/Files.h"
#include "host/Locking.h"
#include "host/Trace.h"
#include "tests/core/StartedWorkstation.h"
#include "tests/ftp/FakeRemoteClient.h"
#include "workstation/objects/LockText.h"
#include "workstation/ui/ErrorLog.h"

namespace {

using namespace Quorvel::FileAccess;

constexpr const wchar_t* kOwn = L"tb000012.zdw.0001-22222222.lck";
constexpr const wchar_t* kOthers = L"tb000012.zdw.0007-99.lck";

class FileLocks : public StartedWorkstation {
 protected:
  void SetUp() override {
    start();
    auto& connection = transfer();
    connection.remote().setClientMaker([this](const RemoteConfiguration& configuration) {
      if (++connections_ == 2 && rival) server.files[kOthers] = "";
      return server.maker()(configuration);
    });
    Initialize_forIZepInetFileTransfer record;
    record.serverName = L"wire";
    ASSERT_TRUE(connection.initialize(record));
    constexpr int kOnline = 1;
    constexpr int kServerRoot = eServerDataPath;
    connection.setConnectionType(&kOnline);
    connection.setPathFromNr(L"/data", &kServerRoot);
    connection.setProjectName(L"House", false);
    connection.setDialogsSuppressed(true);
  }
  void TearDown() override {
    transfer().setProjectName(L"", false);
    transfer().releaseThreadData();
  }

  static CZepFtpConnection& transfer() { return dynamic_cast<CZepFtpConnection&>(getInetFileManager()); }

  zephor_test::FakeServer server;
  bool rival = false;  ///< somebody else takes the lock while the first connection is replaced
  IZepFileLockingManager& manager = getFileLockingManager();

 private:
  int connections_ = 0;
};

TEST_F(FileLocks, ALockIsAFileOfTheOwnNameThatSaysWhoHoldsIt) {
  EXPECT_FALSE(manager.IsLockingOff());
  EXPECT_EQ(manager.GetLockOwner(12, 0, 0), -1);
  constexpr zephor_test::FakeFailure kMissing{.code = 550};
  server.fail("ChangeRemoteDir /data/House.prj/Lck", {kMissing, kMissing, kMissing, kMissing});
  ASSERT_EQ(manager.LockObject(12, 0, 0), 1);
  EXPECT_EQ(server.count("CreateRemoteDir"), 1) << "the directory of locks is made";
  ASSERT_TRUE(server.files.contains(kOwn));
  const int writes = server.count("PutFileFromBinaryData");
  EXPECT_EQ(manager.LockObject(12, 0, 0), 1) << "held already";
  EXPECT_EQ(server.count("PutFileFromBinaryData"), writes);
  EXPECT_TRUE(manager.IsLockedByCurrentUser(12, 0));
  EXPECT_EQ(manager.GetLockOwner(12, 2, 0), -1) << "a Plan of the same number";
  FileLockInfo info;
  ASSERT_TRUE(manager.GetLockInfo(12, 0, info));
  EXPECT_EQ(info.userName, L"Ada");
  EXPECT_EQ(info.workstation, L"desk");
  EXPECT_EQ(info.time.size(), std::wstring(L"2026-11-21 18:04:05").size());
  std::vector<FileLockInfo> own;
  ASSERT_EQ(manager.getOwnLocks(own), 1);
  EXPECT_EQ(own[0].fileName, L"tb000012.zdw.0001-22222222.lck");
  EXPECT_EQ(manager.UnlockObject(12, 0, 0), 1);
  EXPECT_FALSE(server.files.contains(kOwn));
  EXPECT_EQ(manager.UnlockObject(12, 0, 0), 0);
  EXPECT_EQ(manager.getOwnLocks(own), 0);
}

TEST_F(FileLocks, WhatSomebodyElseHoldsIsNotGiven) {
  server.files[kOthers] =
      "\xEF\xBB\xBF"
      "Bo\nattic\n2026-01-02 03:04:05";
  EXPECT_EQ(manager.LockObject(12, 0, 0), 0);
  EXPECT_EQ(manager.UnlockObject(12, 0, 0), 0);
  EXPECT_TRUE(server.files.contains(kOthers));
  FileLockInfo info;
  ASSERT_TRUE(manager.GetLockInfo(12, 0, info));
  EXPECT_EQ(info.userNumber, 7);
  EXPECT_EQ(info.userName + L"/" + info.workstation + L"/" + info.time, L"Bo/attic/2026-01-02 03:04:05");

  server.files[L"pb000003.zpl.0001-elsewher.lck"] = "";
  EXPECT_EQ(manager.LockObject(3, 2, 0), 0) << "held by the same person at another workstation";
  ASSERT_EQ(manager.LockObject(4, 1, 0), 1);
  std::vector<FileLockInfo> locks;
  EXPECT_EQ(manager.getOwnLocks(locks), 1);
  EXPECT_NE(manager.updateLockInfoEx(1, locks), 0);
  EXPECT_EQ(locks.size(), 3U);
  EXPECT_EQ(manager.CleanupLocks(0), 1);
  EXPECT_EQ(server.files.size(), 2U);
}

TEST_F(FileLocks, OfTwoWhoRaceNobodyBelievesToHaveTheLockWithTheOther) {
  rival = true;
  server.fail("PutFileFromBinaryData", {{.code = 0, .dropped = true, .doneAnyway = true}});
  server.files[L"notes.txt"] = "";
  EXPECT_EQ(manager.LockObject(12, 0, 0), 0);
  EXPECT_TRUE(server.files.contains(kOthers));
  EXPECT_FALSE(server.files.contains(kOwn)) << "stepped back";
}

TEST_F(FileLocks, OneWhoCouldNotStepBackTakesNothingFromTheHolder) {
  ASSERT_EQ(manager.LockObject(12, 0, 0), 1);
  server.files[kOthers] = "";
  EXPECT_EQ(manager.LockObject(12, 0, 0), 1);
  EXPECT_TRUE(manager.IsLockedByCurrentUser(12, 0));
  EXPECT_EQ(manager.UnlockObject(12, 0, 0), 1);
  EXPECT_FALSE(server.files.contains(kOwn));

  // The other way round: a write fails on the way, and what it left can't be deleted at once.
  server.files.erase(kOthers);
  server.failAlways("PutFileFromBinaryData", {.code = 552});
  server.failAlways("GetSizeByName64", {.code = 450});
  server.failAlways("DeleteRemoteFile", {.code = 450});
  EXPECT_EQ(manager.LockObject(12, 0, 0), 0);
  server.files[kOwn] = "";
  server.recover();
  EXPECT_EQ(manager.GetLockOwner(12, 0, 0), -1) << "it is deleted at the next contact";
  EXPECT_FALSE(server.files.contains(kOwn));
}

TEST_F(FileLocks, TheHostListsTheObjectsOfTheProjectOnTheServer) {
  for (const wchar_t* name : {L"tb000003.zdw", L"TB000004.ZDW", L"pb000005.zpl", kOwn}) server.files[name] = "";
  std::set<int> numbers{9};
  server.failAlways("ChangeRemoteDir /data/House.prj", {.code = 550});
  EXPECT_EQ(ListFilesInFolder(1, 1, numbers, true), 3);
  EXPECT_EQ(numbers, std::set<int>{9}) << "untouched";
  server.recover();
  EXPECT_EQ(ListFilesInFolder(1, 1, numbers, true), 0);
  EXPECT_EQ(numbers, (std::set<int>{3, 4}));
}

TEST_F(FileLocks, AListOfObjectsIsLockedWithOneLookBeforeAndOneAfter) {
  server.files[kOthers] = "";
  std::vector<int> refused;
  EXPECT_FALSE(manager.LockDelayedList(PRJ(), {11, 12, 13, 14}, 0, refused));
  EXPECT_EQ(refused, std::vector<int>{12});
  EXPECT_EQ(server.count("List"), 2);
  EXPECT_TRUE(manager.UnlockDelayedList(PRJ(), {11, 13, 14}, 0));
  EXPECT_FALSE(manager.UnlockDelayedList(PRJ(), {12}, 0));
  EXPECT_EQ(server.files.size(), 1U);
}

TEST_F(FileLocks, AServerThatCannotBeAskedGivesNoLock) {
  std::vector<std::wstring> lines;
  workstation::setErrorLineListener([&](const std::wstring& line) { lines.push_back(line); });
  server.failAlways("List", {.code = 451});
  EXPECT_EQ(manager.LockObject(12, 0, 0), 0);
  std::vector<FileLockInfo> locks;
  EXPECT_EQ(manager.updateLockInfoEx(1, locks), 0);
  workstation::setErrorLineListener({});
  EXPECT_FALSE(server.files.contains(kOwn));
  EXPECT_TRUE(std::any_of(lines.begin(), lines.end(), [](const std::wstring& line) {
    return line.find(L"the lock files of House.prj on") != std::wstring::npos;
  }));
}

TEST(LockText, SaysWhoWhereAndWhen) {
  const std::wstring text = workstation::makeLockText({L"Ada\nB", L"desk\r", L"2026-11-21 18:04:05"});
  const workstation::LockText parts = workstation::parseLockText(text);
  EXPECT_EQ(parts.userName, L"Ada B");
  EXPECT_EQ(parts.workstation, L"desk ");
  EXPECT_EQ(parts.time, L"2026-11-21 18:04:05");
  for (const wchar_t* other : {L"", L"\n\n\n\n", L"one line", L"a\r\nb\r\nc\r\nd"}) {
    EXPECT_LE(workstation::parseLockText(other).time.size(), 1U);
  }
  EXPECT_EQ(workstation::parseLockText(std::wstring(100'000, L'x')).userName.size(), 200U);
}

}  // namespace
