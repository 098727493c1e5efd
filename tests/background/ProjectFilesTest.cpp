// Project files through a replaced access object: what is asked, what moves, and what the record beside the project
// tells.
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <stdexcept>
#include <thread>

#include "cloud/CloudPaths.h"
#include "platform/Files.h"
#include "platform/Paths.h"
#include "platform/Time.h"
#include "tests/support/CloudFixture.h"
#include "zephor/FileLists.h"
#include "zephor/HeaderServices.h"
#include "zephor/Service.h"

namespace {

using namespace Quorvel::FileAccess;
using Files = std::set<std::wstring>;

/// What the test scripts and reads; the access object itself belongs to the library.
struct Script {
  bool serves = true;
  std::map<int, std::vector<CResourceInfo>> records;
  std::set<std::wstring> failing;  ///< directories of uploads, and any file of a download
  std::vector<std::wstring> calls;
  std::function<void(const Files&)> onDownload;
  std::function<long long(const std::wstring&)> onDelete;
};

class ScriptedAccess final : public IWGOAccess {
 public:
  explicit ScriptedAccess(Script& script) : script_(script) {}
  bool IsProjectWithDownload(const PRJ&) override { return script_.serves; }
  void getOndrathResourceFiles(const PRJ&, std::vector<CResourceInfo>& out, int type) override {
    script_.calls.push_back(L"list " + std::to_wstring(type));
    out = script_.records[type];
  }
  bool DownloadFiles(const PRJ&, const Files& files) override { return download(L"bar", files); }
  bool DownloadFilesWithoutProgressBar(const PRJ&, const Files& files) override { return download(L"down", files); }
  long long UploadChangedFiles(const std::wstring& directory, const Files& files) override {
    script_.calls.push_back(L"up " + platform::fileNameOf(directory) + L" " + std::to_wstring(files.size()));
    return script_.failing.contains(platform::fileNameOf(directory)) ? ERROR_INVALID_DATA : 0;
  }
  bool UploadFilesWithoutProgressBar(const PRJ&, const Files& files) override {
    script_.calls.push_back(L"up all " + std::to_wstring(files.size()));
    return true;
  }
  long long deleteServerFile(const PRJ&, const std::wstring& path) override { return script_.onDelete(path); }
  std::wstring& ConvertFileNameToFullPath(std::wstring& result, const PRJ&, const std::wstring&) override {
    return result;
  }

 private:
  bool download(const std::wstring& road, const Files& files) {
    std::wstring call = road;
    for (const std::wstring& file : files) call += L" " + platform::fileNameOf(file);
    script_.calls.push_back(call);
    if (script_.onDownload) script_.onDownload(files);
    return std::none_of(files.begin(), files.end(), [&](const auto& file) { return script_.failing.contains(file); });
  }
  Script& script_;
};

class ProjectFiles : public zephor_test::CloudFixture {
 protected:
  ProjectFiles() {
    SetWGOAccess(std::make_unique<ScriptedAccess>(script));
    script.onDownload = [this](const Files& files) {
      for (const std::wstring& file : files) desk.writeFile(file, "server's");
    };
  }
  ~ProjectFiles() override { SetWGOAccess(nullptr); }

  static CResourceInfo record(const std::wstring& name, const std::wstring& modified) {
    CResourceInfo info;
    info.name = name;
    info.text3 = modified;
    return info;
  }
  /// The server's record of a file as it is here.
  CResourceInfo recordOf(const std::wstring& name) const {
    CResourceInfo info = record(name, L"now");
    info.modifiedTime = platform::fileStatus(path(name)).writeTime;
    return info;
  }
  WGOResult download(const Files& files) { return WGO_DownloadProjectFiles(prj(), files, false); }
  std::vector<std::wstring> takeCalls() { return std::exchange(script.calls, {}); }
  using Calls = std::vector<std::wstring>;

