#include "toolkit/DirectoryClient.h"

#include <gtest/gtest.h>
#include <sys/resource.h>

#include <chrono>
#include <csignal>
#include <functional>

#include "platform/Files.h"
#include "tests/platform/TemporaryDirectory.h"
#include "toolkit/ByteData.h"
#include "toolkit/Progress.h"
#include "toolkit/StringW.h"

namespace {

namespace fs = std::filesystem;
using namespace Quorvel::FileAccess;

CkByteData bytes(const std::string& text) {
  CkByteData data;
  data.append(text.data(), text.size());
  return data;
}

/// Calls back at every piece, and aborts when told.
class Watcher : public CkFtp2ProgressW {
 public:
  void onAbortCheck(bool& abort) override { abort = abort || bytesSoFar >= abortAt; }
  void onTransferRate(std::int64_t bytesNow, std::uint32_t /*rate*/) override {
    bytesSoFar = bytesNow;
    if (atPiece) atPiece();
  }
  std::int64_t abortAt = INT64_MAX;
  std::int64_t bytesSoFar = 0;
  std::function<void()> atPiece;
};

class DirectoryClient : public TemporaryDirectoryTest {
 protected:
  DirectoryClient() {
    fs::create_directories(root() / "server");
    client->Connect();
    EXPECT_TRUE(client->ChangeRemoteDir(path(L"server").c_str()));
  }

  /// Names, directories with a "/" behind them, sizes.
  std::wstring list(const wchar_t* pattern) const {
    client->ClearDirCache();
    client->put_ListPattern(pattern);
    std::wstring text;
    const std::int32_t count = client->get_NumFilesAndDirs();
    if (count < 0) return L"failed";
    for (std::int32_t i = 0; i < count; ++i) {
      CkStringW name;
      EXPECT_TRUE(client->GetFilename(i, name));
      text += name.text() + (client->GetIsDirectory(i) ? L"/ " : L" ") + std::to_wstring(client->GetSize64(i)) + L"; ";
    }
    return text;
  }

