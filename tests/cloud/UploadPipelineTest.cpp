#include "cloud/UploadPipeline.h"

#include "host/Events.h"
#include "host/Locking.h"
#include "host/ObjectFiles.h"
#include "host/ProjectDatabase.h"
#include "platform/Files.h"
#include "tests/support/CloudFixture.h"
#include "workstation/objects/OpenFiles.h"
#include "workstation/ui/HostInterface.h"

namespace Quorvel::FileAccess::Threading {
namespace {

using zephor_test::Calls;
using zephor_test::kRefused;

class UploadPipeline : public zephor_test::CloudFixture {
 protected:
  using Batch = std::vector<WGO_FileCompareInfo>;

  Batch batchOf(const std::vector<std::wstring>& names) const {
    Batch batch;
    for (const std::wstring& name : names) batch.push_back({path(name), {}, {}});
    return batch;
  }
  CloudStatus send(const std::vector<std::wstring>& names, const std::vector<bool>& flags = {}) const {
    return Ondrath_UploadFreeFiles(prj(), batchOf(names), flags, {});
  }
  /// Objects with their rows in the database, of version 5, which the files have not; their locks are this user's.
  void makeLockedObjects(const std::vector<std::pair<QuorvelFileType, int>>& objects) {
    for (const auto& [type, number] : objects) {
      makeObject(type, number);
      const auto key = static_cast<unsigned>(number);
      if (type == eFileType_Teilbild) {
        ZP_ProjectDBTeilbildSets(kgunit()).setTeilbildRecord(key, header<TeilbildHeader>(number, 5));
      } else {
        ZP_ProjectDBPlanSets(kgunit()).setPlanRecord(key, header<PlanHeader>(number, 5));
      }
      ASSERT_EQ(getFileLockingManager().LockObject(number, type == eFileType_Teilbild ? 0 : 2, 0), 1);
    }
  }
  /// Versions in the headers that went up.
  std::vector<std::uint32_t> sentVersions() const {
    std::vector<std::uint32_t> versions;
    for (const std::vector<std::uint8_t>& bytes : cloud.uploadedHeaders) {
      const std::size_t place = bytes.size() == sizeof(PlanHeader) ? offsetof(PlanHeader, versionCounter)
                                                                   : offsetof(TeilbildHeader, versionCounter);
      std::memcpy(&versions.emplace_back(), bytes.data() + place, sizeof(std::uint32_t));
    }
    return versions;
  }
  std::wstring upload(const std::wstring& names, const wchar_t* headerSize) const {
    return L"UploadFilesAndMetadata " + names + L' ' + headerSize;
  }
};

TEST_F(UploadPipeline, GroupsGoInTheirOrderWithFlagsMetadataAndHeaders) {
  makeLockedObjects({{eFileType_Plan, 7}, {eFileType_Teilbild, 12}, {eFileType_Teilbild, 3}});
  ASSERT_EQ(getFileLockingManager().LockObject(5, 0, 0), 1);
  Batch batch = batchOf({L"pb000007.zpl", L"old\\tb000012.zdw", L"tb000012.zdw", L"BIM\\a.txt", L"tb000005.zdw",
                         L"tb000003.zdw", L"TB000012.zdw"});
  batch[2].AddMetadata(L"key", L"value");
  EXPECT_EQ(Ondrath_UploadFreeFiles(prj(), batch, {false, false, true}, {}), 0);
  const std::wstring teilbilder = path(L"tb000003.zdw") + L',' + path(L"tb000012.zdw");
  EXPECT_EQ(cloud.calls(),
            (Calls{upload(L"BIM\\a.txt", L"0"), upload(teilbilder, L"1576"), upload(path(L"pb000007.zpl"), L"896")}));
  const QuorvFileInfo& sent = cloud.uploads.at(1).at(1);
  EXPECT_TRUE(sent.transferFlag);
  EXPECT_EQ(sent.metadata, (std::unordered_map<std::wstring, std::wstring>{{L"key", L"value"}}));
  EXPECT_FALSE(cloud.uploads[1][0].transferFlag);
  EXPECT_EQ(sentVersions().back(), 5U) << "the row of the database, not the header of the file";
  EXPECT_TRUE(desk.hasErrorLine(L"getQuorvelTBInfos: get TBHeader for 12 from DB with prjId = "));
  EXPECT_TRUE(desk.hasErrorLine(L"getQuorvelTBInfos: Uploading TB 5 failed, error = \"no header found\""));
  EXPECT_TRUE(desk.hasErrorLine(L"\"old\\tb000012.zdw\" is not uploaded"));
}

TEST_F(UploadPipeline, WithoutAnOpenDatabaseHeadersComeFromTheFiles) {
  makeLockedObjects({{eFileType_Teilbild, 12}, {eFileType_Plan, 7}});
  ASSERT_TRUE(ZSYST_ZepRegPutNumber(L"HKCU", L"Settings\\OpenDatabase", 0));
  ASSERT_LE(kgunit(), 0);
  const Batch batch = batchOf({L"tb000012.zdw", L"pb000007.zpl", L"pb000008.zpl"});
  ASSERT_EQ(getFileLockingManager().LockObject(8, 2, 0), 1);
  for (const bool reread : {true, false}) {
    EXPECT_EQ(UploadAsync(batch, {}, uuid, path(L""), path(L"").size(), reread, {}), 0);
  }
  EXPECT_EQ(sentVersions(), (std::vector<std::uint32_t>{1, 1, 1, 1}));
  EXPECT_TRUE(desk.hasErrorLine(L"getQuorvelPLInfos: Uploading Plan 8 failed, error = \"no header found\""));
}

TEST_F(UploadPipeline, AnObjectGoesOnlyWithItsLock) {
  struct Case {
    const wchar_t* name;
    bool converting, suspended, sent;
    const wchar_t* line;
  };
  makeLockedObjects({{eFileType_Teilbild, 1}, {eFileType_Teilbild, 2}, {eFileType_Plan, 2}});
  getFileLockingManager().UnlockObject(2, 0, 0);
  getFileLockingManager().UnlockObject(2, 2, 0);
  ::workstation::setDenied(true);
  for (const Case& each : {
           Case{L"tb000001.zdw", false, false, true, L""},
           Case{L"tb000002.zdw", false, false, false, L"no upload possible for TB 2"},
           Case{L"pb000002.zpl", false, false, false, L"no upload possible for Layout 2"},
           Case{L"tb000002.zdw", true, false, true, L""},
           Case{L"tb000002.zdw", false, true, true, L""},
       }) {
    SCOPED_TRACE(platform::toUtf8(each.name));
    const std::size_t calls = cloud.calls().size();
    const std::size_t boxes = ui().boxes().size();
    std::optional<IZepFileLockingAgent::ScopedSuspend> suspend;
    if (each.suspended) suspend.emplace();
    if (each.converting) globalEventManager::instance().set(kDatwaRunningEvent, L"");
    EXPECT_EQ(send({each.name}), 0);
    globalEventManager::instance().reset(kDatwaRunningEvent);
    EXPECT_EQ(cloud.calls().size() - calls, each.sent ? 1U : 0U);
    ASSERT_EQ(ui().boxes().size() - boxes, each.sent ? 0U : 1U) << "shown although boxes are denied";
    if (each.sent) continue;
    EXPECT_TRUE(desk.hasErrorLine(std::wstring(L"file is not locked by current user, ") + each.line));
    EXPECT_EQ(ui().boxes().back().text, path(each.name) + L"\nThe file is not locked for you. It can't be uploaded.");
    EXPECT_EQ(ui().boxes().back().style, 16U);
  }
}

TEST_F(UploadPipeline, AGroupThatFailsIsTheLast) {
  makeLockedObjects({{eFileType_Teilbild, 1}, {eFileType_Plan, 1}});
  const wchar_t* const lines[] = {L"UploadAsync: Uploading other files failed with 0x00000005",
                                  L"UploadAsync: Uploading TBs failed with 0x00000005",
                                  L"UploadAsync: Uploading Plans failed with 0x00000005"};
  for (std::size_t failing = 0; failing < 3; ++failing) {
    const std::size_t calls = cloud.calls().size();
    cloud.script("UploadFilesAndMetadata", {failing == 0 ? kRefused : 0, failing == 1 ? kRefused : 0, kRefused});
    ui().answerWith(IDNO);
    EXPECT_EQ(send({L"tb000001.zdw", L"pb000001.zpl", L"a.txt"}), kRefused);
    EXPECT_EQ(cloud.calls().size() - calls, failing + 1);
    EXPECT_TRUE(desk.hasErrorLine(lines[failing]));
  }
}

TEST_F(UploadPipeline, ATeilbildGoesCompressedOrAsItIsAndThroughItsOpenHandle) {
  makeLockedObjects({{eFileType_Teilbild, 1}, {eFileType_Teilbild, 2}});
  const HANDLE other = CreateFileW(path(L"tb000002.zdw").c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr);
  std::vector<std::wstring> names{L"tb000001.zdw", L"tb000002.zdw"};
  EXPECT_EQ(send(names), 0);
  EXPECT_TRUE(desk.hasErrorLine(L"zipTBsForUpload: failed to zip TB " + path(names[1])));
  EXPECT_EQ(cloud.uploads.at(0).size(), 2U);
  CloseHandle(other);
  EXPECT_EQ(desk.readFile(path(names[0])).substr(0, 4), "QVPK");
  std::wstring error;
  ASSERT_GT(::workstation::openInCore(path(names[0]), error), 0) << platform::toUtf8(error);
  EXPECT_EQ(send({names[0]}), 0);
  EXPECT_EQ(cloud.uploads.at(0).at(0).fileHandle, -1);
  EXPECT_EQ(cloud.uploads.at(1).at(0).fileHandle,
            reinterpret_cast<std::intptr_t>(getOpenFileHandle_FromFileName(path(names[0]))));
  EXPECT_FALSE(desk.hasErrorLine(L"failed to zip TB " + path(names[0]))) << "compressed already is no failure";
  EXPECT_EQ(sentVersions(), (std::vector<std::uint32_t>{1, 5, 1}))
      << "compressing brings the row in line with the file";
}

TEST_F(UploadPipeline, AFileThatOnlyBearsATeilbildsNameIsNotEmptied) {
  makeLockedObjects({{eFileType_Teilbild, 1}, {eFileType_Teilbild, 2}});
  const std::string good = desk.readFile(path(L"tb000001.zdw"));
  for (const std::string& foreign : {std::string(200, 'x'), 'x' + good.substr(1), good.substr(0, 150)}) {
    desk.writeFile(path(L"tb000001.zdw"), foreign);
    EXPECT_EQ(send({L"tb000001.zdw", L"tb000002.zdw"}), 0);
    EXPECT_EQ(desk.readFile(path(L"tb000001.zdw")), foreign);
    EXPECT_TRUE(desk.hasErrorLine(L"zipTBsForUpload: failed to zip TB " + path(L"tb000001.zdw")));
  }
  EXPECT_EQ(desk.readFile(path(L"tb000002.zdw")).substr(0, 4), "QVPK");
  EXPECT_EQ(ui().boxes().size(), 0U);
}

TEST_F(UploadPipeline, ABatchFromElsewhereIsRefusedWhole) {
  EXPECT_EQ(Ondrath_UploadFreeFiles(localPrj(), batchOf({L"a.txt"}), {}, {}), 87);
  EXPECT_TRUE(desk.hasErrorLine(L"Ondrath_UploadFreeFiles: not Ondrath project"));
  EXPECT_EQ(send({}), 0);
  for (const std::wstring& elsewhere :
       {L"Z:\\" + std::wstring(path(L"").size(), L'x') + L"\\b.txt", path(L"..\\b.txt"), std::wstring(L"b.txt")}) {
    Batch batch = batchOf({L"a.txt"});
    batch.push_back({elsewhere, {}, {}});
    EXPECT_EQ(Ondrath_UploadFreeFiles(prj(), batch, {}, {}), 87) << platform::toUtf8(elsewhere);
    batch.erase(batch.begin());
    EXPECT_EQ(Ondrath_UploadFreeFiles(prj(), batch, {}, {}), 87) << platform::toUtf8(elsewhere);
  }
  EXPECT_TRUE(cloud.calls().empty());
  const std::wstring nested = L"Z:\\" + uuid + L".prj.old\\" + uuid + L".prj\\BIM\\";
  EXPECT_EQ(Ondrath_UploadFreeFiles(prj(), {{nested + L"a.txt", {}, {}}, {nested + L"b.txt", {}, {}}}, {}, {}), 0);
  EXPECT_EQ(cloud.calls(), (Calls{upload(L"BIM\\a.txt,BIM\\b.txt", L"0")}));
}

}  // namespace
}  // namespace Quorvel::FileAccess::Threading
