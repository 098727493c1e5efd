#include "zephor/DirectoryChanges.h"

#include <chrono>
#include <filesystem>
#include <random>

#include "platform/Files.h"
#include "platform/Paths.h"
#include "platform/Time.h"
#include "tests/support/CloudFixture.h"
#include "zephor/FileServices.h"

namespace Quorvel::FileAccess {
namespace {

namespace fs = std::filesystem;
using zephor_test::Calls;
using Texts = std::vector<std::wstring>;

class DirectoryChanges : public zephor_test::CloudFixture {
 protected:
  void write(const std::wstring& name, const std::string& content = "content") {
    desk.writeFile(tree + L'\\' + name, content);
  }
  fs::path disk(const std::wstring& name) const { return platform::systemPath(tree + L'\\' + name); }
  void touch(const std::wstring& name) {
    fs::last_write_time(disk(name), fs::last_write_time(disk(name)) + std::chrono::seconds(1));
  }
  /// Names relative to the tree, each behind the sign of its state.
  Texts told(const std::vector<WGO_FileCompareInfo>& changes) const {
    Texts result;
    for (const auto& change : changes) {
      result.push_back(L"-+*"[change.state + 1] + change.fileName.substr(tree.size() + 1));
    }
    return result;
  }
  Texts walked(const WGO_FileFilter* filter, bool below) const {
    DirectorySnapshot found;
    const int count = WGO_getFilesFromDirectory((tree + L'\\').c_str(), found, filter, below);
    EXPECT_EQ(count, static_cast<int>(found.size()));
    Texts names;
    for (const auto& [path, entry] : found) {
      EXPECT_TRUE(path.ends_with(std::wstring(L"\\") + entry.cFileName));
      names.push_back(path.substr(tree.size() + 1));
    }
    return names;
  }
  WGO_FileCompareInfo change(const std::wstring& name, std::int32_t state) const {
    WGO_FileCompareInfo made(path(name), WIN32_FIND_DATAW(), WIN32_FIND_DATAW());
    made.state = state;
    return made;
  }