  std::unique_ptr<IRemoteClient> client = makeDirectoryClient();
};

TEST_F(DirectoryClient, DirectoriesAreEnteredByPathsOfEitherForm) {
  fs::create_directories(root() / "server/Prj/sub");
  write("server/file");
  const std::wstring mixed = path(L"server") + L"\\Prj/sub";
  const std::pair<std::wstring, int> table[] = {
      {mixed, 250},      {L"..", 250},           {L"sub/", 250},    {L"../../Prj\\sub", 250},
      {L"missing", 550}, {mixed + L"\\x", 550},  {L"../file", 550}, {L"Q:\\srv", 550},
      {L"", 553},        {L"..\r\nDELE x", 553}, {L"/", 250},       {L"missing", 550},
      {mixed, 250},
  };
  for (const auto& [directory, code] : table) {
    EXPECT_EQ(client->ChangeRemoteDir(directory.c_str()), code == 250) << directory;
    EXPECT_EQ(client->lastReplyCode(), code) << directory << client->lastErrorText();
  }
  EXPECT_TRUE(client->PutFileFromBinaryData(L"here", bytes("1")));
  EXPECT_TRUE(exists("server/Prj/sub/here")) << "a refused change leaves the directory as it was";
}

TEST_F(DirectoryClient, NamesThatLeaveTheDirectoryAreRefused) {
  write("outside", "1");
  write("server/sub/x", "1");
  for (const wchar_t* name : {L"..", L".", L"", L"../outside", L"sub/../../outside", L"sub\\..\\..\\outside",
                              L"\\outside", L"/outside", L"Z:\\outside", L"Z:outside", L"a\nb", L"a\rb", L"sub/"}) {
    CkByteData data;
    EXPECT_FALSE(client->DeleteRemoteFile(name)) << name;
    EXPECT_EQ(client->lastReplyCode(), 553) << name;
    EXPECT_FALSE(client->GetRemoteFileBinaryData(name, data)) << name;
    EXPECT_FALSE(client->PutFileFromBinaryData(name, data)) << name;
    EXPECT_FALSE(client->GetFile(name, path(L"local").c_str())) << name;
    EXPECT_FALSE(client->PutFile(path(L"outside").c_str(), name)) << name;
    EXPECT_FALSE(client->RenameRemoteFile(L"sub/x", name)) << name;
    EXPECT_FALSE(client->RenameRemoteFile(name, L"y")) << name;
    EXPECT_LT(client->GetSizeByName64(name), 0) << name;
  }
  EXPECT_EQ(read("outside"), "1");
  EXPECT_FALSE(exists("local"));
  EXPECT_EQ(client->GetSizeByName(L"sub/x"), 1) << "a path below the directory is a name";
}

TEST_F(DirectoryClient, AListingShowsWhatMatchesAndNothingOnItsWay) {
  write("server/B.dat", "12");
  write("server/a.dat", "1");
  write("server/.hidden", "");
  write("server/tb[1] \u00FC.txt", "123");
  write("server/.zephor-0123456789abcdef.arriving", "12345");
  fs::create_directories(root() / "server/sub");
  fs::create_symlink("gone", root() / "server/nowhere");
  EXPECT_EQ(list(L"*"), L".hidden 0; a.dat 1; B.dat 2; nowhere -1; sub/ -1; tb[1] \u00FC.txt 3; ");
  EXPECT_EQ(list(L"*.DAT"), L"a.dat 1; B.dat 2; ");
  EXPECT_EQ(list(L"tb[1] \u00FC.txt"), L"tb[1] \u00FC.txt 3; ");
  EXPECT_EQ(list(L"missing"), L"");
  EXPECT_EQ(list(L"../server"), L"failed");
  EXPECT_LT(client->GetSizeByName(L"nowhere"), 0);
  EXPECT_LT(client->GetSizeByName(L"sub"), 0);
  CkStringW name;
  FILETIME time{};
  EXPECT_FALSE(client->GetFilename(-1, name) || client->GetFilename(0, name) || client->GetLastModifiedFTime(7, time));
  fs::remove_all(root() / "server");
  EXPECT_EQ(list(L"*"), L"failed");
  EXPECT_EQ(list(L"a.dat"), L"failed");
  EXPECT_EQ(client->lastReplyCode(), 550);
}

TEST_F(DirectoryClient, AnAbortLeavesWhatArrivedAndTheOldFileWhole) {
  const std::string content(5000, 'n');
  write("server/a", content);
  write("server/old", "old");
  write("local", content);
  Watcher watcher;
  client->setEventCallback(&watcher);
  client->put_SendBufferSize(1000);
  watcher.abortAt = 2000;
  CkByteData data;
  EXPECT_FALSE(client->GetRemoteFileBinaryData(L"a", data));
  EXPECT_EQ(client->lastReplyCode(), 426);
  EXPECT_EQ(data.getSize(), 2000U);
  EXPECT_EQ(client->bytesOfLastTransfer(), 2000);
  watcher.bytesSoFar = 0;
  EXPECT_FALSE(client->PutFile(path(L"local").c_str(), L"old"));
  watcher.bytesSoFar = 0;
  EXPECT_FALSE(client->PutFileFromBinaryData(L"old", bytes(content)));
  EXPECT_EQ(read("server/old"), "old");
  EXPECT_EQ(entryCount("server"), 2U) << "nothing is left of what did not arrive";
  client->setEventCallback(nullptr);
  EXPECT_TRUE(client->PutFile(path(L"local").c_str(), L"old")) << "the session lives on";
}

TEST_F(DirectoryClient, NobodySeesAFileBeforeItIsWholeWithTheTimeOfItsArrival) {
  write("server/a", "old");
  write("local", std::string(5000, 'n'));
  const auto old = fs::file_time_type::clock::now() - std::chrono::hours(100);
  fs::last_write_time(root() / "local", old);
  Watcher watcher;
  const auto other = makeDirectoryClient();
  other->Connect();
  ASSERT_TRUE(other->ChangeRemoteDir(path(L"server").c_str()));
  int pieces = 0;
  watcher.atPiece = [&] {
    ++pieces;
    other->ClearDirCache();
    EXPECT_EQ(other->get_NumFilesAndDirs(), 1);
    EXPECT_EQ(other->GetSizeByName(L"a"), 3);
  };
  client->setEventCallback(&watcher);
  client->put_SendBufferSize(1000);
  ASSERT_TRUE(client->PutFile(path(L"local").c_str(), L"a"));
  EXPECT_EQ(pieces, 5);
  EXPECT_EQ(watcher.bytesSoFar, 5000);
  EXPECT_EQ(other->GetSizeByName(L"A"), 5000);
  EXPECT_GT(fs::last_write_time(root() / "server/a"), old + std::chrono::hours(99));
}

TEST_F(DirectoryClient, AFileThatChangesWhileItIsSentIsNoSuccess) {
  const std::function<void()> changes[] = {
      [&] { std::ofstream(root() / "local", std::ios::app) << std::string(3000, 'g'); },
      [&] { fs::resize_file(root() / "local", 1500); },
  };
  for (const auto& change : changes) {
    write("server/a", "old");
    write("local", std::string(3000, 'n'));
    Watcher watcher;
    watcher.atPiece = change;
    client->setEventCallback(&watcher);
    client->put_SendBufferSize(1000);
    EXPECT_FALSE(client->PutFile(path(L"local").c_str(), L"a"));
    EXPECT_NE(client->lastErrorText().find(L"changed while it was read"), std::wstring::npos);
    EXPECT_EQ(read("server/a"), "old");
  }
}

TEST_F(DirectoryClient, AFailureLeavesTheOldFileWholeAndNamesIt) {
  write("server/a", "old");
  write("server/readonly", "old");
  write("server/dir/x", "1");
  write("local", "old");
  write("source", std::string(10'000, 'n'));
  fs::permissions(root() / "server/readonly", fs::perms::owner_read);
  const std::wstring local = path(L"local");
  const std::wstring source = path(L"source");
  const struct {
    const char* what;
    std::function<bool()> operation;
    int code;
    const wchar_t* named;
  } table[] = {
      {"a directory", [&] { return client->GetFile(L"dir", local.c_str()); }, 550, L"dir"},
      {"onto itself", [&] { return client->GetFile(L"a", path(L"server\\A").c_str()); }, 450, L"a"},
      {"local directory", [&] { return client->GetFile(L"a", path(L"none\\x").c_str()); }, 550, L"none"},
      {"missing source", [&] { return client->PutFile(path(L"none").c_str(), L"a"); }, 550, L"none"},
      {"onto read-only", [&] { return client->PutFile(source.c_str(), L"readonly"); }, 550, L"readonly"},
      {"onto a directory", [&] { return client->PutFile(source.c_str(), L"dir"); }, 550, L"dir"},
      {"into nothing", [&] { return client->PutFile(source.c_str(), L"none/x"); }, 550, L"none/x"},
      {"impossible name", [&] { return client->PutFile(source.c_str(), L"a?b"); }, 553, L"a?b"},
      {"rename of nothing", [&] { return client->RenameRemoteFile(L"none", L"a"); }, 550, L"none"},
      {"rename onto read-only", [&] { return client->RenameRemoteFile(L"a", L"readonly"); }, 550, L"readonly"},
      {"delete of a directory", [&] { return client->DeleteRemoteFile(L"dir"); }, 550, L"dir"},
      {"a directory that is there", [&] { return client->CreateRemoteDir(L"dir"); }, 550, L"dir"},
      {"a directory that is full", [&] { return client->RemoveRemoteDir(L"dir"); }, 550, L"dir"},
  };
  for (const auto& row : table) {
    EXPECT_FALSE(row.operation()) << row.what;
    EXPECT_EQ(client->lastReplyCode(), row.code) << row.what;
    EXPECT_NE(client->lastErrorText().find(row.named), std::wstring::npos) << row.what << client->lastErrorText();
    EXPECT_EQ(read("server/a") + read("server/readonly") + read("local"), "oldoldold") << row.what;
    EXPECT_EQ(entryCount("server"), 3U) << row.what;
  }
}

TEST_F(DirectoryClient, ADiskThatIsFullLeavesTheOldFileWhole) {
  write("server/a", "old");
  write("source", std::string(10'000, 'n'));
  std::signal(SIGXFSZ, SIG_IGN);
  const rlimit limit{5000, 5000};
  ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &limit), 0);
  client->put_SendBufferSize(1000);
  EXPECT_FALSE(client->PutFile(path(L"source").c_str(), L"a"));
  EXPECT_FALSE(client->PutFileFromBinaryData(L"a", bytes(std::string(10'000, 'n'))));
  EXPECT_EQ(read("server/a"), "old");
  EXPECT_EQ(entryCount("server"), 1U);
}

TEST_F(DirectoryClient, ALinkedFileIsReplacedBehindItsLink) {
  write("real", "old");
  fs::create_symlink(root() / "real", root() / "server/link");
  ASSERT_TRUE(client->PutFileFromBinaryData(L"link", bytes("new")));
  EXPECT_TRUE(fs::is_symlink(root() / "server/link"));
  EXPECT_EQ(read("real"), "new");
}

TEST_F(DirectoryClient, ATreeGoesWithItsContentButNotWithWhatLinksLeadTo) {
  write("server/prj/a");
  write("server/prj/deep/er/b");
  write("server/prj/.zephor-0123456789abcdef.arriving");
  write("outside/keep", "kept");
  write("locked", "kept");
  fs::permissions(root() / "server/prj/a", fs::perms::owner_read);
  fs::permissions(root() / "locked", fs::perms::owner_read);
  fs::create_directory_symlink(root() / "outside", root() / "server/prj/directory");
  fs::create_directory_symlink(root() / "outside", root() / "server/prj/deep/directory");
  fs::create_symlink(root() / "locked", root() / "server/prj/file");
  ASSERT_TRUE(client->ChangeRemoteDir(L"prj"));
  ASSERT_TRUE(client->DeleteTree()) << client->lastErrorText();
  EXPECT_EQ(entryCount("server/prj"), 0U);
  EXPECT_EQ(read("outside/keep") + read("locked"), "keptkept");
  EXPECT_EQ(fs::status(root() / "locked").permissions(), fs::perms::owner_read);
  ASSERT_TRUE(client->ChangeRemoteDir(L".."));
  EXPECT_TRUE(client->RemoveRemoteDir((path(L"server") + L"/prj").c_str()));
  EXPECT_FALSE(exists("server/prj"));
  EXPECT_TRUE(client->CreateRemoteDir(L"prj"));
}

TEST_F(DirectoryClient, AWholeVolumeIsNeverEmptied) {
  platform::setDrive(L'Q', (root() / "server").string());
  write("server/a", "1");
  ASSERT_TRUE(client->ChangeRemoteDir(L"Q:\\"));
  EXPECT_FALSE(client->DeleteTree());
  EXPECT_EQ(client->lastReplyCode(), 550);
  EXPECT_TRUE(exists("server/a"));
}

}  // namespace
