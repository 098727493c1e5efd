#include "cloud/Ondrath_Services.h"
#include "host/ProjectDatabase.h"
#include "tests/support/CloudFixture.h"
#include "workstation/objects/OpenFiles.h"
#include "zephor/NotUploadedFiles.h"

namespace Quorvel::FileAccess {
namespace {

using zephor_test::Calls;

using CloudFiles = zephor_test::CloudFixture;

TEST_F(CloudFiles, PathsOutsideTheProjectNeverReachTheService) {
  const std::wstring outside = path(L"..\\secret.txt");
  EXPECT_FALSE(Ondrath_uploadFile(prj(), outside));
  EXPECT_EQ(Ondrath_downloadFile(prj(), outside, false), 13);
  EXPECT_FALSE(Ondrath_deleteFile(prj(), outside));
  EXPECT_FALSE(Ondrath_existsFile(prj(), outside));
  EXPECT_TRUE(cloud.calls().empty());
  EXPECT_TRUE(desk.hasErrorLine(L"Ondrath_uploadFile: \"" + outside + L"\" is not a valid Ondrath project path!"));
  EXPECT_FALSE(Ondrath_downloadFiles(prj(), {outside, path(L"a.txt"), path(L"BIM\\b.txt")}, true));
  EXPECT_EQ(cloud.calls(), (Calls{L"DownloadFiles BIM\\b.txt,a.txt 3"}));
}

TEST_F(CloudFiles, ATeilbildGoesWithItsRecordOfTheDatabase) {
  const std::wstring file = makeObject(eFileType_Teilbild, 12);
  EXPECT_FALSE(Ondrath_uploadFile(prj(), file)) << "without a row there is no header";
  EXPECT_TRUE(cloud.calls().empty());
  const TeilbildHeader row = header<TeilbildHeader>(12, 5);
  ASSERT_EQ(ZP_ProjectDBTeilbildSets(kgunit()).setTeilbildRecord(12, row), 1);
  addEntryToNotUploadedFilesList(file.c_str());
  EXPECT_EQ(Ondrath_uploadFile(prj(), 12, eFileType_Teilbild), 0);
  EXPECT_EQ(cloud.calls(), (Calls{L"UploadFilesAndMetadata tb000012.zdw 1576"}));
  ASSERT_EQ(cloud.uploadedHeaders.size(), 1U);
  ASSERT_EQ(cloud.uploadedHeaders[0].size(), sizeof row);
  EXPECT_TRUE(std::equal(cloud.uploadedHeaders[0].begin(), cloud.uploadedHeaders[0].end(),
                         reinterpret_cast<const std::uint8_t*>(&row)));
  EXPECT_FALSE(existsEntryInNotUploadedFilesList(file.c_str()));
}

TEST_F(CloudFiles, AnObjectOfAnotherProjectGoesWithTheHeaderOfItsFile) {
  const std::wstring otherUuid = L"0c1e6f5e-7a0e-4c1e-9d5e-0000000000ab";
  const PRJ other(L"team", L"Team", L"Other", otherUuid, true);
  const std::wstring file = desk.path(otherUuid + L".prj\\tb000012.zdw");
  desk.writeFile(file, desk.readFile(makeObject(eFileType_Teilbild, 12)));
  ZP_ProjectDBTeilbildSets(kgunit()).setTeilbildRecord(12, header<TeilbildHeader>(12, 5));
  EXPECT_TRUE(Ondrath_uploadFile(other, file));
  ASSERT_EQ(cloud.uploadedHeaders.size(), 1U);
  TeilbildHeader sent;
  std::memcpy(static_cast<void*>(&sent), cloud.uploadedHeaders[0].data(), sizeof sent);
  EXPECT_EQ(sent.versionCounter, 1U) << "not the row of the open project's object with that number";
}

TEST_F(CloudFiles, AnOpenObjectIsReplacedThroughItsHandleOnly) {
  const std::wstring file = makeObject(eFileType_Teilbild, 3);
  const std::string before = desk.readFile(file);
  const std::wstring other = makeObject(eFileType_Teilbild, 4);
  std::wstring error;
  ASSERT_EQ(::workstation::touchVersion(other, {1, L"Ada"}, error), 0U);
  std::wstring trouble;
  const int handle = ::workstation::openInCore(file, trouble);
  ASSERT_GT(handle, 0) << platform::toUtf8(trouble);
  EXPECT_EQ(Ondrath_downloadFile(prj(), 3, eFileType_Teilbild, false), 13);
  EXPECT_TRUE(desk.hasErrorLine(L"Ondrath_downloadFile: no download to open file"));
  EXPECT_TRUE(cloud.calls().empty());

  cloud.onDownload = [&](const std::wstring& target) { desk.writeFile(target, desk.readFile(other)); };
  EXPECT_EQ(Ondrath_downloadToOpenFile(handle, prj(), 3, eFileType_Teilbild), 0);
  EXPECT_EQ(desk.readFile(file), desk.readFile(other));
  EXPECT_FALSE(desk.exists(file + L".part"));
  cloud.onDownload = nullptr;
  EXPECT_EQ(Ondrath_downloadToOpenFile(handle, prj(), 3, eFileType_Teilbild), 13) << "nothing came";
  EXPECT_EQ(desk.readFile(file), desk.readFile(other));
  ::workstation::closeInCore(handle);
}

TEST_F(CloudFiles, AServiceThatThrowsIsAFailureAndNotTheEnd) {
  cloud.onDownload = [](const std::wstring&) { throw std::runtime_error("store lost"); };
  EXPECT_LT(Ondrath_downloadFile(prj(), path(L"a.txt"), false), 0);
  EXPECT_TRUE(desk.hasErrorLine(L"store lost"));
}

TEST_F(CloudFiles, FreeFilesStayBelowTheirBase) {
  using Threading::Ondrath_uploadFreeFile;
  using Threading::Ondrath_uploadFreeFileEx;
  EXPECT_EQ(Ondrath_uploadFreeFile(prj(), path(L"design\\a.txt"), 1), 0);
  EXPECT_EQ(Ondrath_uploadFreeFile(prj(), path(L"..\\a.txt"), 1), 87);
  EXPECT_EQ(Ondrath_uploadFreeFile(prj(), L"Z:\\elsewhere\\a.txt", 1), 87);
  std::wstring slashes = path(L"BIM\\b.xml");
  std::replace(slashes.begin(), slashes.end(), L'\\', L'/');
  EXPECT_EQ(Ondrath_uploadFreeFileEx(prj(), slashes, L"BIM", {}), 0);
  EXPECT_EQ(Ondrath_uploadFreeFileEx(prj(), L"Z:\\BIM\\" + uuid + L".prj\\BIM\\c.xml", L"BIM", {}), 0);
  EXPECT_EQ(Ondrath_uploadFreeFileEx(prj(), path(L"BIM\\sub\\b.xml"), L"BIM", {}), 87) << "would go as BIM\\b.xml";
  EXPECT_EQ(Ondrath_uploadFreeFileEx(prj(), path(L"b.xml"), L"BIM", {}), 87);
  EXPECT_EQ(cloud.calls(), (Calls{L"UploadFilesAndMetadata design\\a.txt 0", L"UploadFilesAndMetadata BIM\\b.xml 0",
                                  L"UploadFilesAndMetadata BIM\\c.xml 0"}));
}

}  // namespace
}  // namespace Quorvel::FileAccess
