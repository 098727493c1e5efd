// Objects that a colleague holds or deletes, on a real store with its real locks.
#include <filesystem>

#include "host/Events.h"
#include "host/Locking.h"
#include "host/ObjectFiles.h"
#include "host/ProjectDatabase.h"
#include "platform/Paths.h"
#include "tests/support/CloudFixture.h"
#include "workstation/Session.h"
#include "workstation/objects/LockingState.h"
#include "workstation/objects/OpenFiles.h"
#include "zephor/FileServices.h"
#include "zephor/ProjectFileLocks.h"

namespace Quorvel::FileAccess {
namespace {

class SharedObjects : public zephor_test::CloudFixture {
 protected:
  SharedObjects() { ::workstation::setCloudController(nullptr); }

  void lockByBo(int type, int number) { ASSERT_EQ(desk.store().lockObject(bo, uuid, type, number), 0); }

  const ::workstation::StoreActor bo = desk.addColleague(L"Bo");
  IZepFileLockingManager& locks = getFileLockingManager();
};

TEST_F(SharedObjects, AnObjectIsLockedByThePathOfItsFile) {
  lockByBo(eFileType_Plan, 9);
  const std::wstring mine = path(L"TB000003.ZDW");
  const std::wstring bos = path(L"pb000009.zpl");
  const struct {
    std::wstring file;
    bool wantOwner;
    std::uint32_t status;
    const wchar_t* owner;
  } cases[] = {{mine, true, 0, L""},
               {platform::toLower(mine), true, 0, L""},
               {bos, true, 4, L"Bo"},
               {bos, false, 4, L""},
               {path(L"notes.txt"), true, 2, L""},
               {path(L"QuorvelBim.xml"), true, 2, L""},
               {L"Z:\\elsewhere\\pb000009.zpl", true, 2, L""}};
  for (const auto& item : cases) {
    SCOPED_TRACE(platform::toUtf8(item.file));
    const std::size_t lines = desk.errorLines().size();
    SetLastError(0);
    const auto result = WGO_LockProjectSpecificFile(item.file.c_str(), item.wantOwner);
    const bool refused = item.status == eLockFile_Refused;
    EXPECT_EQ(GetLastError(), refused ? 33U : 0U);
    EXPECT_EQ(::workstation::takeLockingError(), refused);
    EXPECT_EQ(result.status, item.status);
    EXPECT_EQ(result.ownerName, item.owner);
    EXPECT_EQ(desk.errorLines().size(), lines + (refused ? 1 : 0));
  }
  EXPECT_TRUE(desk.hasErrorLine(L"FileAccess::WGO_LockProjectSpecificFile: ERROR_LOCK_VIOLATION " + bos));
  EXPECT_EQ(WGO_LockProjectSpecificFile(nullptr, true).status, 3U);
  EXPECT_TRUE(desk.hasErrorLine(L"FileAccess::WGO_LockProjectSpecificFile: wrong parameter"));

  WGO_UnlockProjectSpecificFile(nullptr);
  EXPECT_TRUE(desk.hasErrorLine(L"FileAccess::WGO_UnlockProjectSpecificFile: wrong parameter"));
  const std::size_t lines = desk.errorLines().size();
  const auto bothDoNothing = [&](const char* why) {
    for (const wchar_t* file : {static_cast<const wchar_t*>(nullptr), bos.c_str()})
      EXPECT_EQ(WGO_LockProjectSpecificFile(file, true).status, 2U) << why;
    WGO_UnlockProjectSpecificFile(mine.c_str());
    EXPECT_TRUE(locks.IsLockedByCurrentUser(3, eObject_Teilbild)) << why;
  };
  globalEventManager::instance().set(kDatwaRunningEvent, L"");
  bothDoNothing("a conversion runs");
  WGO_UnlockProjectSpecificFile(nullptr);
  globalEventManager::instance().reset(kDatwaRunningEvent);
  ZSYST_ZepRegPutNumber(L"HKCU", L"Settings\\LockingOff", 1);
  bothDoNothing("locking is off");
  ZSYST_ZepRegPutNumber(L"HKCU", L"Settings\\LockingOff", 0);
  EXPECT_EQ(desk.errorLines().size(), lines);
  WGO_UnlockProjectSpecificFile(mine.c_str());
  EXPECT_EQ(locks.GetLockOwner(3, eObject_Teilbild, 0), -1);
}

TEST_F(SharedObjects, ADownloadIsImpossibleForAnOpenObjectThatSomebodyElseHolds) {
  for (const int number : {2, 4, 5}) lockByBo(eFileType_Teilbild, number);
  ASSERT_EQ(locks.LockObject(3, eObject_Teilbild, 0), 1);
  std::wstring error;
  for (const int number : {1, 2, 3}) ::workstation::openInCore(makeObject(eFileType_Teilbild, number), error);
  makeObject(eFileType_Teilbild, 4);
  for (const int number : {1, 2, 3, 4, 5}) EXPECT_EQ(WGO_IsDownloadPossible(number), number != 2) << number;
  EXPECT_FALSE(desk.exists(path(L"tb000005.zdw"))) << "nothing is made by asking";
}

TEST_F(SharedObjects, WhatAColleagueDeletedIsBackedUpAndMarked) {
  makeObject(eFileType_Teilbild, 4);
  const std::wstring file = makeObject(eFileType_Teilbild, 3);
  TeilbildHeader kept;
  ASSERT_EQ(ZP_Header_Teilbild::CheckOpenAndReadInfo(1, 3, kept, true), 0);
  ZP_ProjectDBTeilbildSets(kgunit()).setTeilbildRecord(3, kept);
  ASSERT_EQ(locks.LockObject(3, eObject_Teilbild, 0), 1);
  ASSERT_EQ(WGO_CheckLockAndUploadFile(3, eFileType_Teilbild), 0U);
  locks.UnlockObject(3, eObject_Teilbild, 0);
  const std::string bytes = desk.readFile(file);
  ASSERT_EQ(desk.store().deleteFile(bo, uuid, L"tb000003.zdw"), 0);

  std::wstring error;
  const int handle = ::workstation::openInCore(file, error);
  EXPECT_TRUE(WGO_CheckLockAndDownloadFile(3, eFileType_Teilbild, false));
  const void* const none = nullptr;
  EXPECT_TRUE(WGO_DownloadToOpenFile(&none, 4, eFileType_Teilbild)) << "never on the server";
  EXPECT_EQ(WGO_getMarkedForDelete(), (std::vector<int>{3}));
  ::workstation::closeInCore(handle);
  EXPECT_EQ(desk.readFile(file), bytes) << "the host removes it";
  std::vector<std::filesystem::path> backups;
  for (const auto& entry : std::filesystem::directory_iterator(platform::systemPath(path(L"Backup"))))
    backups.push_back(entry.path());
  ASSERT_EQ(backups.size(), 1U);
  EXPECT_TRUE(backups[0].filename().string().starts_with("tb000003.zdw."));
  EXPECT_EQ(zephor_test::contentOf(backups[0].string()), bytes);
}

}  // namespace
}  // namespace Quorvel::FileAccess
