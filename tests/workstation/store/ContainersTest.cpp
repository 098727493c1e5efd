// Resource containers of the embedded cloud: two people, two workstations, one container.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sqlite3.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <fstream>
#include <thread>

#include "host/Cloud.h"
#include "host/System.h"
#include "platform/Files.h"
#include "platform/Paths.h"
#include "platform/Text.h"
#include "tests/support/TestWorkstation.h"
#include "tests/workstation/Fixtures.h"
#include "tests/workstation/store/StoreWorld.h"
#include "workstation/store/Bodies.h"
#include "workstation/store/Containers.h"
#include "workstation/store/EmbeddedController.h"
#include "workstation/store/StoreStatus.h"

namespace zephor_test {
namespace {

using namespace workstation;  // NOLINT(google-build-using-namespace): the room under test
using ::testing::HasSubstr;
namespace fs = std::filesystem;

/// One person at one workstation, with a cache of the container there.
struct Desk {
  std::unique_ptr<ICloudController> controller;
  fs::path root;

  ICloudProjectService& service() const { return *controller->GetProjectService(); }
  std::wstring path() const { return platform::libraryPath(root.string()); }
  std::wstring path(const std::string& name) const { return platform::libraryPath((root / name).string()); }
  void write(const std::string& name, const std::string& content) const {
    fs::create_directories((root / name).parent_path());
    std::ofstream(root / name, std::ios::binary) << content;
  }
  std::string read(const std::string& name) const { return contentOf((root / name).string()); }
  /// All files but those of the service, "name=content", in order.
  std::string all() const {
    std::map<std::string, std::string> files;
    for (auto entry = fs::recursive_directory_iterator(root); entry != fs::recursive_directory_iterator(); ++entry) {
      if (entry->path().filename() == ".cor") entry.disable_recursion_pending();
      if (entry->is_regular_file())
        files[fs::relative(entry->path(), root).string()] = contentOf(entry->path().string());
    }
    std::string text;
    for (const auto& [name, content] : files) text += name + "=" + content + " ";
    return text;
  }
  /// What a download or rollback has kept, without the directory of its time.
  std::string kept() const {
    std::map<std::string, std::string> files;
    if (!fs::exists(root / ".cor/Backup")) return {};
    for (const auto& entry : fs::recursive_directory_iterator(root / ".cor/Backup")) {
      const std::string name = fs::relative(entry.path(), root / ".cor/Backup").string();
      if (entry.is_regular_file()) files[name.substr(name.find('/') + 1)] = contentOf(entry.path().string());
    }
    std::string text;
    for (const auto& [name, content] : files) text += name + "=" + content + " ";
    return text;
  }
};

class Containers : public ::testing::Test {
 protected:
  Containers() {
    const auto store = world.open();
    EXPECT_EQ(store->addTeamMember(world.owner, world.team, world.admin.user.uuid, StoreRole::Admin), 0);
    EXPECT_EQ(store->addTeamMember(world.owner, world.team, world.editor.user.uuid, StoreRole::Editor), 0);
    boss = desk(world.admin, L"boss");
    EXPECT_EQ(boss.service().CreateSTD(world.team, L"Styles", uuid), 0);
    boss.root = rootAt("boss", uuid);
    edda = desk(world.editor, L"edda");
    EXPECT_EQ(connect(edda), 0);
    for (const char* name : {"a.txt", "b.txt", "sub/c.txt"}) edda.write(name, "1");
    EXPECT_EQ(commit(edda), 0) << "the first commit needs no lock";
    EXPECT_EQ(load(boss), 0);
  }

