#include "zephor/DirectoryChanges.h"

#include <chrono>
#include <filesystem>
#include <fstream>
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
    for (const auto& file : found) names.push_back(file.first.substr(tree.size() + 1));
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

std::wstring lineOf(const WGO_FileCompareInfo& change) {
  return platform::formatWide(L"%s %d %u %u", change.fileName, change.state, change.oldData.nFileSizeLow,
                              change.newData.nFileSizeLow);
}

/// The three passes as they are described, each with a scan of the other side.
Texts plainComparison(const DirectorySnapshot& first, const DirectorySnapshot& second) {
  Texts out;
  const auto scan = [&](const DirectorySnapshot& left, const DirectorySnapshot& right, const auto& tell) {
    for (const auto& file : left) {
      const WIN32_FIND_DATAW* other = nullptr;
      for (const auto& each : right) other = each.first == file.first ? &each.second : other;
      tell(file.first, file.second, other);
    }
  };
  scan(first, second, [&](const auto& path, const auto& old, const auto* now) {
    const bool changed = now != nullptr && (CompareFileTime(&old.ftCreationTime, &now->ftCreationTime) != 0 ||
                                            CompareFileTime(&old.ftLastWriteTime, &now->ftLastWriteTime) != 0);
    if (changed) out.push_back(lineOf({path, old, *now}));
  });
  scan(first, second, [&](const auto& path, const auto& old, const auto* now) {
    if (now == nullptr) out.push_back(lineOf({path, old, {}}));
  });
  scan(second, first, [&](const auto& path, const auto& now, const auto* old) {
    if (old == nullptr) out.push_back(lineOf({path, {}, now}));
  });
  return out;
}

TEST(SnapshotComparison, TellsWhatThreePassesTell) {
  Random random(7);
  for (int round = 0; round < 2000; ++round) {
    DirectorySnapshot first = randomSnapshot(random);
    DirectorySnapshot second = randomSnapshot(random);
    std::vector<WGO_FileCompareInfo> changes(1, {L"before", WIN32_FIND_DATAW(), WIN32_FIND_DATAW()});
    const std::size_t count = WGO_getDirectoryChanges(first, second, changes);
    ASSERT_EQ(count, changes.size());
    Texts lines;
    for (const auto& change : changes) lines.push_back(lineOf(change));
    Texts expected = plainComparison(first, second);
    expected.insert(expected.begin(), L"before 1 0 0");
    ASSERT_EQ(lines, expected);
  }
}

TEST_F(DirectoryChanges, TheWalkPassesOverWhatIsKeptOutWithAllBelow) {
  std::wstring deep = L"a\\";
  for (int depth = 0; depth < 900; ++depth) deep += L"n\\";
  const Texts names{L"b.txt",        L"B\\x.bak",   L"a\\Old\\deep\\x", L"a\\Old.txt",
                    L".git\\config", L"a\\.hidden", L"Größe\\Плán.zdw", deep + L"y"};
  for (const std::wstring& name : names) write(name);
  fs::create_directory_symlink("..", disk(L"a\\up"));
  fs::create_symlink("b.txt", disk(L"link.txt"));
  WGO_FileFilter filter;
  filter.ExcludeDirectoryExact(L"OLD");
  filter.ExcludeFileExtension(L".bak");
  EXPECT_EQ(walked(&filter, true),
            (Texts{L"Größe\\Плán.zdw", L"a\\.hidden", L"a\\Old.txt", deep + L"y", L"b.txt", L"link.txt"}));
  EXPECT_EQ(walked(nullptr, false), (Texts{L"b.txt", L"link.txt"}));
  EXPECT_EQ(walked(nullptr, true).size(), 8U) << "a link up neither ends in a circle nor counts as a file";
  for (const char* name : {"a/back\\slash", "bad\xFF", "w?d/x"}) {
    fs::create_directories((disk(L"") / name).parent_path());
    std::ofstream(disk(L"") / name) << "content";
  }
  EXPECT_EQ(walked(nullptr, true).size(), 8U);
  for (const wchar_t* line : {L"\\a\\back\\slash is passed over: its name holds a backslash or is no UTF-8",
                              L"\\bad\xFFFD is passed over: its name holds a backslash or is no UTF-8",
                              L"\\w?d is passed over: its name holds a wildcard"}) {
    EXPECT_TRUE(desk.hasErrorLine(L"WGO_getFilesFromDirectory: " + tree + line)) << platform::toUtf8(line);
  }
  std::vector<WIN32_FIND_DATAW> infos(1);
  EXPECT_EQ(WGO_getFileInfoFromDirectory((tree + L"\\a").c_str(), infos, &filter), 2);
  DirectorySnapshot kept{{tree + L"\\b.txt", WIN32_FIND_DATAW()}};
  EXPECT_EQ(WGO_getFilesFromDirectory(nullptr, kept, nullptr, true), 0);
  EXPECT_EQ(WGO_getFilesFromDirectory(L"", kept, nullptr, true), 1) << "not the root of the disk";
  EXPECT_EQ(WGO_getFilesFromDirectory((tree + L"\\none").c_str(), kept, nullptr, true), 1);
  EXPECT_EQ(GetLastError(), ERROR_PATH_NOT_FOUND);
  EXPECT_EQ(WGO_getFilesFromDirectory(tree.c_str(), kept, nullptr, false), 2);
  EXPECT_EQ(GetLastError(), ERROR_SUCCESS);
  EXPECT_EQ(kept.begin()->second.cFileName[0], L'\0');
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
  EXPECT_EQ(GetLastError(), ERROR_SUCCESS);
  fresh.init(tree.c_str(), &filter, true);
  fs::remove_all(disk(L""));
  EXPECT_EQ(fresh.resume(true).size(), 6U);
  EXPECT_EQ(GetLastError(), ERROR_PATH_NOT_FOUND) << "no deletions, but a directory that can't be read";
  const ScopedWGOBlockUpload block;
  EXPECT_TRUE(fresh.resume(true).empty());
  EXPECT_EQ(fresh.init(tree.c_str(), nullptr, true), 1);
  EXPECT_TRUE(fresh.getFilesMap().empty());
}

TEST_F(DirectoryChanges, NoticesLeaveOneRecordForAPath) {
  tree = desk.projectPath();
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
  WGO_DirectoryChanges changes;
  EXPECT_TRUE(changes.upload({}, &open, true));
  EXPECT_FALSE(changes.upload(list, &open, true));
  EXPECT_TRUE(desk.hasErrorLine(L"::upload: not executed because directory path is not set, maybe init is missing"));
  changes.init(tree.c_str(), nullptr, true);
  {
    const ScopedWGOBlockUpload block;
    EXPECT_TRUE(changes.upload(list, &open, true));
  }
  EXPECT_FALSE(desk.hasErrorLine(L"::upload: Start"));
  EXPECT_FALSE(changes.upload(list, &open, true));
  EXPECT_TRUE(desk.hasErrorLine(L"::upload: not executed because " + uuid + L".prj is not found in " + tree));
  changes.init(desk.projectPath().c_str(), nullptr, true);
  EXPECT_TRUE(changes.upload(list, nullptr, true)) << "the list's current project, but none to send to";
  PRJ online = localPrj();
  std::copy_n(open.directoryName, std::size(open.directoryName), online.directoryName);
  EXPECT_TRUE(changes.upload(list, &online, true));
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
  ASSERT_TRUE(list[3].AddMetadata(L"key", L"later")) << "and the first stays";
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
