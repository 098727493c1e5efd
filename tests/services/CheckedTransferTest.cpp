#include "host/Events.h"
#include "host/Locking.h"
#include "host/ObjectFiles.h"
#include "host/ProjectDatabase.h"
#include "host/Users.h"
#include "platform/Files.h"
#include "services/FileServicesState.h"
#include "tests/support/CloudFixture.h"
#include "workstation/objects/CoreObjects.h"
#include "workstation/objects/OpenFiles.h"
#include "zephor/FileServices.h"
#include "zephor/NotUploadedFiles.h"

namespace Quorvel::FileAccess {
namespace {

using zephor_test::Calls;
using zephor_test::kRefused;

class CheckedTransfer : public zephor_test::CloudFixture {
 protected:
  /// The server has Teilbild `number` in the given version.
  void storeVersion(int number, std::uint32_t version) {
    storeHeader(L"tb00000" + std::to_wstring(number) + L".zdw", header<TeilbildHeader>(number, version));
  }
  /// Saves Teilbild `number` until it has `version`, aside, as what the server sends.
  void serve(int number, std::uint32_t version) {
    storeVersion(number, version);
    const std::wstring original = path(L"tb00000" + std::to_wstring(number) + L".zdw");
    const std::string before = desk.readFile(original);
    std::wstring error;
    for (std::uint32_t v = 1; v < version; ++v)
      ASSERT_EQ(::workstation::touchVersion(original, {2, L"Bob"}, error), 0U);
    served_ = desk.readFile(original);
    desk.writeFile(original, before);
    cloud.onDownload = [this](const std::wstring& target) { desk.writeFile(target, served_); };
  }
  bool downloaded() const {
    const Calls calls = cloud.calls();
    return std::any_of(calls.begin(), calls.end(), [](const auto& call) { return call.starts_with(L"DownloadFile"); });
  }

