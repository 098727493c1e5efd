// The embedded controllers as a workstation is given them.
#include <gtest/gtest.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <array>
#include <filesystem>
#include <functional>
#include <optional>
#include <set>
#include <thread>

#include "host/Cloud.h"
#include "host/ObjectFiles.h"
#include "platform/Files.h"
#include "platform/Paths.h"
#include "platform/Time.h"
#include "tests/support/TestWorkstation.h"
#include "workstation/Session.h"
#include "workstation/objects/ObjectFile.h"
#include "workstation/objects/OpenFiles.h"
#include "workstation/store/CacheRecord.h"
#include "workstation/store/StoreContext.h"
#include "workstation/store/StoreStatus.h"
#include "workstation/store/TransferConditions.h"

namespace zephor_test {
namespace {

/// Told of each sync in this process, before it, with the path of what is synced.
std::function<void(const std::string&)> onSync;

int syncBy(long call, int file) {
  std::error_code none;
  if (onSync) onSync(std::filesystem::read_symlink("/proc/self/fd/" + std::to_string(file), none).string());
  return static_cast<int>(::syscall(call, file));
}

}  // namespace
}  // namespace zephor_test

extern "C" __attribute__((visibility("default"))) int fsync(int file) {
  return zephor_test::syncBy(SYS_fsync, file);
}

extern "C" __attribute__((visibility("default"))) int syncfs(int file) noexcept {
  return zephor_test::syncBy(SYS_syncfs, file);
}

