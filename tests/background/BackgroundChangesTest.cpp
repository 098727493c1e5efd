#include "zephor/BackgroundChanges.h"

#include <array>
#include <atomic>

#include "host/System.h"
#include "platform/Files.h"
#include "tests/support/CloudFixture.h"
#include "tests/support/FakePacing.h"
#include "workstation/projects/DirChanges.h"
#include "zephor/FileServices.h"

namespace Quorvel::FileAccess {
namespace {

using zephor_test::await;
using zephor_test::awaitNoBackgroundWork;
using zephor_test::Calls;
using zephor_test::kRefused;
using zephor_test::kThrows;

constexpr unsigned long kAdded = 1;
constexpr unsigned long kRemoved = 2;
constexpr unsigned long kModified = 3;
constexpr zephor_test::milliseconds kSettle{50};

class BackgroundChanges : public zephor_test::CloudFixture {
 protected:
  ~BackgroundChanges() override {
    pacing.release(kSettle);
    EXPECT_TRUE(awaitNoBackgroundWork());
  }

  /// Writes a file of the project, tells of it, and waits until all is done.
  void save(const std::wstring& name) {
    desk.writeFile(path(name), "styles");
    notify(name, kModified);
    EXPECT_TRUE(awaitNoBackgroundWork());
  }
  void notify(const std::wstring& name, unsigned long action) const {
    WGO_callbackManageChangesFkt()(path(name), action);
  }
  /// What went back to the host since the last call, as "name action".
  Calls left() const {
    Calls texts;
    for (const auto& change : workstation::takeDirectoryChanges()) {
      texts.push_back(change.path.substr(path(L"").size() + 1) + L' ' + std::to_wstring(change.action));
    }
    return texts;
  }
  std::string log() const { return desk.readFile(path(L"OndrathBackgroundService.log.xml")); }
  static std::string entry(const std::string& kind, const std::string& name, const std::string& error) {
    return "  <" + kind + ">\n    <File>" + name + "</File>\n    <Time>04.03.2026 - 05:06:07</Time>\n    <Error>" +
           error + "</Error>\n  </" + kind + ">\n";
  }
  static std::string logOf(const std::string& entries) {
    return "\xEF\xBB\xBF<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?>\n"
           "<BackgroundServicesCollection FileVersion=\"1.0\" ProjectType=\"Ondrath\">\n" +
           entries + "</BackgroundServicesCollection>\n";
  }

