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
  const auto lock = [](const std::wstring& file, bool wantOwner = true) {
    SetLastError(0);
    const auto result = WGO_LockProjectSpecificFile(file.c_str(), wantOwner);
    EXPECT_EQ(::workstation::takeLockingError(), GetLastError() == 33);
    return platform::formatWide(L"%u %s %u", result.status, result.ownerName, GetLastError());
  };
  for (const std::wstring& file : {mine, mine, platform::toLower(mine)}) EXPECT_EQ(lock(file), L"0  0");
  for (const auto& file : {path(L"notes.txt"), path(L"QuorvelBim.xml"), std::wstring(L"Z:\\tmp\\pb000009.zpl")})
    EXPECT_EQ(lock(file), L"2  0") << "no object of the open project";
  EXPECT_EQ(lock(bos), L"4 Bo 33");
  EXPECT_EQ(lock(bos, false), L"4  33");
  EXPECT_TRUE(desk.hasErrorLine(L"FileAccess::WGO_LockProjectSpecificFile: ERROR_LOCK_VIOLATION " + bos));
  EXPECT_EQ(WGO_LockProjectSpecificFile(nullptr, true).status, 3U);
  EXPECT_TRUE(desk.hasErrorLine(L"FileAccess::WGO_LockProjectSpecificFile: wrong parameter"));

  for (const bool conversion : {true, false}) {
    globalEventManager::instance().set(kDatwaRunningEvent, L"");
    if (!conversion) globalEventManager::instance().reset(kDatwaRunningEvent);
    ZSYST_ZepRegPutNumber(L"HKCU", L"Settings\\LockingOff", conversion ? 0 : 1);
    EXPECT_EQ(lock(bos), L"2  0");
    EXPECT_EQ(WGO_LockProjectSpecificFile(nullptr, true).status, 2U);
    WGO_UnlockProjectSpecificFile(mine.c_str());
    EXPECT_TRUE(locks.IsLockedByCurrentUser(3, eObject_Teilbild));
    WGO_UnlockProjectSpecificFile(nullptr);
    EXPECT_EQ(desk.hasErrorLine(L"WGO_UnlockProjectSpecificFile: wrong parameter"), !conversion);
  }
  ZSYST_ZepRegPutNumber(L"HKCU", L"Settings\\LockingOff", 0);
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
  const std::string bytes = desk.readFile(file);
  ZP_ProjectDBTeilbildSets(kgunit()).setTeilbildRecord(3, header<TeilbildHeader>(3, 1));
  ASSERT_EQ(locks.LockObject(3, eObject_Teilbild, 0), 1);
  ASSERT_EQ(WGO_CheckLockAndUploadFile(3, eFileType_Teilbild), 0U);
  locks.UnlockObject(3, eObject_Teilbild, 0);
  ASSERT_EQ(desk.store().deleteFile(bo, uuid, L"tb000003.zdw"), 0);
  std::wstring error;
  for (const int number : {3, 4}) {  // the second was never on the server
    const int handle = ::workstation::openInCore(path(L"tb00000" + std::to_wstring(number) + L".zdw"), error);
    EXPECT_TRUE(WGO_CheckLockAndDownloadFile(number, eFileType_Teilbild, false));
    ::workstation::closeInCore(handle);
  }
  EXPECT_EQ(WGO_getMarkedForDelete(), (std::vector<int>{3}));
  EXPECT_EQ(desk.readFile(file), bytes) << "the host removes it";
  const std::filesystem::directory_iterator backups(platform::systemPath(path(L"Backup")));
  EXPECT_TRUE(backups->path().filename().string().starts_with("tb000003.zdw."));
  EXPECT_EQ(zephor_test::contentOf(backups->path()), bytes);
}

}  // namespace
}  // namespace Quorvel::FileAccess