namespace zephor_test {
namespace {

TEST(WorkstationStore, RefreshIsFullUntilTheFilesWereBrought) {
  TestWorkstation workstation;
  const std::wstring project = workstation.createTeamAndProject(L"House");
  ICloudProjectService& service = *QuorvelCloudController()->GetProjectService();
  const std::wstring directory = workstation.projectPath();
  const auto isFull = [&] {
    bool full = false;
    EXPECT_EQ(service.RefreshProjectCache(project, full), 0);
    return full;
  };
  EXPECT_TRUE(isFull()) << "the directory alone is no copy";
  EXPECT_EQ(service.DownloadFiles(project, directory, {}, {}), 0);
  EXPECT_TRUE(isFull());
  EXPECT_EQ(service.DownloadQuorvelProjectBaseFiles(project, directory, 1, {}), 0);
  EXPECT_FALSE(isFull());
  workstation.restart();
  EXPECT_FALSE(isFull()) << "another process";
  platform::removeTree(directory);
  EXPECT_TRUE(isFull());
  workstation.writeFile(directory + L"\\design\\a.txt", "");
  EXPECT_TRUE(isFull()) << "a new directory of the old name";
  workstation.writeFile(directory + L"\\OndrathCopy.tmp", "");
  EXPECT_TRUE(isFull()) << "the mark comes after a failed load, too";
}

TEST(WorkstationStore, LoadOfNewsKeepsWorkAndAFullLoadCopiesItBefore) {
  TestWorkstation desk;
  const std::wstring project = desk.createTeamAndProject(L"House");
  ICloudProjectService& service = *QuorvelCloudController()->GetProjectService();
  const std::wstring directory = desk.projectPath();
  const auto colleague = desk.addColleague(L"Ben");
  const auto here = [&](const wchar_t* name) { return desk.readFile(desk.projectPath(name)); };
  const auto light = [&] { return service.DownloadQuorvelProjectBaseFiles(project, directory, 1, {}); };
  for (const wchar_t* name : {L"news.txt", L"work.txt", L"both.txt", L"gone.txt"})
    desk.putStored(colleague, name, "old");
  ASSERT_EQ(service.DownloadQuorvelProjectFiles(project, directory, 5, {}), 0);
  for (const wchar_t* name : {L"work.txt", L"both.txt", L"new.txt"}) desk.writeFile(desk.projectPath(name), "local");
  for (const wchar_t* name : {L"news.txt", L"both.txt", L"new.txt"}) desk.putStored(colleague, name, "theirs");
  ASSERT_NE(DeleteFileW(desk.projectPath(L"gone.txt").c_str()), FALSE);
  desk.restart();
  EXPECT_EQ(light(), 0);
  EXPECT_EQ(here(L"news.txt") + here(L"gone.txt"), "theirsold");
  EXPECT_EQ(here(L"work.txt") + here(L"both.txt") + here(L"new.txt"), "locallocallocal");
  EXPECT_TRUE(desk.hasErrorLine(L"both.txt\" stays: ") && desk.hasErrorLine(L"new.txt\" stays: "));
  EXPECT_FALSE(desk.hasErrorLine(L"work.txt"));

  EXPECT_EQ(service.UploadProjectFile(project, L"both.txt"), 0);
  desk.putStored(colleague, L"both.txt", "after it was sent");
  EXPECT_EQ(light(), 0);
  EXPECT_EQ(here(L"both.txt"), "after it was sent");

  EXPECT_EQ(service.DownloadQuorvelProjectFiles(project, directory, 5, {}), 0);
  EXPECT_EQ(here(L"work.txt") + here(L"new.txt"), "oldtheirs");
  std::size_t copies = 0;
  for (const auto& entry : std::filesystem::directory_iterator(platform::systemPath(directory + L"\\Backup"))) {
    EXPECT_EQ(contentOf(entry.path().string()), "local");
    ++copies;
  }
  EXPECT_EQ(copies, 2U);
}

TEST(WorkstationStore, LoadLeavesWhatWasWrittenAfterItWasJudged) {
  TestWorkstation desk;
  const std::wstring project = desk.createTeamAndProject(L"House");
  ICloudProjectService& service = *QuorvelCloudController()->GetProjectService();
  const auto here = [&](const wchar_t* name) { return desk.readFile(desk.projectPath(name)); };
  for (const wchar_t* name : {L"changed.txt", L"gone.txt", L"new.txt", L"quiet.txt"}) {
    desk.putStored(desk.actor(), name, "theirs");
  }
  for (const wchar_t* name : {L"changed.txt", L"gone.txt", L"quiet.txt"}) desk.writeFile(desk.projectPath(name), "old");
  workstation::setTransferProgress([&](std::uint32_t done, std::uint32_t total, std::uint64_t, const std::wstring&) {
    if (done != total) return;
    for (const wchar_t* name : {L"changed.txt", L"new.txt"}) desk.writeFile(desk.projectPath(name), "work");
    DeleteFileW(desk.projectPath(L"gone.txt").c_str());
  });
  CloudTransferOptions options;
  options.count = 1;
  const std::set<std::wstring> names{L"changed.txt", L"gone.txt", L"new.txt", L"quiet.txt"};
  EXPECT_EQ(service.DownloadFiles(project, desk.projectPath(), names, options), workstation::kStoreChanged);
  workstation::setTransferProgress({});
  EXPECT_EQ(here(L"changed.txt") + here(L"new.txt") + here(L"quiet.txt"), "workworktheirs");
  EXPECT_FALSE(desk.exists(desk.projectPath(L"gone.txt")));
  EXPECT_EQ(service.DownloadFiles(project, desk.projectPath(), names, {}), 0);
  EXPECT_EQ(here(L"changed.txt"), "theirs");
  std::multiset<std::string> copies;
  for (const auto& entry : std::filesystem::directory_iterator(platform::systemPath(desk.projectPath(L"Backup")))) {
    copies.insert(contentOf(entry.path().string()));
  }
  EXPECT_EQ(copies.count("work"), 2U) << "nobody had decided against them";
}

TEST(WorkstationStore, TransfersObeyWhatWasJudgedAndMoveItOn) {
  TestWorkstation desk;
  const std::wstring project = desk.createTeamAndProject(L"House");
  ICloudProjectService& service = *QuorvelCloudController()->GetProjectService();
  const std::wstring path = desk.projectPath(L"a.txt");
  const auto upload = [&] {
    QuorvFileInfo file;
    file.name = L"a.txt";
    std::vector<std::wstring> failed;
    return service.UploadFilesAndMetadata(project, desk.projectPath(), {file}, 0, {}, failed);
  };
  desk.writeFile(path, "one");
  std::optional<workstation::ScopedTransferConditions> scope;
  const auto judge = [&](const workstation::FileContent& here) {
    scope.emplace(project, std::vector<workstation::TransferCondition>{{L"A.txt", here, 0}});
  };
  judge({2, 0, {}});
  EXPECT_EQ(upload(), workstation::kStoreChanged) << "what is read is not what was judged";
  judge({});
  EXPECT_EQ(upload(), 0);
  EXPECT_EQ(upload(), 0) << "over what this scope has sent itself";
  desk.putStored(desk.addColleague(L"Ben"), L"a.txt", "theirs");
  EXPECT_EQ(upload(), workstation::kStoreChanged);
  EXPECT_TRUE(desk.hasErrorLine(L"\"a.txt\" was saved meanwhile by Ben"));
  EXPECT_EQ(service.DeleteFile(project, L"a.txt"), workstation::kStoreChanged);
  EXPECT_EQ(service.DownloadFile(project, desk.projectPath(), L"a.txt", L""), workstation::kStoreChanged);
  EXPECT_EQ(desk.readFile(path), "one") << "nothing was here when it was judged";

  // Somebody who writes at any moment of a download has the last word.
  for (int round = 0; round < 60; ++round) {
    desk.writeFile(path, "judged");
    const platform::FileStatus judged = platform::fileStatus(path);
    judge({static_cast<std::int64_t>(judged.size), static_cast<std::int64_t>(platform::toTicks(judged.writeTime)), {}});
    std::thread writer([&] {
      std::this_thread::sleep_for(std::chrono::microseconds(round * 25));
      desk.writeFile(path + L".new", "a later work");
      std::filesystem::rename(platform::systemPath(path + L".new"), platform::systemPath(path));
    });
    service.DownloadFile(project, desk.projectPath(), L"a.txt", L"");
    writer.join();
    ASSERT_EQ(desk.readFile(path), "a later work") << round;
  }
}

TEST(WorkstationStore, LoadThatWasCutOffIsTakenUpWhereverItEnded) {
  using workstation::FileContent;
  using workstation::LoadVerdict;
  const FileContent none;
  const FileContent old{3, 10, "old"};
  const FileContent next{4, 20, "next"};
  const FileContent later{5, 30, "later"};
  const FileContent edited{6, 25, ""};
  const struct {
    FileContent here;
    FileContent stored;
    workstation::SeenFile seen;
    LoadVerdict expected;
  } cases[] = {{old, next, {old, next}, LoadVerdict::Bring},        {next, later, {old, next}, LoadVerdict::Bring},
               {next, later, {none, next}, LoadVerdict::Bring},     {edited, next, {next, none}, LoadVerdict::Leave},
               {edited, later, {old, next}, LoadVerdict::KeepBoth}, {none, old, {old, none}, LoadVerdict::Bring}};
  for (const auto& one : cases) {
    EXPECT_EQ(loadVerdict(one.here, one.stored, &one.seen, true), one.expected) << &one - cases;
  }
  EXPECT_EQ(loadVerdict(edited, next, nullptr, false), LoadVerdict::BringAfterBackup);
}

TEST(WorkstationStore, WhatIsNotedAsInStepIsOnTheDiskBefore) {
  TestWorkstation desk;
  const std::wstring project = desk.createTeamAndProject(L"House");
  ICloudProjectService& service = *QuorvelCloudController()->GetProjectService();
  const std::wstring directory = desk.projectPath();
  const auto colleague = desk.addColleague(L"Ben");
  const auto isNoted = [&](const std::wstring& name) {
    const auto seen = workstation::CacheRecord::of(project, directory)->ask(name);
    return seen && seen->settled.isKnown();
  };
  const std::string place = std::filesystem::canonical(platform::systemPath(directory)).string();
  // Whether a sync met the file before it had its name, and with it, each time before it was noted.
  const auto watch = [&](const std::wstring& name, const std::function<void()>& work) {
    std::array<bool, 2> synced{};
    onSync = [&](const std::string& path) {
      if (!path.starts_with(place)) return;
      if (!isNoted(name)) synced[platform::fileStatus(desk.projectPath(name)).exists ? 1 : 0] = true;
    };
    work();
    onSync = nullptr;
    EXPECT_TRUE(isNoted(name));
    return synced;
  };
  constexpr std::array kBothTimes{true, true};
  for (const int files : {1, 9}) {
    std::set<std::wstring> names;
    for (int i = 0; i < files; ++i) names.insert(L"new\\" + std::to_wstring(files) + std::to_wstring(i) + L".dxf");
    for (const std::wstring& name : names) desk.putStored(colleague, name, "new");
    EXPECT_EQ(watch(*names.begin(), [&] { EXPECT_EQ(service.DownloadFiles(project, directory, names, {}), 0); }),
              kBothTimes);
  }
  desk.putStored(colleague, L"one.dxf", "new");
  EXPECT_EQ(watch(L"one.dxf", [&] { EXPECT_EQ(service.DownloadFile(project, directory, L"one.dxf", L""), 0); }),
            kBothTimes);
  desk.writeFile(desk.projectPath(L"mine.dxf"), "mine");
  EXPECT_TRUE(watch(L"mine.dxf", [&] { EXPECT_EQ(service.UploadProjectFile(project, L"mine.dxf"), 0); })[1]);
}

TEST(WorkstationStore, SessionCountsWhileItBeats) {
  TestWorkstation desk;
  ASSERT_EQ(desk.store().setSetting("session_timeout_seconds", 3), 0);
  const std::wstring project = desk.createTeamAndProject(L"House");
  ASSERT_EQ(QuorvelCloudController()->Login(false, false), 0);
  const auto colleague = desk.addColleague(L"Ben");
  const auto isInUse = [&](const workstation::StoreActor& who) {
    bool inUse = false;
    EXPECT_EQ(desk.store().isProjectInUse(who, project, "asking", true, inUse), 0);
    return inUse;
  };
  ASSERT_EQ(desk.store().beat(colleague, "crashed later", project, ""), 0);
  EXPECT_TRUE(isInUse(desk.actor()) && isInUse(colleague));
  Sleep(3500);
  EXPECT_FALSE(isInUse(desk.actor())) << "nobody beats for the colleague";
  EXPECT_TRUE(isInUse(colleague));
  workstation::closeProject();
  EXPECT_FALSE(isInUse(colleague));
}

TEST(WorkstationStore, DownloadLeavesAFileThatIsOpenElsewhere) {
  TestWorkstation workstation;
  const std::wstring project = workstation.createTeamAndProject(L"House");
  ICloudProjectService& service = *QuorvelCloudController()->GetProjectService();
  workstation.putStored(workstation.actor(), L"a.txt", "new");
  const std::wstring path = workstation.projectPath(L"a.txt");
  workstation.writeFile(path, "old");
  const HANDLE other = CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr);
  for (const wchar_t* suffix : {L"", L".Part"}) {
    EXPECT_EQ(service.DownloadFile(project, workstation.projectPath(), L"a.txt", suffix), workstation::kStoreInUse);
  }
  EXPECT_EQ(service.DownloadFiles(project, workstation.projectPath(), {L"a.txt"}, {}), workstation::kStoreInUse);
  EXPECT_EQ(workstation.readFile(path), "old");
  CloseHandle(other);
  EXPECT_EQ(service.DownloadFile(project, workstation.projectPath(), L"a.txt", L".Part"), 0);
  EXPECT_EQ(workstation.readFile(path), "new");
  EXPECT_FALSE(workstation.exists(path + L".Part"));
}

TEST(WorkstationStore, FileOpenInTheCoreIsReadThroughItsHandleAndGetsAPart) {
  TestWorkstation workstation;
  const std::wstring project = workstation.createTeamAndProject(L"House");
  ICloudProjectService& service = *QuorvelCloudController()->GetProjectService();
  workstation.writeFile(workstation.path(L"a"), "content");
  std::wstring path;
  std::wstring error;
  ASSERT_EQ(workstation::createObject(workstation.projectPath(), eFileType_Teilbild, 1, L"", workstation.path(L"a"), {},
                                      path, error),
            0U);
  ASSERT_GT(workstation::openInCore(path, error), 0);
  QuorvFileInfo file;
  file.name = L"tb000001.zdw";
  const HANDLE handle = getOpenFileHandle_FromFileName(path);
  file.fileHandle = reinterpret_cast<std::intptr_t>(handle);
  SetFilePointer(handle, 7, nullptr, FILE_BEGIN);
  std::vector<std::wstring> failed;
  EXPECT_EQ(service.UploadFilesAndMetadata(project, workstation.projectPath(), {file}, 0, {}, failed), 0);
  EXPECT_EQ(SetFilePointer(handle, 0, nullptr, FILE_CURRENT), 7U);
  const std::string own = workstation.readFile(path);
  EXPECT_EQ(workstation.readStored(L"tb000001.zdw"), own);

  workstation.putStored(workstation.actor(), L"tb000001.zdw", "of another desk");
  EXPECT_EQ(service.DownloadFile(project, workstation.projectPath(), L"tb000001.zdw", L""), workstation::kStoreInUse);
  EXPECT_EQ(service.DownloadFile(project, workstation.projectPath(), L"tb000001.zdw", L".Part"), 0);
  EXPECT_EQ(workstation.readFile(path), own);
  EXPECT_EQ(workstation.readFile(path + L".Part"), "of another desk");
  workstation::closeProject();
  EXPECT_EQ(cfgethandle(path, 0), -1);
}

}  // namespace
}  // namespace zephor_test