  Script script;
};

TEST_F(ProjectFiles, OnlyWhatIsMissingOrHasOtherDatesComes) {
  const Files files{path(L"design\\A.sty"), path(L"design/b.sty"), path(L"BIM\\x.xml")};
  script.serves = false;
  EXPECT_EQ(download({}), eWGOResult_NotServed);
  script.serves = true;
  EXPECT_EQ(download({}), eWGOResult_NoFiles);
  EXPECT_TRUE(takeCalls().empty());
  EXPECT_EQ(download(files), eWGOResult_NotOnServer);
  EXPECT_EQ(takeCalls(), (Calls{L"list 1", L"list 4"}));

  script.records[1] = {record(L"Design/a.STY", L"1"), record(L"design\\b.sty", L"1"), record(L"other", L"1")};
  EXPECT_EQ(WGO_DownloadProjectFiles(prj(), files, true), eWGOResult_Downloaded);
  EXPECT_EQ(takeCalls().back(), L"bar b.sty A.sty");
  desk.writeFile(path(L"design\\b.sty"), "changed here");
  EXPECT_EQ(download(files), eWGOResult_UpToDate) << "what is in step by its dates stays as it is";
  takeCalls();

  script.records[1][1].text3 = L"2";
  script.failing = {path(L"design/b.sty")};
  EXPECT_EQ(download(files), eWGOResult_DownloadFailed);
  script.failing.clear();
  DeleteFileW(path(L"design\\A.sty").c_str());
  EXPECT_EQ(download(files), eWGOResult_Downloaded) << "a failed one is tried again";
  EXPECT_EQ(takeCalls().back(), L"down b.sty A.sty");
  EXPECT_EQ(download(files), eWGOResult_UpToDate);
}

TEST_F(ProjectFiles, AnUploadNotesWhatWentAndNothingElse) {
  const Files files{path(L"a\\1"), path(L"a/2"), path(L"b\\3"), path(L"b\\4"), path(L"tb000001.zdw")};
  for (const std::wstring& file : files) desk.writeFile(file, "mine");
  script.failing = {L"b"};
  EXPECT_FALSE(WGO_UploadProjectFiles(prj(), files, true));
  EXPECT_EQ(takeCalls().size(), 5U) << "three directories, however their paths are written, and two lists";
  script.failing.clear();
  // A colleague has sent 1 behind us.
  script.records[1] = {record(L"a\\1", L"later"), recordOf(L"a\\2"), recordOf(L"b\\3"), recordOf(L"b\\4")};
  EXPECT_TRUE(WGO_UploadProjectFiles(prj(), files, false));
  EXPECT_EQ(takeCalls(), (Calls{L"up all 5", L"list 1", L"list 2"}));
  EXPECT_EQ(download(files), eWGOResult_Downloaded);
  EXPECT_EQ(takeCalls().back(), L"down 1");
  script.serves = false;
  EXPECT_FALSE(WGO_UploadProjectFiles(prj(), files, false));
}

TEST_F(ProjectFiles, ARecordThatIsNotWholeOrOfAnotherDirectoryCountsAsEmpty) {
  const Files files{path(L"a"), path(L"b")};
  script.records[1] = {record(L"a", L"1"), record(L"b", L"1")};
  ASSERT_EQ(download(files), eWGOResult_Downloaded);
  const std::wstring directory = desk.projectPath();
  const std::wstring beside = directory.substr(0, directory.size() - 4) + L".files";
  std::string whole = desk.readFile(beside);
  ASSERT_FALSE(whole.empty());
  std::vector<std::string> broken{"", "no such format\n", whole + whole, whole + "x"};
  for (std::size_t size = 1; size < whole.size(); size += 7) broken.push_back(whole.substr(0, size));
  std::string foreign = whole;
  foreign[whole.find('\n') - 1] ^= 1;  // made at another time
  broken.push_back(foreign);
  for (const std::string& content : broken) {
    desk.writeFile(beside, content);
    EXPECT_EQ(download(files), eWGOResult_Downloaded) << content;
    EXPECT_EQ(desk.readFile(beside), whole);
  }
  EXPECT_EQ(download(files), eWGOResult_UpToDate);
}

TEST_F(ProjectFiles, DeletionsRunAFewAtATimeAndAllOfThem) {
  Files files;
  for (int i = 0; i < 300; ++i) files.insert(path(L"f" + std::to_wstring(i)));
  std::atomic<int> running = 0;
  std::atomic<int> most = 0;
  std::atomic<int> count = 0;
  script.onDelete = [&](const std::wstring& file) -> long long {
    const int now = ++running;
    for (int seen = most; seen < now && !most.compare_exchange_weak(seen, now);) continue;
    std::this_thread::yield();
    ++count;
    --running;
    if (file.ends_with(L"f7")) throw std::runtime_error("broken");
    return file.ends_with(L"f9") ? 0x100000000 : 0;
  };
  script.records[1] = {record(L"f1", L"1"), record(L"f2", L"1")};
  EXPECT_EQ(download({path(L"f1"), path(L"f2")}), eWGOResult_Downloaded);
  script.records[1].pop_back();
  EXPECT_NE(WGO_deleteProjectFiles(prj(), files), 0U);
  EXPECT_EQ(count, 300);
  EXPECT_LE(most, 8);
  script.records[1] = {record(L"f1", L"1"), record(L"f2", L"1")};
  takeCalls();
  EXPECT_EQ(download({path(L"f1"), path(L"f2")}), eWGOResult_Downloaded);
  EXPECT_EQ(takeCalls().back(), L"down f2") << "what the server had no more is forgotten";
  EXPECT_EQ(WGO_deleteProjectFiles(prj(), {}), 0U);
}

TEST_F(ProjectFiles, PlanHeadersComeWhateverTheirNumberAndThoseThatCanNotBeReadAreLeftOut) {
  ZSYST_ZepRegPutNumber(L"HKCU", L"Settings\\WGOUseThreading", 1);
  std::set<int> numbers;
  std::map<int, PlanHeader> headers{{99, PlanHeader{}}};
  for (int number = 1; number <= 60; ++number) {
    numbers.insert(number);
    std::wstring name;
    Ondrath_FileNameFromNumber(static_cast<std::uint32_t>(number), eFileType_Plan, name);
    if (number % 10 != 0) storeHeader(name, header<PlanHeader>(number, 5));
  }
  WGO_GetPLHeadersFromOnlineServer(numbers, headers);
  EXPECT_EQ(headers.size(), 54U);
  for (const auto& [number, header] : headers) EXPECT_EQ(header.number, number);
  WGO_GetPLHeadersFromOnlineServer({7, 10}, headers);
  EXPECT_EQ(headers.size(), 1U);
}

}  // namespace