  zephor_test::FakePacing pacing;
};

TEST_F(BackgroundChanges, SecondNoticeEndsTheWaitAndThirdDoesNot) {
  constexpr std::array<std::pair<int, int>, 3> kWaits = {{{0, 10}, {1, 1}, {2, 10}}};
  for (const auto& [more, sleeps] : kWaits) {
    const int before = pacing.begun(kSettle);
    const std::size_t calls = cloud.calls().size();
    pacing.hold(kSettle);
    desk.writeFile(path(L"design\\x.sty"), "styles");
    notify(L"design\\x.sty", kModified);
    ASSERT_TRUE(pacing.awaitBegun(kSettle, before + 1));
    for (int notice = 0; notice < more; ++notice) notify(L"DESIGN\\X.sty", kModified);
    pacing.release(kSettle);
    ASSERT_TRUE(awaitNoBackgroundWork());
    EXPECT_EQ(pacing.begun(kSettle) - before, sleeps) << more;
    EXPECT_EQ(cloud.calls().size(), calls + 1) << more;
  }
  EXPECT_EQ(cloud.calls().front(), L"UploadProjectFile design\\x.sty");
  EXPECT_EQ(left(), Calls{});
}

TEST_F(BackgroundChanges, FilesOfTheSameNameGoUpEachByItself) {
  pacing.hold(kSettle);
  for (const wchar_t* name : {L"design\\a\\x.sty", L"design\\b\\x.sty", L"design\\a\\x.sty"}) {
    desk.writeFile(path(name), "styles");
    notify(name, kModified);
  }
  EXPECT_EQ(WGO_GetBackgroundWork().uploads, 2U);
  pacing.release(kSettle);
  ASSERT_TRUE(awaitNoBackgroundWork());
  Calls calls = cloud.calls();
  std::sort(calls.begin(), calls.end());
  EXPECT_EQ(calls, (Calls{L"UploadProjectFile design\\a\\x.sty", L"UploadProjectFile design\\b\\x.sty"}));
}

TEST_F(BackgroundChanges, WhatIsNotServedGoesBackToTheHostOrNowhere) {
  for (const wchar_t* name : {L"Desktop.ini", L"design\\Desktop.ini", L"notes.txt", L"design\\tb000001.zdw"})
    save(name);
  EXPECT_EQ(left(), (Calls{L"Desktop.ini 3", L"design\\Desktop.ini 3", L"notes.txt 3", L"design\\tb000001.zdw 3"}));
  SHCreateDirectoryExW(nullptr, path(L"design").c_str(), nullptr);
  for (const unsigned long action : {kAdded, kModified, 4UL, 5UL}) notify(L"design", action);
  notify(L"design\\x.sty", kAdded);
  for (const wchar_t* outside : {L"notes.txt", L"C:\\design\\x.sty", L""})
    WGO_callbackManageChanges(outside, kModified);
  WGO_callbackManageChanges(path(L"") + L"x\\linestyle.sty", kModified);
  set_ActivePrj(localPrj());
  WGO_callbackManageChanges(L"C:\\Data\\design\\x.sty", kModified);
  EXPECT_TRUE(workstation::takeDirectoryChanges().empty());
  EXPECT_EQ(pacing.begun(kSettle), 0);
  EXPECT_EQ(cloud.calls(), Calls{});
  EXPECT_EQ(log(), "");
}

TEST_F(BackgroundChanges, LogTellsTheLastResultAndBeginsAnewWithTheManager) {
  desk.writeFile(path(L"OndrathBackgroundService.log.xml"), "of an earlier run");
  WGO_SetBackgroundChangesManagerRunning(true, false);
  EXPECT_TRUE(WGO_IsBackgroundChangesManagerRunning() && log().empty());
  cloud.script("UploadProjectFile", {kRefused, kThrows, 0, kRefused, kRefused, kRefused});
  save(L"design\\R&D.sty");
  EXPECT_EQ(left(), Calls{});
  save(L"linestyle.sty");
  notify(L"design\\gone.sty", kModified);
  ASSERT_TRUE(awaitNoBackgroundWork());
  {
    const ScopedWGOBlockUpload block;
    save(L"displaytype.sty");
  }
  EXPECT_EQ(left(), (Calls{L"linestyle.sty 3", L"displaytype.sty 3"})) << "what did not go is not lost";
  EXPECT_EQ(cloud.calls().size(), 6U);
  EXPECT_EQ(
      log(),
      logOf(entry("Upload", "design\\R&amp;D.sty", "0x00000000") + entry("Upload", "linestyle.sty", "0x00000001") +
            entry("Upload", "design\\gone.sty", "0x00000002") + entry("Upload", "displaytype.sty", "0x0000000d")));
  WGO_SetBackgroundChangesManagerRunning(false, false);
  EXPECT_FALSE(WGO_IsBackgroundChangesManagerRunning());
  WGO_SetBackgroundChangesManagerRunning(true, false);
  EXPECT_EQ(log(), "");
  save(L"design\\x.sty");
  EXPECT_EQ(log(), logOf(entry("Upload", "design\\x.sty", "0x00000000")));
  EXPECT_TRUE(ui().boxes().empty());
}

TEST_F(BackgroundChanges, RemovedFileIsDeletedUnlessItCameBack) {
  cloud.script("DeleteFile", {0, kRefused});
  for (const wchar_t* name : {L"design\\a\\x.sty", L"linestyle.sty"}) {
    notify(name, kRemoved);
    ASSERT_TRUE(awaitNoBackgroundWork());
  }
  EXPECT_EQ(left(), Calls{L"linestyle.sty 2"});
  desk.writeFile(path(L"design\\y.sty"), "styles");
  notify(L"design\\y.sty", kRemoved);
  ASSERT_TRUE(awaitNoBackgroundWork());
  EXPECT_EQ(left(), Calls{L"design\\y.sty 3"});
  EXPECT_EQ(cloud.calls(), (Calls{L"DeleteFile design\\a\\x.sty", L"DeleteFile linestyle.sty"}));
  EXPECT_EQ(log(),
            logOf(entry("Delete", "design\\a\\x.sty", "0x00000000") + entry("Delete", "linestyle.sty", "0x8000ffff")));
}

TEST_F(BackgroundChanges, FileThatIsSavedDuringItsUploadGoesOnceMoreBehindIt) {
  const std::wstring other = path(L"design\\x.sty");
  std::atomic<bool> isHeld = true;
  std::atomic<int> atOnce = 0;
  cloud.onCall = [&](const std::wstring&) {
    EXPECT_EQ(++atOnce, 1);
    while (isHeld) std::this_thread::yield();
    --atOnce;
  };
  desk.writeFile(other, "first");
  notify(L"design\\x.sty", kModified);
  ASSERT_TRUE(await([&] { return atOnce == 1; }));
  for (int notice = 0; notice < 5; ++notice) notify(L"design\\x.sty", kModified);
  EXPECT_EQ(WGO_GetBackgroundWork().uploads, 2U);
  DeleteFileW(other.c_str());
  notify(L"design\\x.sty", kRemoved);
  desk.writeFile(other, "second");
  EXPECT_EQ(WGO_GetBackgroundWork().deletions, 1U);
  // The project that is open by then is another one.
  set_ActivePrj(localPrj());
  isHeld = false;
  ASSERT_TRUE(awaitNoBackgroundWork());
  EXPECT_EQ(cloud.calls(), (Calls{L"UploadProjectFile design\\x.sty", L"UploadProjectFile design\\x.sty"}));
}

TEST_F(BackgroundChanges, NothingOfABurstIsLost) {
  constexpr std::size_t kFiles = 200;
  constexpr std::size_t kThreads = 4;
  constexpr int kSaves = 3;
  struct File {
    std::atomic<int> saved{0};
    std::atomic<int> sent{0};
    std::atomic<int> atOnce{0};
  };
  std::array<File, kFiles> files;
  std::atomic<std::size_t> calls = 0;
  const std::string end = logOf("").substr(logOf("").size() - 32);
  cloud.onCall = [&](const std::wstring& call) {
    File& file = files.at(std::stoul(call.substr(call.rfind(L'f') + 1)));
    EXPECT_EQ(++file.atOnce, 1);
    file.sent = file.saved.load();
    if (++calls % 50 == 0) {
      const std::string seen = log();
      EXPECT_TRUE(seen.empty() || seen.ends_with(end));
    }
    --file.atOnce;
  };
  const auto name = [](std::size_t file) { return L"design\\f" + std::to_wstring(file); };
  for (std::size_t file = 0; file < kFiles; ++file) desk.writeFile(path(name(file)), "styles");
  std::vector<std::thread> threads;
  for (std::size_t thread = 0; thread < kThreads; ++thread) {
    threads.emplace_back([&, thread] {
      for (std::size_t i = 0; i < kFiles * kSaves; ++i) {
        const std::size_t file = (i * (thread + 1)) % kFiles;
        ++files.at(file).saved;
        notify(name(file), kModified);
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  ASSERT_TRUE(awaitNoBackgroundWork());
  for (File& file : files) EXPECT_EQ(file.sent, file.saved);
  const std::string text = log();
  std::size_t entries = 0;
  for (std::size_t at = text.find("<Upload>"); at != std::string::npos; at = text.find("<Upload>", at + 1)) ++entries;
  EXPECT_EQ(entries, calls);
}

}  // namespace
}  // namespace Quorvel::FileAccess
