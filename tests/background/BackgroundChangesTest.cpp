#include "zephor/BackgroundChanges.h"

#include <array>
#include <atomic>

#include "platform/Files.h"
#include "tests/support/CloudFixture.h"
#include "tests/support/FakePacing.h"
#include "workstation/projects/DirChanges.h"
#include "zephor/FileServices.h"

namespace Quorvel::FileAccess {
namespace {

using zephor_test::Calls;
using zephor_test::kRefused;
using zephor_test::kThrows;

constexpr unsigned long kAdded = 1;
constexpr unsigned long kRemoved = 2;
constexpr unsigned long kModified = 3;
constexpr zephor_test::milliseconds kSettle{50};

class BackgroundChanges : public zephor_test::CloudFixture {
 protected:
  ~BackgroundChanges() override { awaitEnd(); }

  static void awaitEnd() {
    while (WGO_GetBackgroundWork().uploads + WGO_GetBackgroundWork().deletions > 0) std::this_thread::yield();
  }
  void notify(const std::wstring& name, unsigned long action) const {
    WGO_callbackManageChangesFkt()(path(name), action);
  }
  void notifyAndAwait(const std::wstring& name, unsigned long action) const {
    notify(name, action);
    awaitEnd();
  }
  void save(const std::wstring& name) {
    desk.writeFile(path(name), "styles");
    notifyAndAwait(name, kModified);
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
  constexpr std::array<std::pair<int, int>, 3> kSleepsByFurtherNotices = {{{0, 10}, {1, 1}, {2, 10}}};
  desk.writeFile(path(L"design\\x.sty"), "styles");
  for (const auto& [more, sleeps] : kSleepsByFurtherNotices) {
    const int before = pacing.awaitBegun(kSettle, 0);
    pacing.hold(kSettle);
    notify(L"design\\x.sty", kModified);
    ASSERT_EQ(pacing.awaitBegun(kSettle, before + 1), before + 1);
    for (int notice = 0; notice < more; ++notice) notify(L"DESIGN\\X.sty", kModified);
    pacing.release(kSettle);
    awaitEnd();
    EXPECT_EQ(pacing.awaitBegun(kSettle, 0) - before, sleeps) << more;
  }
  EXPECT_EQ(cloud.calls(), Calls(3, L"UploadProjectFile design\\x.sty"));
}

TEST_F(BackgroundChanges, WhatIsNotServedGoesBackToTheHostOrNowhere) {
  for (const wchar_t* name : {L"design\\Desktop.ini", L"notes.txt", L"design\\tb000001.zdw"}) notify(name, kModified);
  EXPECT_EQ(left(), (Calls{L"design\\Desktop.ini 3", L"notes.txt 3", L"design\\tb000001.zdw 3"}));
  SHCreateDirectoryExW(nullptr, path(L"design").c_str(), nullptr);
  for (const unsigned long action : {kAdded, kModified, 4UL, 5UL}) notify(L"design", action);
  for (const wchar_t* outside : {L"design", L"C:\\design\\x.sty", L""}) WGO_callbackManageChanges(outside, kModified);
  WGO_callbackManageChanges(path(L"") + L"x\\linestyle.sty", kModified);
  const std::wstring served = path(L"design\\x.sty");
  set_ActivePrj(localPrj());
  WGO_callbackManageChanges(served, kModified);
  EXPECT_TRUE(workstation::takeDirectoryChanges().empty());
  EXPECT_EQ(pacing.awaitBegun(kSettle, 0), 0);
  EXPECT_EQ(cloud.calls(), Calls{});
}

TEST_F(BackgroundChanges, LogTellsTheLastResultAndBeginsAnewWithTheManager) {
  desk.writeFile(path(L"OndrathBackgroundService.log.xml"), "of an earlier run");
  WGO_SetBackgroundChangesManagerRunning(true, false);
  EXPECT_TRUE(WGO_IsBackgroundChangesManagerRunning() && log().empty());
  cloud.script("UploadProjectFile", {kRefused, kThrows, 0, kRefused, kRefused, kRefused});
  save(L"design\\R&D.sty");
  EXPECT_EQ(left(), Calls{});
  save(L"linestyle.sty");
  notifyAndAwait(L"design\\gone.sty", kModified);
  EXPECT_TRUE(desk.hasErrorLine(L"WGO_uploadFileEx: cannot access " + path(L"design\\gone.sty")));
  {
    const ScopedWGOBlockUpload block;
    save(L"displaytype.sty");
  }
  EXPECT_EQ(left(), (Calls{L"linestyle.sty 3", L"displaytype.sty 3"})) << "what did not go is not lost";
  EXPECT_EQ(cloud.calls().size(), 6U);
  EXPECT_EQ(
      log(),
      logOf(entry("Upload", "design\\R&amp;D.sty", "0x00000000") + entry("Upload", "linestyle.sty", "0x00000001") +
            entry("Upload", "design\\gone.sty", "0x00000002") + entry("Upload", "displaytype.sty", "0x00000000")));
  WGO_SetBackgroundChangesManagerRunning(false, false);
  EXPECT_FALSE(WGO_IsBackgroundChangesManagerRunning());
  WGO_SetBackgroundChangesManagerRunning(true, false);
  EXPECT_EQ(log(), "");
  EXPECT_TRUE(ui().boxes().empty());
}

TEST_F(BackgroundChanges, RemovedFileIsDeletedUnlessItCameBack) {
  cloud.script("DeleteFile", {0, kRefused});
  notifyAndAwait(L"design\\a\\x.sty", kRemoved);
  notifyAndAwait(L"linestyle.sty", kRemoved);
  desk.writeFile(path(L"design\\y.sty"), "styles");
  notifyAndAwait(L"design\\y.sty", kRemoved);
  EXPECT_EQ(left(), (Calls{L"linestyle.sty 2", L"design\\y.sty 3"}));
  EXPECT_EQ(cloud.calls(), (Calls{L"DeleteFile design\\a\\x.sty", L"DeleteFile linestyle.sty"}));
  EXPECT_EQ(log(),
            logOf(entry("Delete", "design\\a\\x.sty", "0x00000000") + entry("Delete", "linestyle.sty", "0x8000ffff")));
}

TEST_F(BackgroundChanges, FileThatIsSavedDuringItsUploadGoesOnceMoreBehindIt) {
  std::atomic<bool> isHeld = true;
  std::atomic<int> atOnce = 0;
  cloud.onCall = [&](const std::wstring&) {
    EXPECT_EQ(++atOnce, 1);
    while (isHeld) std::this_thread::yield();
    --atOnce;
  };
  desk.writeFile(path(L"design\\x.sty"), "first");
  notify(L"design\\x.sty", kModified);
  while (atOnce == 0) std::this_thread::yield();
  for (const unsigned long action : {kModified, kModified, kModified, kRemoved}) notify(L"design\\x.sty", action);
  EXPECT_EQ(WGO_GetBackgroundWork().uploads, 2U);
  EXPECT_EQ(WGO_GetBackgroundWork().deletions, 1U);
  set_ActivePrj(localPrj());
  isHeld = false;
  awaitEnd();
  EXPECT_EQ(cloud.calls(), Calls(2, L"UploadProjectFile design\\x.sty")) << "also of a project that was closed";
}

// Each file has a namesake in another directory.
TEST_F(BackgroundChanges, NothingOfABurstIsLost) {
  constexpr std::size_t kFiles = 200;
  constexpr std::size_t kThreads = 4;
  struct File {
    std::atomic<int> saved{0}, sent{0}, atOnce{0};
  };
  std::array<File, kFiles> files;
  std::atomic<std::size_t> calls = 0;
  const auto name = [](std::size_t file) {
    return (file % 2 == 0 ? L"design\\a\\f" : L"design\\b\\f") + std::to_wstring(file / 2);
  };
  cloud.onCall = [&](const std::wstring& call) {
    const std::size_t half = std::stoul(call.substr(call.rfind(L'f') + 1));
    File& file = files.at(half * 2 + (call.find(L"\\b\\") != std::wstring::npos ? 1 : 0));
    EXPECT_EQ(++file.atOnce, 1);
    file.sent = file.saved.load();
    const std::string seen = ++calls % 50 == 0 ? log() : "";
    EXPECT_TRUE(seen.empty() || seen.ends_with("</BackgroundServicesCollection>\n"));
    --file.atOnce;
  };
  for (std::size_t file = 0; file < kFiles; ++file) desk.writeFile(path(name(file)), "styles");
  std::vector<std::thread> threads;
  for (std::size_t thread = 1; thread <= kThreads; ++thread) {
    threads.emplace_back([&, thread] {
      for (std::size_t i = 0; i < kFiles; ++i) {
        ++files.at(i * thread % kFiles).saved;
        notify(name(i * thread % kFiles), kModified);
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  awaitEnd();
  for (File& file : files) EXPECT_EQ(file.sent, file.saved);
  std::size_t entries = 0;
  const std::string text = log();
  for (std::size_t at = 0; (at = text.find("<Upload>", at)) != std::string::npos; ++at) ++entries;
  EXPECT_EQ(entries, calls);
}

}  // namespace
}  // namespace Quorvel::FileAccess