  std::wstring tree = desk.path(L"tree");
};

using Random = std::mt19937;

DirectorySnapshot randomSnapshot(Random& random) {
  DirectorySnapshot snapshot;
  for (auto count = random() % 12; count > 0; --count) {
    std::wstring key = L"C:\\";
    for (auto length = 1 + random() % 3; length > 0; --length) key += L"aB\\é"[random() % 4];
    WIN32_FIND_DATAW data{};
    data.ftCreationTime.dwLowDateTime = random() % 2;
    data.ftLastWriteTime.dwHighDateTime = random() % 2;
    data.nFileSizeLow = static_cast<DWORD>(random());
    if (random() % 8 != 0) data.cFileName[0] = L'x';
    snapshot.emplace(key, data);
  }
  return snapshot;
}

/// The three passes as they are described, each with a scan of the other side.
std::vector<WGO_FileCompareInfo> plainComparison(const DirectorySnapshot& first, const DirectorySnapshot& second) {
  std::vector<WGO_FileCompareInfo> out;
  const auto find = [](const DirectorySnapshot& all, const std::wstring& key) {
    return std::find_if(all.begin(), all.end(), [&](const auto& entry) { return entry.first == key; });
  };
  for (const auto& [key, old] : first) {
    const auto now = find(second, key);
    if (now != second.end() && (CompareFileTime(&old.ftCreationTime, &now->second.ftCreationTime) != 0 ||
                                CompareFileTime(&old.ftLastWriteTime, &now->second.ftLastWriteTime) != 0)) {
      out.emplace_back(key, old, now->second);
    }
  }
  for (const auto& [key, old] : first) {
    if (find(second, key) == second.end()) out.emplace_back(key, old, WIN32_FIND_DATAW());
  }
  for (const auto& [key, now] : second) {
    if (find(first, key) == first.end()) out.emplace_back(key, WIN32_FIND_DATAW(), now);
  }
  return out;
}

TEST(SnapshotComparison, TellsWhatThreePassesTell) {
  Random random(7);
  for (int round = 0; round < 2000; ++round) {
    DirectorySnapshot first = randomSnapshot(random);
    DirectorySnapshot second = randomSnapshot(random);
    std::vector<WGO_FileCompareInfo> changes(1, {L"before", WIN32_FIND_DATAW(), WIN32_FIND_DATAW()});
    const auto expected = plainComparison(first, second);
    ASSERT_EQ(WGO_getDirectoryChanges(first, second, changes), expected.size() + 1);
    EXPECT_EQ(changes.front().fileName, L"before");
    for (std::size_t i = 0; i < expected.size(); ++i) {
      const WGO_FileCompareInfo& made = changes[i + 1];
      ASSERT_EQ(made.fileName, expected[i].fileName);
      ASSERT_EQ(made.state, expected[i].state);
      ASSERT_EQ(std::memcmp(&made.oldData, &expected[i].oldData, sizeof made.oldData), 0);
      ASSERT_EQ(std::memcmp(&made.newData, &expected[i].newData, sizeof made.newData), 0);
    }
  }
}

TEST_F(DirectoryChanges, TheWalkPassesOverWhatIsKeptOutWithAllBelow) {
  for (const wchar_t* name : {L"b.txt", L"B\\x.bak", L"a\\Old\\deep\\x", L"a\\Old.txt", L".git\\config", L"a\\.hidden",
                              L"Größe\\Плán.zdw", L"a\\n\\m\\y"}) {
    write(name);
  }
  fs::create_directory_symlink("..", disk(L"a\\up"));
  fs::create_symlink("b.txt", disk(L"link.txt"));
  WGO_FileFilter filter;
  filter.ExcludeDirectoryExact(L"OLD");
  filter.ExcludeFileExtension(L".bak");
  EXPECT_EQ(walked(&filter, true),
            (Texts{L"Größe\\Плán.zdw", L"a\\.hidden", L"a\\Old.txt", L"a\\n\\m\\y", L"b.txt", L"link.txt"}));
  EXPECT_EQ(walked(nullptr, false), (Texts{L"b.txt", L"link.txt"}));
  EXPECT_EQ(walked(nullptr, true).size(), 8U) << "a link up neither ends in a circle nor counts as a file";
  std::vector<WIN32_FIND_DATAW> infos(1);
  EXPECT_EQ(WGO_getFileInfoFromDirectory((tree + L"\\a").c_str(), infos, &filter), 2);
  EXPECT_EQ(infos.size(), 3U);
  DirectorySnapshot kept{{tree + L"\\b.txt", WIN32_FIND_DATAW()}};
  EXPECT_EQ(WGO_getFilesFromDirectory(nullptr, kept, nullptr, true), 0);
  EXPECT_EQ(WGO_getFilesFromDirectory(L"", kept, nullptr, true), 1) << "not the root of the disk";
  EXPECT_EQ(WGO_getFilesFromDirectory((tree + L"\\none").c_str(), kept, nullptr, true), 1);
  EXPECT_EQ(GetLastError(), ERROR_PATH_NOT_FOUND);
  EXPECT_EQ(WGO_getFilesFromDirectory(tree.c_str(), kept, nullptr, false), 2);
  EXPECT_EQ(GetLastError(), ERROR_SUCCESS);
  EXPECT_EQ(kept.begin()->second.cFileName[0], L'\0');
}

TEST_F(DirectoryChanges, ADeepTreeIsWalkedToItsEnd) {
  std::wstring name;
  for (int depth = 0; depth < 900; ++depth) name += L"d\\";
  write(name + L"end.txt");
  EXPECT_EQ(walked(nullptr, true), Texts{name + L"end.txt"});
}

TEST_F(DirectoryChanges, ALookIsComparedWithTheFirstOne) {
  for (const wchar_t* name : {L"c1", L"s", L"z", L"sub\\c2", L"sub\\d", L"a.bak"}) write(name);
  WGO_FileFilter filter;
  filter.ExcludeFileExtension(L".bak");
  WGO_DirectoryChanges changes;
  EXPECT_EQ(changes.init(tree.c_str(), &filter, true), 5);
  EXPECT_TRUE(desk.hasErrorLine(L"WGO_DirectoryChanges::init: End"));
  EXPECT_TRUE(changes.resume(true).empty());
  const auto time = fs::last_write_time(disk(L"s"));
  write(L"s", "longer than before");
  fs::last_write_time(disk(L"s"), time);
  fs::remove(disk(L"sub\\d"));
  fs::remove(disk(L"a.bak"));
  for (const wchar_t* name : {L"sub\\c2", L"c1"}) touch(name);
  for (const wchar_t* name : {L"sub\\new", L"A new", L"b.bak"}) write(name);

  WGO_DirectoryChanges fresh;
  fresh.init(tree.c_str(), &filter, true);
  fresh = std::move(changes);
  EXPECT_TRUE(changes.getFilesMap().empty()) << "as after reset";
  // What the look before saw counts as still there, with the times of then.
  EXPECT_EQ(told(fresh.resume(true)), (Texts{L"+A new", L"+sub\\new"}));
  fresh.init(tree.c_str(), &filter, true);
  touch(L"z");
  touch(L"sub\\c2");
  fs::remove(disk(L"c1"));
  write(L"sub\\more");
  EXPECT_EQ(told(fresh.resume(true)), (Texts{L"*sub\\c2", L"*z", L"-c1", L"+sub\\more"}));
  EXPECT_NE(fresh.resumeNoCompare()[1].oldData.cFileName[0], L'\0');
  EXPECT_EQ(fresh.resumeNoCompare()[2].newData.cFileName[0], L'\0');
  {
    const ScopedWGOBlockUpload block;
    EXPECT_TRUE(fresh.resume(true).empty());
    EXPECT_EQ(fresh.init(tree.c_str(), nullptr, true), 1);
  }
  EXPECT_TRUE(fresh.getFilesMap().empty());
}

TEST_F(DirectoryChanges, NoticesLeaveOneRecordForAPath) {
  tree = path(L"").substr(0, path(L"").find_last_not_of(L'\\') + 1);
  WGO_FileFilter filter;
  filter.ExcludeFileExtension(L".bak");
  WGO_DirectoryChanges changes;
  changes.init(desk.path(L"none").c_str(), &filter, true);
  const std::pair<const wchar_t*, unsigned long> notices[] = {
      {L"a", 1}, {L"b", 2}, {L"c", 3}, {L"d", 4}, {L"e", 5}, {L"f", 9}, {L"a", 3}, {L"A", 1}, {L"a", 2}, {L"x.bak", 1}};
  for (const auto& [name, action] : notices) changes.update(path(name), action);
  changes.update(L"", 1);
  changes.update(L"a", 1);
  EXPECT_EQ(told(changes.resumeNoCompare()), (Texts{L"-b", L"*c", L"-d", L"*e", L"*f", L"+A", L"-a"}));
  EXPECT_THROW(changes.update(tree, 1), std::out_of_range);
  EXPECT_FALSE(change(L"a", 0).AddMetadata(L"", L"value"));
}

TEST_F(DirectoryChanges, AnUploadThatSendsNothingSaysWhy) {
  const std::vector<WGO_FileCompareInfo> list{change(L"a.txt", 0), change(L"gone.txt", -1)};
  const PRJ open = prj();
  const PRJ local = localPrj();
  WGO_DirectoryChanges unset;
  EXPECT_TRUE(unset.upload({}, &open, true));
  EXPECT_FALSE(unset.upload(list, &open, true));
  EXPECT_TRUE(desk.hasErrorLine(L"::upload: not executed because directory path is not set, maybe init is missing"));
  EXPECT_FALSE(desk.hasErrorLine(L"::upload: Start"));
  WGO_DirectoryChanges outside;
  outside.init(desk.path(L"elsewhere").c_str(), nullptr, true);
  {
    const ScopedWGOBlockUpload block;
    EXPECT_TRUE(outside.upload(list, &open, true));
  }
  EXPECT_FALSE(outside.upload(list, &open, true));
  EXPECT_TRUE(desk.hasErrorLine(L"::upload: not executed because " + uuid + L".prj is not found in " +
                                desk.path(L"elsewhere")));
  WGO_DirectoryChanges inside;
  inside.init(desk.projectPath().c_str(), nullptr, true);
  EXPECT_TRUE(inside.upload(list, nullptr, true)) << "the list's current project, but none to send to";
  PRJ online = local;
  std::copy_n(open.directoryName, std::size(open.directoryName), online.directoryName);
  EXPECT_TRUE(inside.upload(list, &online, true));
  EXPECT_TRUE(desk.hasErrorLine(L"::upload: End"));
  EXPECT_TRUE(cloud.calls().empty());
}

TEST_F(DirectoryChanges, AnUploadSendsFilesWithTheirMarksAndThenDeletes) {
  desk.writeFile(path(L"sub\\new.txt"), "new");
  desk.writeFile(path(L"changed.txt"), "changed");
  fs::create_directory(platform::systemPath(path(L"directory")));
  std::vector<WGO_FileCompareInfo> list{change(L"sub\\z.txt", -1),  change(L"changed.txt", 1),
                                        change(L"away.txt", 1),     change(L"sub\\new.txt", 0),
                                        change(L"directory", 1),    change(L"a.txt", -1),
                                        change(L"sub\\new.txt", 5), change(L"..\\other.prj\\x.txt", -1)};
  ASSERT_TRUE(list[3].AddMetadata(L"key", L"value"));
  const PRJ open = prj();
  WGO_DirectoryChanges changes;
  changes.init((desk.projectPath() + L"\\sub").c_str(), nullptr, true);
  EXPECT_TRUE(changes.upload(list, &open, false));
  EXPECT_EQ(cloud.calls(), (Calls{L"UploadFilesAndMetadata changed.txt,sub\\new.txt 0"}));
  ASSERT_EQ(cloud.uploads.size(), 1U);
  EXPECT_FALSE(cloud.uploads[0][0].transferFlag);
  EXPECT_TRUE(cloud.uploads[0][1].transferFlag);
  EXPECT_EQ(cloud.uploads[0][1].metadata.at(L"key"), L"value");

  list.erase(list.begin() + 1, list.begin() + 5);
  cloud.script("DeleteFile", {zephor_test::kRefused, 0});
  EXPECT_TRUE(changes.upload(list, &open, true)) << "only the last deletion's answer counts";
  cloud.script("DeleteFile", {0, zephor_test::kRefused});
  EXPECT_FALSE(changes.upload(list, &open, true));
  const Calls calls = cloud.calls();
  EXPECT_EQ(Calls(calls.begin() + 1, calls.end()),
            (Calls{L"DeleteFile a.txt", L"DeleteFile sub\\z.txt", L"DeleteFile a.txt", L"DeleteFile sub\\z.txt"}));
}

}  // namespace
}  // namespace Quorvel::FileAccess
