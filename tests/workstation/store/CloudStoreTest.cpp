// People, locks, sessions and sweeping of the store.
#include "workstation/store/CloudStore.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <fstream>

#include "host/FileTypes.h"
#include "tests/workstation/store/StoreWorld.h"

namespace zephor_test {
namespace {

using namespace workstation;  // NOLINT(google-build-using-namespace): the room under test

class CloudStoreTest : public ::testing::Test, protected StoreWorld {
 protected:
  std::shared_ptr<CloudStore> store = open();
};

TEST_F(CloudStoreTest, MemberNumbersStayWithThePerson) {
  EXPECT_EQ(store->memberNumber(project, owner.user.uuid), 2);
  EXPECT_EQ(store->memberNumber(project, viewer.user.uuid), 5);
  EXPECT_EQ(store->removeMember(admin, project, viewer.user.uuid), 0);
  EXPECT_EQ(store->addMember(admin, project, stranger.user.email, StoreRole::Viewer), 0);
  EXPECT_EQ(store->memberNumber(project, stranger.user.uuid), 6);
  EXPECT_EQ(store->addMember(admin, project, viewer.user.uuid, StoreRole::Editor), 0);
  EXPECT_EQ(store->memberNumber(project, viewer.user.uuid), 5);
  EXPECT_EQ(store->memberByNumber(project, 6).uuid, stranger.user.uuid);
  EXPECT_TRUE(store->memberByNumber(project, 99).uuid.empty());
  std::vector<StoreMember> list;
  EXPECT_EQ(store->members(viewer, project, list), 0);
  EXPECT_EQ(list.size(), 5U);
}

TEST_F(CloudStoreTest, WhoMayWriteItsDirectoryMayWriteTheStore) {
  namespace fs = std::filesystem;
  constexpr auto kGroupMayWrite = fs::perms::group_read | fs::perms::group_write;
  const TemporaryDirectory shared;
  fs::permissions(shared.path(), kGroupMayWrite | fs::perms::group_exec, fs::perm_options::add);
  std::wstring error;
  ASSERT_EQ(CloudStore::create(shared.path(), error), kStoreOk);
  for (const char* name : {"/bodies", "/incoming", "/incoming/lock", "/store.db"}) {
    EXPECT_EQ(fs::status(shared.path() + name).permissions() & kGroupMayWrite, kGroupMayWrite) << name;
  }
}

TEST_F(CloudStoreTest, OwnersStayAndNobodyGrantsWhatTheyDoNotHave) {
  CloudUser other{L"", L"Second Olga", L"OLGA@house.example"};
  EXPECT_EQ(store->registerUser(other), kStoreExists);
  EXPECT_EQ(store->removeMember(owner, project, owner.user.uuid), kStoreAccessDenied);
  EXPECT_EQ(store->addMember(admin, project, owner.user.uuid, StoreRole::Viewer), kStoreAccessDenied);
  EXPECT_EQ(store->addMember(owner, project, stranger.user.uuid, StoreRole::Owner), kStoreInvalidParameter);
  EXPECT_EQ(store->addMember(editor, project, stranger.user.uuid, StoreRole::Viewer), kStoreAccessDenied);
  EXPECT_EQ(store->addMember(stranger, project, stranger.user.uuid, StoreRole::Viewer), kStoreNotFound);
  EXPECT_EQ(store->removeTeamMember(owner, team, owner.user.uuid), kStoreAccessDenied);
  EXPECT_EQ(store->lockObject(editor, project, eFileType_Teilbild, 1), 0);
  EXPECT_EQ(store->removeTeamMember(owner, team, editor.user.uuid), 0);
  EXPECT_EQ(put(*store, editor, L"a.txt", "a"), kStoreNotFound);
  EXPECT_EQ(store->lockObject(admin, project, eFileType_Teilbild, 1), 0) << "leaving gives the locks back";
  std::wstring uuid;
  EXPECT_EQ(store->createProject(viewer, team, L"Another", uuid), kStoreAccessDenied);
  EXPECT_EQ(store->createProject(owner, team, L"NORTH PIER", uuid), kStoreExists);
  EXPECT_EQ(store->createProject(owner, team, L" blank", uuid), kStoreInvalidName);
}

TEST_F(CloudStoreTest, ObjectHasOneHolder) {
  const StoreActor elsewhere = at(editor, L"second");
  EXPECT_EQ(store->lockObject(viewer, project, eFileType_Plan, 7), kStoreAccessDenied);
  EXPECT_EQ(store->lockObject(editor, project, eFileType_Plan, 7), 0);
  EXPECT_EQ(store->lockObject(editor, project, eFileType_Plan, 7), 0);
  EXPECT_EQ(store->lockObject(elsewhere, project, eFileType_Plan, 7), kStoreLocked);
  EXPECT_EQ(store->lockObject(admin, project, eFileType_Plan, 7), kStoreLocked);
  EXPECT_THAT(CloudStore::lastText(), ::testing::HasSubstr(L"Edda"));
  EXPECT_EQ(store->lockObject(admin, project, eFileType_Teilbild, 7), 0);
  std::optional<ObjectLock> lock;
  EXPECT_EQ(store->lockOf(viewer, project, eFileType_Plan, 7, lock), 0);
  ASSERT_TRUE(lock.has_value());
  EXPECT_EQ(lock->memberNumber, 4);
  EXPECT_EQ(lock->workstationName, L"Edda-pc");
  std::vector<ObjectLock> all;
  EXPECT_EQ(store->locks(viewer, project, all), 0);
  EXPECT_EQ(all.size(), 2U);
  EXPECT_EQ(store->unlockObject(elsewhere, project, eFileType_Plan, 7), kStoreLocked);
  EXPECT_EQ(store->breakLock(editor, project, all[0]), kStoreAccessDenied) << "an admin's";
  EXPECT_EQ(store->breakLock(admin, project, *lock), 0);
  EXPECT_EQ(store->unlockObject(editor, project, eFileType_Plan, 7), 0);
  EXPECT_EQ(store->lockObject(elsewhere, project, eFileType_Plan, 7), 0);
  EXPECT_EQ(store->breakLock(admin, project, *lock), kStoreLocked) << "another one by now";
  EXPECT_EQ(store->lockOf(editor, project, eFileType_Plan, 7, lock), 0);
  EXPECT_EQ(store->breakLock(editor, project, *lock), 0) << "one's own from elsewhere";
  EXPECT_EQ(store->lockObject(editor, project, eFileType_Plan, 0), kStoreInvalidParameter);
}

TEST_F(CloudStoreTest, LockedObjectKeepsOthersWritesOut) {
  EXPECT_EQ(store->lockObject(editor, project, eFileType_Teilbild, 1), 0);
  std::vector<FilePut> files(2);
  files[0].name = L"TB000001.zdw";
  files[1].name = L"tb000002.zdw";
  for (FilePut& file : files) file.path = local("source", "new");
  std::vector<CloudStatus> statuses;
  EXPECT_EQ(store->putFiles(admin, project, files, statuses), kStoreLocked);
  EXPECT_THAT(statuses, ::testing::ElementsAre(kStoreLocked, kStoreOk));
  EXPECT_EQ(get(*store, admin, L"tb000002.zdw"), "new");
  EXPECT_EQ(put(*store, editor, L"tb000001.zdw", "own"), 0);
  EXPECT_EQ(store->deleteFile(at(editor, L"second"), project, L"tb000001.zdw"), kStoreLocked);
  StoreProject before;
  StoreProject after;
  EXPECT_EQ(store->project(admin, project, before), 0);
  EXPECT_EQ(put(*store, admin, L"tb000001.zdw", "refused"), kStoreLocked);
  EXPECT_EQ(store->project(admin, project, after), 0);
  EXPECT_EQ(after.changeCounter, before.changeCounter) << "nothing has changed";
  EXPECT_EQ(store->deleteFile(editor, project, L"tb000001.zdw"), 0);
  files[0].needsOwnLock = true;
  EXPECT_EQ(store->putFiles(editor, project, files, statuses), 0);
  std::optional<ObjectLock> lock;
  EXPECT_EQ(store->lockOf(admin, project, eFileType_Teilbild, 1, lock), 0);
  EXPECT_EQ(store->breakLock(admin, project, lock.value()), 0);
  EXPECT_EQ(store->putFiles(editor, project, files, statuses), kStoreLocked) << "the lock was broken meanwhile";
}

TEST_F(CloudStoreTest, ProjectIsInUseWhileASessionIsFresh) {
  bool inUse = false;
  EXPECT_EQ(store->beat(owner, "one", project, "hash"), 0);
  EXPECT_EQ(store->beat(owner, "two", project, "hash"), 0);
  EXPECT_EQ(store->isProjectInUse(owner, project, "one", false, inUse), 0);
  EXPECT_TRUE(inUse);
  EXPECT_EQ(store->isProjectInUse(owner, project, "one", true, inUse), 0);
  EXPECT_FALSE(inUse);
  EXPECT_EQ(store->isProjectInUse(editor, project, "three", true, inUse), 0);
  EXPECT_TRUE(inUse);
  EXPECT_EQ(store->setSetting("session_timeout_seconds", -1), 0);
  EXPECT_EQ(store->isProjectInUse(editor, project, "three", true, inUse), 0);
  EXPECT_FALSE(inUse);
  EXPECT_EQ(store->isProjectInUse(stranger, project, "four", true, inUse), kStoreNotFound);
}

TEST_F(CloudStoreTest, SweepTakesOldOrphansAlone) {
  EXPECT_EQ(put(*store, editor, L"kept.txt", "kept"), 0);
  EXPECT_EQ(put(*store, editor, L"twin.txt", "shared"), 0);
  EXPECT_EQ(put(*store, editor, L"other.txt", "shared"), 0);
  EXPECT_EQ(put(*store, editor, L"gone.txt", "gone"), 0);
  EXPECT_EQ(store->deleteFile(editor, project, L"gone.txt"), 0);
  EXPECT_EQ(store->deleteFile(editor, project, L"twin.txt"), 0);
  std::ofstream(storePath + "/incoming/0123") << "half";
  SweepResult result;
  EXPECT_EQ(store->sweep(result), 0);
  EXPECT_EQ(result.bodies + result.leftovers, 0U) << "all are younger than the grace";
  const auto old = std::filesystem::file_time_type::clock::now() - std::chrono::hours(2);
  for (const auto& entry : std::filesystem::recursive_directory_iterator(storePath)) {
    if (entry.is_regular_file() && entry.path().filename() != "store.db") std::filesystem::last_write_time(entry, old);
  }
  EXPECT_EQ(store->sweep(result), 0);
  EXPECT_EQ(result.bodies, 1U);
  EXPECT_EQ(result.leftovers, 1U);
  EXPECT_EQ(get(*store, viewer, L"kept.txt") + get(*store, viewer, L"other.txt"), "keptshared");
}

}  // namespace
}  // namespace zephor_test