  std::string served_;
};

TEST_F(CheckedTransfer, AFileWithoutLockIsRefusedWithABox) {
  makeObject(eFileType_Teilbild, 3);
  EXPECT_EQ(WGO_CheckLockAndUploadFile(3, eFileType_Teilbild), 1U);
  ASSERT_EQ(ui().boxes().size(), 1U);
  EXPECT_EQ(ui().boxes()[0].text, L"tb000003.zdw\nThe file is not locked for you. It can't be uploaded.");
  EXPECT_EQ(ui().boxes()[0].style, MB_ICONHAND);
  EXPECT_TRUE(cloud.calls().empty());

  ZP_ProjectDBTeilbildSets(kgunit()).setTeilbildRecord(3, header<TeilbildHeader>(3, 1));
  ASSERT_EQ(getFileLockingManager().LockObject(3, eObject_Teilbild, 0), 1);
  EXPECT_EQ(WGO_CheckLockAndUploadFile(3, eFileType_Teilbild), 0U);
  EXPECT_EQ(cloud.calls().back(), L"UploadFilesAndMetadata tb000003.zdw 1576");
}

TEST_F(CheckedTransfer, ObjectsOfAConversionWaitInTheListUntilItHasEnded) {
  globalEventManager::instance().set(kDatwaRunningEvent, L"");
  for (const int type : {0, 33, 28, 99}) EXPECT_EQ(WGO_CheckLockAndUploadFile(3, type), 0U);
  const std::set<std::pair<std::wstring, std::wstring>> expected{{L"pb000003.zpl", path(L"pb000003.zpl")},
                                                                 {L"tb000003.zdw", path(L"tb000003.zdw")}};
  EXPECT_EQ(fileServicesState().convertedFiles, expected);
  EXPECT_TRUE(ui().boxes().empty());
  EXPECT_TRUE(WGO_uploadConvertedFilesAfterDatwa());
  EXPECT_TRUE(cloud.calls().empty()) << "the conversion still runs";

  globalEventManager::instance().reset(kDatwaRunningEvent);
  makeObject(eFileType_Teilbild, 3);
  makeObject(eFileType_Plan, 3);
  ZP_ProjectDBTeilbildSets(kgunit()).setTeilbildRecord(3, header<TeilbildHeader>(3, 1));
  ZP_ProjectDBPlanSets(kgunit()).setPlanRecord(3, header<PlanHeader>(3, 1));
  for (int i = 0; i < 2; ++i) EXPECT_TRUE(WGO_uploadConvertedFilesAfterDatwa());
  EXPECT_EQ(cloud.calls(), (Calls{L"UploadFilesAndMetadata " + path(L"tb000003.zdw") + L" 1576",
                                  L"UploadFilesAndMetadata " + path(L"pb000003.zpl") + L" 896"}));

  fileServicesState().convertedFiles = {{L"tb000009.zdw", path(L"tb000009.zdw")}};
  EXPECT_TRUE(WGO_uploadConvertedFilesAfterDatwa());
  EXPECT_TRUE(existsEntryInNotUploadedFilesList(L"tb000009.zdw")) << "not there at the moment";

  fileServicesState().convertedFiles = expected;
  cloud.script("UploadFilesAndMetadata", {kRefused});
  EXPECT_FALSE(WGO_uploadConvertedFilesAfterDatwa());
  EXPECT_TRUE(fileServicesState().convertedFiles.empty());
  EXPECT_EQ(cloud.calls().size(), 3U) << "the Plan is not tried";
  for (const auto& file : expected) EXPECT_TRUE(existsEntryInNotUploadedFilesList(file.second.c_str())) << "remembered";
}

TEST_F(CheckedTransfer, OnlyANewerServerVersionComes) {
  makeObject(eFileType_Teilbild, 3);
  const std::wstring file = path(L"tb000003.zdw");
  const std::string before = desk.readFile(file);
  for (const std::uint32_t version : {0U, 1U}) {  // the local one is newer, both are equal
    storeVersion(3, version);
    EXPECT_TRUE(WGO_CheckLockAndDownloadFile(3, 0, false));
  }
  cloud.headers.clear();
  EXPECT_TRUE(WGO_CheckLockAndDownloadFile(3, 0, false)) << "missing on the server";
  EXPECT_FALSE(downloaded());
  EXPECT_EQ(desk.readFile(file), before);

  serve(3, 4);
  cloud.script("DownloadFile", {2, 2, 5});
  for (const bool accepted : {false, true, false}) EXPECT_EQ(WGO_CheckLockAndDownloadFile(3, 0, accepted), accepted);
  EXPECT_FALSE(WGO_CheckLockAndDownloadFile(3, 1, true)) << "no kind of object";
  EXPECT_TRUE(WGO_CheckLockAndDownloadFile(3, 0, false));
  EXPECT_EQ(desk.readFile(file), served_);
  EXPECT_EQ(::workstation::selectionListVersion(eFileType_Teilbild, 3), 4U);
}

TEST_F(CheckedTransfer, AZeichnungComesOnlyWhenItIsMissingHere) {
  cloud.files = {L"ze000003.000"};
  EXPECT_TRUE(WGO_CheckLockAndDownloadFile(3, 28, false));
  EXPECT_TRUE(downloaded());
  const std::size_t calls = cloud.calls().size();
  makeObject(eFileType_Zeichnung, 3);
  EXPECT_TRUE(WGO_CheckLockAndDownloadFile(3, 28, false));
  EXPECT_EQ(cloud.calls().size(), calls + 1) << "only the question whether it exists";
}

TEST_F(CheckedTransfer, UnsentWorkStaysOrIsBackedUp) {
  const std::wstring file = makeObject(eFileType_Teilbild, 3);
  std::wstring error;
  serve(3, 5);
  ASSERT_EQ(::workstation::touchVersion(file, {lzbnum(), L"Me"}, error), 0U);
  desk.writeFile(path(L"Backup"), "in the way");
  EXPECT_FALSE(WGO_CheckLockAndDownloadFile(3, 0, false)) << "saved here last, and no backup";
  ASSERT_EQ(::workstation::touchVersion(file, {lzbnum() + 1, L"Bob"}, error), 0U);
  const std::string before = desk.readFile(file);
  resetNotUploadedFilesList();
  desk.writeFile(path(L"NotUploadedFiles.xml"), "   <file type=TEILBILD number=3>\n");
  EXPECT_FALSE(WGO_CheckLockAndDownloadFile(3, 0, false)) << "listed by an earlier run";
  resetNotUploadedFilesList();
  DeleteFileW(path(L"NotUploadedFiles.xml").c_str());
  const int handle = ::workstation::openInCore(file, error);
  const void* const value = reinterpret_cast<const void*>(static_cast<std::intptr_t>(handle));
  ::workstation::markModified(handle, true);
  EXPECT_TRUE(WGO_CheckLockAndDownloadFile(3, 0, false)) << "open and changed";
  EXPECT_FALSE(WGO_DownloadToOpenFile(&value, 3, eFileType_Teilbild)) << "and no backup";
  EXPECT_TRUE(desk.hasErrorLine(L"tb000003.zdw is not replaced by the server's file"));
  EXPECT_FALSE(downloaded());
  EXPECT_EQ(desk.readFile(file), before);

  DeleteFileW(path(L"Backup").c_str());
  EXPECT_TRUE(WGO_DownloadToOpenFile(&value, 3, eFileType_Teilbild));
  EXPECT_TRUE(desk.exists(path(L"Backup")));
  EXPECT_EQ(desk.readFile(file), served_);
  ::workstation::closeInCore(handle);
  desk.writeFile(file, before);
  platform::removeTree(path(L"Backup"));
  EXPECT_TRUE(WGO_CheckLockAndDownloadFile(3, 0, false));
  EXPECT_FALSE(desk.exists(path(L"Backup"))) << "what Bob saved came from the store";
}

}  // namespace
}  // namespace Quorvel::FileAccess