  fs::path rootAt(const std::string& workstation, const std::wstring& container) const {
    return world.directory.path(workstation + "/CloudSTD/" + platform::toUtf8(container));
  }
  Desk desk(const StoreActor& person, const std::wstring& workstation) {
    return {makeEmbeddedController(world.storePath, world.at(person, workstation)),
            rootAt(platform::toUtf8(workstation), uuid)};
  }
  CloudStatus load(const Desk& at) { return at.service().DownloadSTDResContainer(uuid, at.path(), {}); }
  CloudStatus connect(const Desk& at) { return at.service().ConnectResourcesContainerWithLocalPath(uuid, at.path()); }
  CloudStatus lock(const Desk& at) { return at.service().LockResourcesContainer(uuid, 1); }
  CloudStatus commit(const Desk& at) { return at.service().UploadResourcesContainer({uuid, 1, {}}); }
  CloudStatus committed(const Desk& at) {
    EXPECT_EQ(lock(at), 0);
    const CloudStatus status = commit(at);
    EXPECT_EQ(at.service().UnlockResourcesContainer(false), 0);
    return status;
  }
  static std::string lastText() { return platform::toUtf8(CloudStore::lastText()); }
  void sql(const std::string& statements) const { sql(world.storePath + "/store.db", statements); }
  static void sql(const fs::path& path, const std::string& statements) {
    sqlite3* database = nullptr;
    ASSERT_EQ(sqlite3_open(path.c_str(), &database), SQLITE_OK);
    EXPECT_EQ(sqlite3_exec(database, statements.c_str(), nullptr, nullptr, nullptr), SQLITE_OK)
        << sqlite3_errmsg(database);
    sqlite3_close(database);
  }

