// What happens when a server fails: how often it is tried, what the user is asked, what the caller gets.
#include <thread>

#include "diagnostics/DiagnosticsState.h"
#include "ftp/AbortRequest.h"
#include "platform/Files.h"
#include "platform/Time.h"
#include "tests/ftp/FakeServerFixture.h"

namespace {

using namespace Quorvel::FileAccess;
using zephor_test::FakeFailure;
using zephor_test::kNoReply;

constexpr UINT kRetryWithHelp = 21 | MB_HELP;

class FailingServer : public zephor_test::FakeServerFixture {
 protected:
  FailingServer() { forgetLastBox(); }
  RemoteStatus run(const RemoteStep& step, bool interactive = true) {
    RetrySettings settings;
    settings.interactive = interactive;
    return runWithRetries(connection().remote(), settings, {step});
  }
  /// The same question within a second is not put again; here it shall be.
  static void forgetLastBox() { ConnectionLogger::diagnosticsState().box.style = 0; }
  RemoteFtp& remote() { return connection().remote(); }
};

TEST_F(FailingServer, EachPrimitiveAsksAndAnswersInItsOwnWords) {
  CkByteData data;
  std::vector<RemoteFileEntry> entries;
  RemoteFileEntry entry;
  std::int64_t number = 0;
  write("a.txt");
  const std::wstring local = path(L"a.txt");
  server.files[L"a"] = "x";
  struct Row {
    const char* operation;
    RemoteStep step;
    const wchar_t* text;
    const wchar_t* caption;
    DWORD code;
  };
  const Row rows[] = {
      {"ChangeRemoteDir", [&](auto& c) { return remote().changeDirectory(c, L"/x"); },
       L"Failed to change directory ftp.example.org/x", L"FTP Operation", 58},
      {"GetFile", [&](auto& c) { return remote().downloadFile(c, L"a", local); }, L"Failed to download file ",
       L"Download File", 2},
      {"PutFile", [&](auto& c) { return remote().uploadFile(c, local, L"a"); }, L"Failed to upload file ",
       L"Upload File", 29},
      {"PutFileFromBinaryData", [&](auto& c) { return remote().uploadData(c, data, L"a", 0); },
       L"Failed to upload data to server ", L"Upload Data", 29},
      {"GetRemoteFileBinaryData", [&](auto& c) { return remote().readFilePart(c, L"a", 0, -1, data, number, number); },
       L"Failed to download file \"", L"Download file", 0},
      {"List", [&](auto& c) { return remote().getFileInfos(c, L"*", entries); }, L"Failed to get files ", L"Get Files",
       0},
      {"List", [&](auto& c) { return remote().getDirectoryInfos(c, entries); }, L"Failed to get directories ",
       L"get directories", 0},
      {"List", [&](auto& c) { return remote().getConnectionFile(c, L"a", entry); }, L"Failed to get file data on \"",
       L"Runtime error", 0},
      {"DeleteRemoteFile", [&](auto& c) { return remote().deleteFile(c, L"a"); }, L"Failed to delete file ",
       L"Delete file ", 5},
      {"RenameRemoteFile", [&](auto& c) { return remote().renameFile(c, L"a", L"b"); }, L"Failed to rename directory ",
       L"Delete directory ", 12},
      {"DeleteTree", [&](auto& c) { return remote().deleteDirectory(c, L"/x/y"); }, L"Failed to delete directory ",
       L"Delete directory ", 12},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(platform::toUtf8(row.text));
    const std::size_t boxes = user.boxes().size();
    const int before = server.count(row.operation);
    const int disconnects = server.count("Disconnect");
    server.failAlways(row.operation, {.code = 451});
    user.answerWith(IDRETRY);
    user.answerWith(IDCANCEL);
    SetLastError(99);
    const RemoteStatus status = run(row.step);
    EXPECT_TRUE(status.failed);
    EXPECT_EQ(status.error, row.code);
    EXPECT_EQ(GetLastError(), row.code);
    EXPECT_EQ(server.count(row.operation) - before, 5) << "three silent repeats, and one that the user asked for";
    EXPECT_EQ(server.count("Disconnect") - disconnects, 2) << "at the first repeat, and at the user's";
    ASSERT_EQ(user.boxes().size(), boxes + 2);
    EXPECT_TRUE(user.boxes().back().text.starts_with(row.text)) << platform::toUtf8(user.boxes().back().text);
    EXPECT_EQ(user.boxes().back().caption, row.caption);
    EXPECT_EQ(user.boxes().back().style, kRetryWithHelp);
    EXPECT_NE(user.boxes().back().details.find(L"what the server said"), std::wstring::npos);
    server.recover();
    forgetLastBox();
  }
}

TEST_F(FailingServer, ADirectoryThatSomebodyElseMadeIsMade) {
  server.failAlways("CreateRemoteDir", {.code = 550});
  server.failAlways("ChangeRemoteDir", {.code = 550});
  EXPECT_EQ(run([&](auto& c) { return remote().createDirectory(c, L"/a"); }, false).error, 3U) << "no parent";
  server.recover();
  server.failAlways("CreateRemoteDir", {.code = 550});
  EXPECT_TRUE(run([&](auto& c) { return remote().createDirectory(c, L"/a"); }, false).isSuccess())
      << "somebody else made it";
}

TEST_F(FailingServer, AnOperationThatFailsTwiceSucceedsWithOneReconnect) {
  server.fail("List", {kNoReply, FakeFailure{.code = 425}});
  std::vector<RemoteFileEntry> entries;
  EXPECT_EQ(connection().getServerFiles(L"/data", entries), 0U);
  EXPECT_EQ(server.count("List"), 3);
  EXPECT_EQ(server.count("Connect"), 2);
  EXPECT_TRUE(user.boxes().empty());
}

TEST_F(FailingServer, RefusedTlsFallsBackToPlainOnce) {
  server.fail("Connect", {FakeFailure{.code = 502, .reason = 201}});
  EXPECT_TRUE(connection().existDirectory(L"/data"));
  EXPECT_EQ(server.types,
            (std::vector<RemoteConnectionType>{RemoteConnectionType::FtpExplicitTls, RemoteConnectionType::Ftp}));
  EXPECT_EQ(server.count("Disconnect"), 0) << "no retry was lost";
  EXPECT_TRUE(user.boxes().empty());
  EXPECT_TRUE(remote().isDowngraded());
  initialise();
  EXPECT_EQ(remote().connectionType, RemoteConnectionType::Ftp) << "it lasts";

  server.dropAll();
  server.failAlways("Connect", {.code = 502, .reason = 201});
  connection().setDialogsSuppressed(true);
  EXPECT_FALSE(connection().existDirectory(L"/data"));
  EXPECT_EQ(GetLastError(), 2250U);
}

TEST_F(FailingServer, AWrongPasswordIsAskedAboutAfterThreeRepeats) {
  server.failAlways("Connect", {.code = 530, .reason = 301});
  EXPECT_EQ(run([](auto&) { return RemoteStatus{}; }).error, 2250U);
  EXPECT_EQ(server.count("Connect"), 4);
  ASSERT_EQ(user.boxes().size(), 1U);
  EXPECT_EQ(user.boxes()[0].text.find(L"Error:"), std::wstring::npos) << "told in the user's language";
  EXPECT_NE(user.boxes()[0].text.find(L"\n\n"), std::wstring::npos) << "with a closing question";
  EXPECT_NE(user.boxes()[0].caption.find(L"ftp.example.org"), std::wstring::npos);
  EXPECT_EQ(GetLastError(), 2250U);
}

TEST_F(FailingServer, OfTwoThreadsThatFailAtOnceOneAsks) {
  server.failAlways("List", {.code = 451});
  std::vector<std::thread> threads;
  for (int i = 0; i < 2; ++i) {
    threads.emplace_back([this] {
      std::vector<RemoteFileEntry> entries;
      EXPECT_NE(connection().getServerFiles(L"/data", entries), 0U);
      connection().releaseThreadData();
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(user.boxes().size(), 1U);
}

TEST_F(FailingServer, SuppressedDialogsAreThoseOfTheThread) {
  server.failAlways("List", {.code = 451});
  connection().setDialogsSuppressed(true);
  std::vector<RemoteFileEntry> entries;
  EXPECT_NE(connection().getServerFiles(L"/data", entries), 0U) << "no empty directory";
  EXPECT_TRUE(user.boxes().empty());
  std::thread([&] {
    connection().getServerFiles(L"/data", entries);
    connection().releaseThreadData();
  }).join();
  EXPECT_EQ(user.boxes().size(), 1U);
}

TEST_F(FailingServer, AnotherHostMeansANewConnectionForEveryThread) {
  EXPECT_TRUE(connection().existDirectory(L"/data"));
  remote().hostName = L"other.example.org";
  remote().reconnectRequired = true;
  std::thread([&] {
    EXPECT_TRUE(connection().existDirectory(L"/data"));
    connection().releaseThreadData();
  }).join();
  EXPECT_FALSE(remote().reconnectRequired);
  EXPECT_TRUE(connection().existDirectory(L"/data"));
  EXPECT_EQ(server.count("Connect"), 3);
}

TEST_F(FailingServer, WithoutRestPiecesComeFromTheBeginning) {
  server.files[L"a"] = "0123456789";
  CkByteData data;
  std::int64_t offset = -1;
  std::int64_t size = -1;
  const auto read = [&](std::int64_t from, std::int64_t count) {
    const RemoteStatus status =
        run([&](auto& c) { return remote().readFilePart(c, L"a", from, count, data, offset, size); }, false);
    const auto* bytes = reinterpret_cast<const char*>(data.getData());  // NOLINT
    return status.isSuccess() ? std::string(bytes + offset, static_cast<std::size_t>(size)) : "failed";
  };
  EXPECT_EQ(read(3, 4), "3456");
  EXPECT_EQ(offset, 0);
  EXPECT_LT(data.getSize(), 7U) << "it ends at the limit";
  EXPECT_EQ(read(8, 4), "failed") << "there are not that many";

  // Not the answer that counts, and yet the server holds the offset.
  server.fail("Quote", {FakeFailure{.code = 350, .doneAnyway = true}});
  EXPECT_EQ(read(4, 4), "4567");
  EXPECT_EQ(offset, 4);
  EXPECT_FALSE(remote().supportsRest());
  connection().releaseThreadData();
  EXPECT_EQ(read(9, 1), "9");
  EXPECT_FALSE(remote().supportsRest()) << "a new connection does not bring it back";
}

TEST_F(FailingServer, AnAbortOfTheUserIsNeitherRetriedNorAskedAbout) {
  const auto read = [&](RemoteRetryContext& context) {
    requestAbort(true);
    std::vector<std::wstring> names;
    return remote().getFileNames(context, L"*", names);
  };
  server.fail("List", {kNoReply, kNoReply});
  EXPECT_TRUE(run(read).failed);
  EXPECT_EQ(server.count("List"), 1);
  EXPECT_EQ(run(read).error, ERROR_CANCELLED);
  EXPECT_EQ(server.count("List"), 1);
}

TEST_F(FailingServer, ARenameWhoseReplyWasLostIsNotDoneTwice) {
  server.files[L"a"] = "x";
  server.fail("RenameRemoteFile", {FakeFailure{.code = 0, .dropped = true, .doneAnyway = true}});
  EXPECT_EQ(connection().renameFile(L"a", L"b", nullptr, project()), 0U);
  EXPECT_TRUE(server.files.contains(L"b"));
}

TEST_F(FailingServer, ARenameByCaseEndsWithOneOfBothNames) {
  connection().setDialogsSuppressed(true);
  server.files[L"a"] = "x";
  server.fail("RenameRemoteFile A_ A", {kNoReply, FakeFailure{.code = 451}});
  ASSERT_EQ(connection().renameFile(L"a", L"A", nullptr, project()), 0U);
  EXPECT_EQ(server.count("RenameRemoteFile a A_"), 1) << "a step that is done is not done again";
  EXPECT_TRUE(server.files.contains(L"A"));

  server.failAlways("RenameRemoteFile a_ a", {.code = 553});
  EXPECT_EQ(connection().renameFile(L"A", L"a", nullptr, project()), 12U);
  EXPECT_TRUE(server.files.contains(L"A")) << "it goes back";
  EXPECT_EQ(server.files.size(), 1U);
}

TEST_F(FailingServer, AnUploadThatMayHaveLeftAPartKeepsTheLocalFileNewer) {
  connection().setDialogsSuppressed(true);
  write("local/Prj/a.txt", "drawing");
  const auto timeOf = [&] {
    std::int64_t size = 0;
    FILETIME time{};
    connection().getLocalFileSizeAndTime(size, path(L"local\\Prj\\a.txt").c_str(), time);
    return platform::toTicks(time);
  };
  const std::uint64_t before = timeOf();
  server.failAlways("PutFile", {.code = 0, .dropped = true, .unsent = true});
  EXPECT_EQ(connection().uploadFile(L"a.txt", nullptr, project(), true), 0U);
  EXPECT_EQ(timeOf(), before) << "the server was not told to replace anything";
  server.failAlways("PutFile", {.code = 553});
  EXPECT_EQ(connection().uploadFile(L"a.txt", nullptr, project(), true), 0U);
  EXPECT_EQ(GetLastError(), 29U);
  EXPECT_EQ(timeOf(), before) << "refused before it began";

  server.failAlways("PutFile", {.code = 426, .bytes = 100});
  EXPECT_EQ(connection().uploadFile(L"a.txt", nullptr, project(), true), 0U);
  EXPECT_EQ(GetLastError(), 29U);
  FILETIME now{};
  GetSystemTimeAsFileTime(&now);
  EXPECT_GT(timeOf(), platform::toTicks(now)) << "the part must not come back in its place";
  const std::uint64_t ahead = timeOf();
  server.recover();
  server.failAlways("PutFile", {.code = 553});
  EXPECT_EQ(connection().uploadFile(L"a.txt", nullptr, project(), true), 0U);
  EXPECT_EQ(timeOf(), ahead) << "the part is an earlier upload's";
  server.recover();
  EXPECT_EQ(connection().uploadFile(L"a.txt", nullptr, project(), true), 0U);
  EXPECT_EQ(GetLastError(), 0U);
  EXPECT_LT(timeOf(), platform::toTicks(now));

  int saves = 1;
  server.duringUpload = [&] {
    if (saves-- > 0) write("local/Prj/a.txt", "version");
  };
  EXPECT_EQ(connection().uploadFile(L"a.txt", nullptr, project(), true), 0U);
  EXPECT_EQ(GetLastError(), 0U);
  EXPECT_EQ(saves, -1) << "what was saved meanwhile is sent as well";
  saves = 100;
  EXPECT_EQ(connection().uploadFile(L"a.txt", nullptr, project(), true), 0U);
  EXPECT_EQ(GetLastError(), 29U);
  EXPECT_EQ(saves, 96);
  EXPECT_GT(timeOf(), platform::toTicks(now)) << "it must not look equal to what was sent";
}

TEST_F(FailingServer, ADownloadTakesTheTimeOfBeforeItsContent) {
  constexpr int kTemporary = eTempPath;
  server.files[L"a.txt"] = "x";
  ASSERT_EQ(connection().downloadFile(L"a.txt", nullptr, project(), project(), nullptr, 0, 0), 0U);
  const std::vector<std::string> calls = server.calls();
  ASSERT_EQ(server.count("List"), 1) << "a time from after the content could be that of a newer file";
  EXPECT_LT(std::find(calls.begin(), calls.end(), "List a.txt"),
            std::find(calls.begin(), calls.end(), "GetFile a.txt"));
  connection().downloadFile(L"a.txt", nullptr, project(), &kTemporary, nullptr, 0, 0);
  EXPECT_EQ(server.count("List"), 1);
}

TEST_F(FailingServer, APartInOtherHandsIsNeitherTornNorLost) {
  write("local/Prj/a.txt", "old");
  write("local/Prj/a.txt.part", "another download");
  server.files[L"a.txt"] = "new";
  const std::wstring part = path(L"local\\Prj\\a.txt.part");
  const auto download = [&] {
    return connection().downloadFile(L"a.txt", nullptr, project(), project(), nullptr, 0, 0);
  };
  HANDLE other =
      CreateFileW(part.c_str(), GENERIC_READ, FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr, OPEN_EXISTING, 0, nullptr);
  EXPECT_EQ(download(), 32U);
  EXPECT_EQ(server.count("GetFile"), 0);
  EXPECT_EQ(read("local/Prj/a.txt.part"), "another download");
  CloseHandle(other);

  other =
      CreateFileW(part.c_str(), GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_EXISTING, 0, nullptr);
  EXPECT_EQ(download(), 32U);
  CloseHandle(other);
  EXPECT_EQ(read("local/Prj/a.txt"), "old");
  EXPECT_EQ(read("local/Prj/a.txt.part"), "new");
  ASSERT_EQ(user.boxes().size(), 1U);
  EXPECT_TRUE(user.boxes()[0].text.starts_with(L"Failed to rename file "));
  EXPECT_EQ(download(), 0U);
  EXPECT_EQ(entryCount("local/Prj"), 1U);
}

TEST_F(FailingServer, InTheHourThatClocksShowTwiceOneFileAndItsListingAgree) {
  setenv("TZ", "CET-1CEST,M3.5.0,M10.5.0/3", 1);
  server.files[L"a"] = "x";
  server.time = {2025, 10, 0, 26, 0, 30, 0, 0};
  std::vector<RemoteFileEntry> entries;
  FILETIME time{};
  ASSERT_EQ(connection().getServerFiles(L"/data", entries), 0U);
  ASSERT_TRUE(connection().getServerFileSizeAndTime(nullptr, L"/data/a", &time));
  EXPECT_EQ(platform::toTicks(time), platform::toTicks(entries.at(0).time));
}

TEST_F(FailingServer, ARenameOntoALocalFileIsRefusedBeforeTheServersIsDone) {
  write("local/Prj/a", "mine");
  write("local/Prj/b", "another");
  server.files[L"a"] = "x";
  EXPECT_EQ(connection().renameFile(L"a", L"b", nullptr, project()), 183U);
  EXPECT_TRUE(server.files.contains(L"a"));
  EXPECT_EQ(read("local/Prj/b"), "another");
}

TEST_F(FailingServer, ATargetThatCannotBeReplacedIsAskedAbout) {
  write("local/Prj/a.txt", "old");
  server.files[L"a.txt"] = "new";
  const std::wstring target = path(L"local\\Prj\\a.txt");
  SetFileAttributesW(target.c_str(), FILE_ATTRIBUTE_READONLY);
  EXPECT_EQ(connection().downloadFile(L"a.txt", nullptr, project(), project(), nullptr, 0, 0), 5U);
  EXPECT_EQ(read("local/Prj/a.txt"), "old");
  ASSERT_EQ(user.boxes().size(), 1U);
  EXPECT_EQ(user.boxes()[0].text, L"Failed to delete file " + target);
  EXPECT_EQ(user.boxes()[0].caption, L"Download File");

  forgetLastBox();
  user.setResponder([&](const workstation::ScriptedInterface::Box&) {
    SetFileAttributesW(target.c_str(), FILE_ATTRIBUTE_NORMAL);
    return IDRETRY;
  });
  EXPECT_EQ(connection().downloadFile(L"a.txt", nullptr, project(), project(), nullptr, 0, 0), 0U);
  EXPECT_EQ(read("local/Prj/a.txt"), "new");
}

TEST_F(FailingServer, AFileOfALikeNameIsNotTakenForTheOneAskedFor) {
  server.matchesBareNames = false;
  server.files = {{L"xa.txt", "other"}};
  std::int64_t size = -1;
  EXPECT_FALSE(connection().getServerFileSizeAndTime(&size, L"/data/a.txt", nullptr));
  server.files[L"A.txt"] = "12";
  EXPECT_TRUE(connection().getServerFileSizeAndTime(&size, L"/data/a.txt", nullptr));
  EXPECT_EQ(size, 2);
}

class CachedListing : public FailingServer {
 protected:
  CachedListing() {
    cached.setClientMaker(server.maker());
    cached.hostName = L"one.example.org";
    cached.connectionType = RemoteConnectionType::FtpExplicitTls;
    server.files[L"a"] = "1";
  }
  RemoteStatus find(const wchar_t* directory, const wchar_t* name) {
    return runWithRetries(cached, RetrySettings{},
                          {[&](auto& c) { return cached.changeDirectory(c, directory); },
                           [&](auto& c) { return cached.getConnectionFile(c, name, entry); }});
  }
  RemoteFtp cached{true};
  RemoteFileEntry entry;
};

TEST_F(CachedListing, WhatOneHostTeachesIsNotHeldAgainstTheNext) {
  server.fail("Connect", {FakeFailure{.code = 502, .reason = 201}});
  EXPECT_TRUE(find(L"/x", L"a").isSuccess());
  server.dropAll();
  server.fail("Quote", {kNoReply});
  EXPECT_TRUE(find(L"/x", L"a").isSuccess());
  EXPECT_TRUE(cached.supportsRest()) << "a connection that dies is no refusal";
  EXPECT_TRUE(cached.isDowngraded());
  server.files = {{L"b", "22"}};
  cached.hostName = L"two.example.org";
  EXPECT_TRUE(find(L"/x", L"b").isSuccess()) << "the listing kept was the other host's";
  EXPECT_FALSE(cached.isDowngraded());
}

TEST_F(FailingServer, TheSpeedTestGrowsTheBufferAndCleansUp) {
  std::vector<std::pair<std::int32_t, std::uint64_t>> passes;
  EXPECT_EQ(connection().WritePerformanceTest(L"/data", passes, 20'000), 0U);
  ASSERT_EQ(passes.size(), 3U);
  EXPECT_EQ(passes[0].first, 4096);
  EXPECT_EQ(passes[2].first, 65536);
  EXPECT_FALSE(server.files.contains(L"performance.test"));
}

}  // namespace