  StoreWorld world;
  std::wstring uuid;
  Desk boss;
  Desk edda;
};

TEST_F(Containers, ChangesGoThereAndComeHere) {
  EXPECT_EQ(boss.all(), "a.txt=1 b.txt=1 sub/c.txt=1 ");
  edda.write("a.txt", "22");
  edda.write("New Folder/d.txt", "new");
  fs::remove_all(edda.root / "sub");
  EXPECT_EQ(commit(edda), kStoreLocked);
  EXPECT_THAT(lastText(), HasSubstr("\"Styles\" is not locked"));
  EXPECT_EQ(committed(edda), 0);
  EXPECT_EQ(boss.all(), "a.txt=1 b.txt=1 sub/c.txt=1 ");
  EXPECT_EQ(load(boss), 0);
  EXPECT_EQ(boss.all(), "New Folder/d.txt=new a.txt=22 b.txt=1 ");
  EXPECT_FALSE(fs::exists(boss.root / "sub")) << "a directory that a download has emptied goes";
  EXPECT_EQ(boss.kept(), "");
  StoreContainer container;
  ASSERT_EQ(world.open()->container(world.viewer, uuid, container), 0);
  EXPECT_EQ(container.files, 3);
  EXPECT_EQ(container.bytes, 6);
  EXPECT_EQ(container.revision, 2);
  EXPECT_EQ(container.changerName, L"Edda");
  EXPECT_EQ(committed(edda), 0);
  ASSERT_EQ(world.open()->container(world.viewer, uuid, container), 0);
  EXPECT_EQ(container.revision, 2) << "a commit of nothing is none";
}

TEST_F(Containers, EachFileIsDecidedByBothSides) {
  for (const char* name : {"kept.txt", "mine.txt", "both.txt", "lost.txt", "gone.txt", "touched.txt"})
    edda.write(name, "1");
  ASSERT_EQ(committed(edda), 0);
  ASSERT_EQ(load(boss), 0);
  for (const char* name : {"mine.txt", "both.txt", "lost.txt", "own.txt", "same.txt"}) boss.write(name, "boss");
  for (const char* name : {"b.txt", "gone.txt"}) fs::remove(boss.root / name);
  boss.write("touched.txt", "1");
  for (const char* name : {"a.txt", "both.txt", "gone.txt"}) edda.write(name, "edda");
  edda.write("same.txt", "boss");
  for (const char* name : {"lost.txt", "touched.txt"}) fs::remove(edda.root / name);
  ASSERT_EQ(committed(edda), 0);
  ASSERT_EQ(lock(boss), 0);
  EXPECT_EQ(commit(boss), kStoreChanged);
  EXPECT_THAT(lastText(), HasSubstr("both.txt\" was changed in the container \"Styles\" meanwhile"));
  ASSERT_EQ(load(boss), 0);
  EXPECT_EQ(boss.all(),
            "a.txt=edda both.txt=edda gone.txt=edda kept.txt=1 lost.txt=boss mine.txt=boss own.txt=boss "
            "same.txt=boss sub/c.txt=1 ");
  EXPECT_EQ(boss.kept(), "both.txt=boss ");
  EXPECT_EQ(commit(boss), 0);
  ASSERT_EQ(load(edda), 0);
  EXPECT_EQ(edda.all(), boss.all()) << "b.txt was deleted, lost.txt created anew";
}

TEST_F(Containers, RollbackUndoesEverythingAndKeepsIt) {
  edda.write("a.txt", "work");
  edda.write("sub/new.txt", "created");
  fs::remove(edda.root / "b.txt");
  EXPECT_EQ(edda.service().UnlockResourcesContainer(true), kStoreNotLocked);
  EXPECT_EQ(edda.read("a.txt"), "work");
  ASSERT_EQ(lock(edda), 0);
  EXPECT_EQ(edda.service().UnlockResourcesContainer(true), 0);
  EXPECT_EQ(edda.all(), "a.txt=1 b.txt=1 sub/c.txt=1 ");
  EXPECT_EQ(edda.kept(), "a.txt=work sub/new.txt=created ");
  EXPECT_EQ(lock(boss), 0) << "the lock was given back";
}

TEST_F(Containers, FilesAndDirectoriesChangePlaces) {
  const auto swap = [&] {
    fs::remove(edda.root / "a.txt");
    edda.write("a.txt/x", "x");
    fs::remove_all(edda.root / "sub");
    edda.write("sub", "file");
    EXPECT_EQ(lock(edda), 0);
  };
  swap();
  EXPECT_EQ(edda.service().UnlockResourcesContainer(true), 0) << lastText();
  EXPECT_EQ(edda.all() + edda.kept(), "a.txt=1 b.txt=1 sub/c.txt=1 a.txt/x=x sub=file ");
  swap();
  ASSERT_EQ(commit(edda), 0) << lastText();
  fs::remove(boss.root / "sub/c.txt");  // as a download does that is killed then
  EXPECT_EQ(load(boss), 0) << lastText();
  EXPECT_EQ(boss.all(), "a.txt/x=x b.txt=1 sub=file ");
}

TEST_F(Containers, WhatHappenedToAnotherContainerOrInAnotherThreadMeansNotThisOne) {
  std::wstring second;
  ASSERT_EQ(boss.service().CreateSTD(world.team, L"Second", second), 0);
  ASSERT_EQ(edda.service().LockResourcesContainer(second, 0), 0);
  ASSERT_EQ(lock(edda), 0);
  ASSERT_EQ(boss.service().ForceUnlockCOR(boss.path()), 0);
  EXPECT_EQ(edda.service().UnlockResourcesContainer(true), kStoreNotLocked) << "its lock was taken away";
  ASSERT_EQ(edda.service().LockResourcesContainer(second, 0), 0);
  std::thread([&] { EXPECT_EQ(lock(edda), 0); }).join();
  EXPECT_EQ(edda.service().UnlockResourcesContainer(false), 0);
  EXPECT_EQ(lock(boss), kStoreLocked);
  EXPECT_EQ(boss.service().LockResourcesContainer(second, 0), 0);
}

TEST_F(Containers, ACommitGivenUpAndCommittedBySomebodyElseDeletesNothing) {
  boss.write("new.txt", "same");
  ASSERT_EQ(committed(boss), 0);
  sql(edda.root / ".cor/record.db3",
      "INSERT INTO files(key, name, next_size, next_modified, next_sha256, way) VALUES('new.txt', 'new.txt', 4, 1, '" +
          sha256OfFile((boss.root / "new.txt").string()) + "', 3)");
  EXPECT_EQ(load(edda), 0);
  EXPECT_EQ(edda.read("new.txt"), "same");
}

TEST_F(Containers, LostRecordAndEmptiedCacheLoseNothing) {
  edda.write("a.txt", "work");
  fs::remove_all(edda.root / ".cor");
  ASSERT_EQ(lock(edda), 0);
  EXPECT_EQ(commit(edda), kStoreChanged) << "nobody knows which of the two is newer";
  ASSERT_EQ(load(edda), 0);
  EXPECT_EQ(edda.all() + edda.kept(), "a.txt=1 b.txt=1 sub/c.txt=1 a.txt=work ");
  for (const char* name : {"a.txt", "b.txt", "sub"}) fs::remove_all(edda.root / name);
  EXPECT_EQ(commit(edda), kStoreInvalidData);
  EXPECT_THAT(lastText(), HasSubstr("none of the files of the container \"Styles\""));
  ASSERT_EQ(load(edda), 0);
  EXPECT_EQ(edda.all(), "a.txt=1 b.txt=1 sub/c.txt=1 ");
  std::ofstream(edda.root / ".cor/record.db3", std::ios::binary) << std::string(5000, 'x');
  edda.write("b.txt", "work");
  ASSERT_EQ(load(edda), 0);
  EXPECT_EQ(edda.all() + edda.kept(), "a.txt=1 b.txt=1 sub/c.txt=1 a.txt=work b.txt=work ");
}

TEST_F(Containers, OneHolderAtATime) {
  Desk other = desk(world.editor, L"laptop");
  const Desk viewer = desk(world.viewer, L"viewer");
  const Desk stranger = desk(world.stranger, L"stranger");
  EXPECT_EQ(lock(edda), 0);
  EXPECT_EQ(lock(edda), 0);
  EXPECT_EQ(lock(boss), kStoreLocked);
  EXPECT_THAT(lastText(), HasSubstr("locked by Edda at \"edda\" since "));
  EXPECT_EQ(lock(other), kStoreLocked);
  EXPECT_EQ(lock(viewer), kStoreAccessDenied);
  EXPECT_EQ(load(viewer), 0);
  EXPECT_EQ(lock(stranger), kStoreNotFound);
  EXPECT_EQ(load(stranger), kStoreNotFound);
  EXPECT_FALSE(fs::exists(stranger.root));
  bool locked = false;
  bool can = true;
  EXPECT_EQ(viewer.service().CheckLockCOR(uuid, viewer.path(), locked), 0);
  EXPECT_EQ(viewer.service().CanUnlockCOR(uuid, viewer.path(), can), 0);
  EXPECT_TRUE(locked && !can);
  EXPECT_EQ(viewer.service().ForceUnlockCOR(viewer.path()), kStoreLocked);
  EXPECT_EQ(boss.service().DeleteSTD(uuid), kStoreLocked);
  EXPECT_EQ(other.service().CanUnlockCOR(uuid, other.path(), can), 0);
  EXPECT_TRUE(can) << "the holder, from another desk";
  EXPECT_EQ(boss.service().ForceUnlockCOR(boss.path("sub")), 0);
  EXPECT_EQ(boss.service().CanUnlockCOR(uuid, boss.path(), can), 0);
  EXPECT_FALSE(can) << "there is nothing to take away";
  std::wstring second;
  ASSERT_EQ(boss.service().CreateSTD(world.team, L"Second", second), 0);
  ASSERT_EQ(edda.service().LockResourcesContainer(second, 0), 0);
  edda.write("a.txt", "work");
  EXPECT_EQ(commit(edda), kStoreLocked);
  EXPECT_EQ(edda.service().UnlockResourcesContainer(false), 0);
  EXPECT_EQ(boss.service().LockResourcesContainer(second, 0), kStoreLocked) << "another one is not given back";
  ASSERT_EQ(lock(edda), 0);
  ASSERT_EQ(world.open()->addTeamMember(world.admin, world.team, world.editor.user.uuid, StoreRole::Viewer), 0);
  EXPECT_EQ(lock(boss), 0) << "who may only look holds nothing";
}

TEST_F(Containers, TeamsNamesAndDeletion) {
  std::vector<SimpleCloudObject> teams;
  EXPECT_EQ(boss.service().GetCORTeams(teams), 0);
  EXPECT_EQ(teams.size(), 1U);
  EXPECT_EQ(edda.service().GetCORTeams(teams), 0);
  EXPECT_TRUE(teams.empty());
  std::wstring other;
  EXPECT_EQ(boss.service().CreateSTD(world.team, L"STYLES", other), kStoreExists);
  EXPECT_EQ(edda.service().CreateSTD(world.team, L"Mine", other), kStoreAccessDenied);
  EXPECT_EQ(edda.service().DeleteSTD(uuid), kStoreAccessDenied);
  std::map<std::wstring, StdResContainer> containers;
  EXPECT_EQ(desk(world.viewer, L"v").service().GetStdResContainers(containers), 0);
  ASSERT_EQ(containers.size(), 1U);
  EXPECT_EQ(containers[uuid].teamUuid, world.team);
  EXPECT_EQ(boss.service().DeleteSTD(uuid), 0);
  EXPECT_EQ(load(edda), kStoreNotFound);
  EXPECT_EQ(boss.service().CreateSTD(world.team, L"Styles", other), 0) << "the name is free again";
}

TEST_F(Containers, CopyOfAnotherContainerIsItsOwn) {
  std::wstring copy;
  ASSERT_EQ(boss.service().CreateSTD(world.team, L"Copy", copy), 0);
  const fs::path root = rootAt("boss", copy);
  const std::wstring path = platform::libraryPath(root.string());
  ASSERT_EQ(boss.service().DownloadSTDResContainer(uuid, path, {}), 0);
  ASSERT_EQ(boss.service().ConnectResourcesContainerWithLocalPath(copy, path), 0);
  ASSERT_EQ(boss.service().UploadResourcesContainer({copy, 0, {}}), 0) << lastText();
  StoreContainer made;
  ASSERT_EQ(world.open()->container(world.admin, copy, made), 0);
  EXPECT_EQ(made.files, 3);
  boss.write("a.txt", "source");
  EXPECT_EQ(committed(boss), 0) << "the source still has its own cache";
  EXPECT_EQ(contentOf((root / "a.txt").string()), "1");
}

TEST_F(Containers, HostileNamesAndLinksGoNowhere) {
  const fs::path outside = world.directory.path("outside");
  fs::create_directories(outside);
  edda.write("sub/c.txt", "22");
  ASSERT_EQ(committed(edda), 0);
  fs::remove_all(boss.root / "sub");
  fs::create_directory_symlink(outside, boss.root / "sub");
  EXPECT_EQ(load(boss), kStoreAccessDenied);
  EXPECT_TRUE(fs::is_empty(outside));
  ASSERT_EQ(lock(boss), 0);
  EXPECT_EQ(commit(boss), kStoreAccessDenied) << "what lies behind a link is not deleted";
  EXPECT_THAT(lastText(), HasSubstr("sub\" is a link"));
  fs::remove(boss.root / "sub");
  fs::remove(boss.root / "b.txt");
  fs::create_symlink("/nowhere", boss.root / "b.txt");
  EXPECT_EQ(commit(boss), kStoreAccessDenied) << "a link to a disk that is not there deletes nothing";
  fs::remove(boss.root / "b.txt");
  boss.write("con.txt", "no workstation of that system can hold it");
  EXPECT_EQ(commit(boss), kStoreInvalidName);
  fs::remove(boss.root / "con.txt");
  boss.write("A.TXT", "twin");
  EXPECT_EQ(commit(boss), kStoreInvalidName);
  fs::remove(boss.root / "A.TXT");
  for (const char* name : {"..\\..\\evil.txt", ".cor\\record.db3", "sub\\..\\..\\evil.txt"}) {
    sql(std::string("UPDATE container_files SET revision=9, name='") + name + "', name_key='" + name +
        "' WHERE name_key LIKE '%b.txt' OR name_key LIKE '%evil.txt' OR name_key LIKE '.cor%'");
    Desk fresh = desk(world.viewer, L"fresh");
    EXPECT_EQ(load(fresh), kStoreInvalidName) << name;
    EXPECT_EQ(fresh.all(), "") << "all or nothing";
  }
}

TEST_F(Containers, SweepKeepsTheirBodiesUntilTheyAreLongDeleted) {
  const auto old = fs::file_time_type::clock::now() - std::chrono::hours(2);
  const auto sweep = [&] {
    for (const auto& entry : fs::recursive_directory_iterator(world.storePath + "/bodies")) {
      if (entry.is_regular_file()) fs::last_write_time(entry.path(), old);
    }
    SweepResult result;
    EXPECT_EQ(world.open()->sweep(result), 0);
    return result.bodies;
  };
  edda.write("a.txt", "22");
  ASSERT_EQ(committed(edda), 0);
  EXPECT_EQ(sweep(), 0U);
  EXPECT_EQ(load(boss), 0);
  edda.write("a.txt", "333");
  ASSERT_EQ(committed(edda), 0);
  EXPECT_EQ(sweep(), 1U) << "what a commit has replaced";
  ASSERT_EQ(boss.service().DeleteSTD(uuid), 0);
  EXPECT_EQ(sweep(), 0U);
  sql("UPDATE containers SET deleted_at=0");
  EXPECT_EQ(sweep(), 2U);
}

TEST_F(Containers, StoreOfTheFirstVersionIsBroughtUpToDate) {
  boss.controller.reset();
  edda.controller.reset();
  sql("DROP TABLE container_files; DROP TABLE container_locks; DROP TABLE container_subscriptions; DROP TABLE "
      "containers; PRAGMA user_version=1");
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) threads.emplace_back([&] { EXPECT_NE(world.open(), nullptr); });
  for (std::thread& thread : threads) thread.join();
  const auto store = world.open();
  std::wstring made;
  EXPECT_EQ(store->createContainer(world.admin, world.team, L"Styles", made), 0);
  StoreProject project;
  EXPECT_EQ(store->project(world.viewer, world.project, project), 0);
}

TEST_F(Containers, FullDiskChangesNothing) {
  constexpr rlim_t kLimit = 1'000'000;
  edda.write("a.txt", "22");
  edda.write("z.txt", std::string(2 * kLimit, 'z'));
  ASSERT_EQ(lock(edda), 0);
  {
    const FileSizeLimit full(kLimit);
    EXPECT_EQ(commit(edda), kStoreDiskFull);
  }
  EXPECT_EQ(load(boss), 0);
  EXPECT_EQ(boss.read("a.txt"), "1");
  EXPECT_EQ(commit(edda), 0);
  {
    const FileSizeLimit full(kLimit);
    EXPECT_EQ(load(boss), kStoreDiskFull);
  }
  EXPECT_EQ(boss.all(), "a.txt=1 b.txt=1 sub/c.txt=1 ");
  EXPECT_EQ(load(boss), 0);
  EXPECT_EQ(boss.read("a.txt"), "22");
}

TEST_F(Containers, KilledCommitsAndDownloadsLeaveOneGeneration) {
  constexpr int kFiles = 8;
  const auto write = [&](const Desk& at, int generation) {
    for (int i = 0; i < kFiles; ++i) {
      at.write("f" + std::to_string(i),
               std::to_string(generation) + std::string(static_cast<std::size_t>(20'000 * i), 'x'));
    }
  };
  boss.controller.reset();
  edda.controller.reset();
  int seen = 0;
  for (int round = 0; round < 8; ++round) {
    const pid_t child = fork();
    if (child == 0) {
      const Desk own = desk(world.editor, L"edda");
      if (connect(own) != 0 || lock(own) != 0) _exit(1);
      for (int generation = seen + 1;; ++generation) {
        write(own, generation);
        if (commit(own) != 0 || load(own) != 0) _exit(2);
      }
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(20 + 17 * round));
    kill(child, SIGKILL);
    int status = 0;
    waitpid(child, &status, 0);
    ASSERT_TRUE(WIFSIGNALED(status)) << WEXITSTATUS(status);
    const Desk fresh = desk(world.viewer, L"fresh" + std::to_wstring(round));
    ASSERT_EQ(load(fresh), 0) << lastText();
    const std::string first = fs::exists(fresh.root / "f0") ? fresh.read("f0") : "0";
    for (int i = 1; i < kFiles && first != "0"; ++i) {
      EXPECT_EQ(fresh.read("f" + std::to_string(i)).substr(0, first.size()), first) << "half a commit";
    }
    EXPECT_GE(std::stoi(first), seen);
    seen = std::stoi(first);
    const Desk same = desk(world.editor, L"edda");
    write(same, seen + 1);
    ASSERT_EQ(connect(same), 0);
    ASSERT_EQ(lock(same), 0);
    EXPECT_EQ(commit(same), 0) << "the cache goes on where the kill left it: " << lastText();
    ++seen;
  }
}

TEST(ContainersAtAWorkstation, StateStepsAndSubscription) {
  TestWorkstation desk;
  desk.createTeamAndProject(L"House");
  std::vector<SimpleCloudObject> teams;
  ICloudProjectService& service = *QuorvelCloudController()->GetProjectService();
  ASSERT_EQ(service.GetCORTeams(teams), 0);
  std::wstring uuid;
  ASSERT_EQ(service.CreateSTD(teams.front().uuid, L"Styles", uuid), 0);
  ContainerCacheState state;
  ASSERT_EQ(containerCacheState(desk.store(), desk.actor(), uuid, state), 0);
  EXPECT_FALSE(state.exists);
  const std::wstring path = ZSYST_getLocalDataDirectory() + L"\\CloudSTD\\" + uuid;
  ASSERT_EQ(service.LockResourcesContainer(uuid, 0), 0);
  for (const wchar_t* name : {L"\\a.txt", L"\\b.txt"}) desk.writeFile(path + name, "1");
  EXPECT_FALSE(isContainerFileInStep(path + L"\\a.txt"));
  ASSERT_EQ(service.UploadResourcesContainer({uuid, 0, {}}), 0);
  EXPECT_TRUE(isContainerFileInStep(path + L"\\A.TXT"));
  EXPECT_TRUE(isContainerFileInStep(path + L"\\.cor\\record.db3"));
  EXPECT_FALSE(isContainerFileInStep(path) || isContainerFileInStep(desk.path(L"a.txt")));
  desk.writeFile(path + L"\\a.txt", "22");
  desk.writeFile(path + L"\\new.txt", "22");
  DeleteFileW((path + L"\\b.txt").c_str());
  for (const wchar_t* name : {L"\\a.txt", L"\\b.txt", L"\\new.txt"}) EXPECT_FALSE(isContainerFileInStep(path + name));
  ASSERT_EQ(containerCacheState(desk.store(), desk.actor(), uuid, state), 0);
  ASSERT_EQ(state.changes.size(), 3U);
  EXPECT_EQ(state.changes[0].change * 100 + state.changes[1].change * 10 + state.changes[2].change, 90);
  EXPECT_FALSE(state.isNewerThere);
  ASSERT_EQ(service.UnlockResourcesContainer(true), 0);
  ASSERT_EQ(containerCacheState(desk.store(), desk.actor(), uuid, state), 0);
  EXPECT_TRUE(state.changes.empty());
  EXPECT_EQ(state.keptCopies.size(), 2U);
  for (const wchar_t* name : {L"\\a.txt", L"\\b.txt", L"\\new.txt"}) EXPECT_TRUE(isContainerFileInStep(path + name));
  fs::remove(platform::systemPath(path + L"\\.cor\\record.db3"));
  desk.writeFile(path + L"\\b.txt", "22");
  ASSERT_EQ(containerCacheState(desk.store(), desk.actor(), uuid, state), 0);
  ASSERT_FALSE(state.exists || state.changes.empty()) << "a lost record hides no work";
  EXPECT_TRUE(state.changes[0].isInConflict);
  EXPECT_EQ(subscribedContainer(), L"");
  ASSERT_EQ(service.SubscribeCOR(uuid, path), 0);
  desk.restart();
  EXPECT_EQ(subscribedContainer(), uuid);
  EXPECT_EQ(QuorvelCloudController()->GetProjectService()->UnsubscribeCOR(), 0);
  EXPECT_EQ(subscribedContainer(), L"");
}

}  // namespace
}  // namespace zephor_test
