#include <gtest/gtest.h>

#include "host/Guid.h"
#include "host/NetManager.h"
#include "host/Project.h"
#include "platform/Files.h"
#include "platform/Text.h"
#include "tests/workstation/Fixtures.h"

namespace {

using Quorvel::Cad::Service::ZP_GUIDValueProvider;
using zephor_test::offline;
using zephor_test::TestWorkstation;

constexpr const wchar_t* kUuid = L"11111111-2222-4333-8444-555555555555";
constexpr const wchar_t* kFile = L"C:\\Temp\\Project1.Dat.xml";

PRJ cloudProject() {
  PRJ prj(L"team-uuid", L"Team <1> & \"co\"", L"Häuser \x1F3E0", kUuid, true);
  prj.creationTime = 1'800'000'000;
  prj.countryNumber = 49;
  prj.projectGuid = GetGUID();
  prj.owner = 2;
  prj.additionalAdmins = {3, 700};
  prj.compressed = true;
  prj.setMember(1);
  prj.setMember(1023);
  prj.setMember(1024);
  return prj;
}

class Descriptor : public testing::Test {
 protected:
  TestWorkstation workstation_{offline()};
};

TEST_F(Descriptor, OfACloudProjectComesBackWhole) {
  const PRJ written = cloudProject();
  ASSERT_EQ(NetID_WritePrjInfoByPath(L"C:\\Temp", written, 0), 0);
  PRJ read;
  ASSERT_EQ(NetID_ReadPrjInfoByPath(L"C:\\Temp\\", read), 0);
  EXPECT_STREQ(read.directoryName, kUuid);
  EXPECT_EQ(read.GetOndrathTeamName(), written.GetOndrathTeamName());
  EXPECT_TRUE(read.IsOndrathProject());
  EXPECT_EQ(read.owner, 2);
  EXPECT_EQ(read.additionalAdmins, written.additionalAdmins);
  EXPECT_EQ(read.memberSet, written.memberSet);
  EXPECT_TRUE(read.isMember(1023));
  EXPECT_FALSE(read.isMember(1024)) << "outside the set";
  EXPECT_TRUE(ZP_GUIDValueProvider::IsEqualGUID(read.projectGuid, written.projectGuid));
}

TEST_F(Descriptor, KeepsWhatTheSettersDoNotTouch) {
  workstation_.writeFile(kFile,
                         "<?xml version=\"1.0\"?><!-- by hand --><Project version=\"1\"><Name>Old</Name>"
                         "<Plugin id=\"7\"><Deep> </Deep><![CDATA[a < b]]></Plugin><Access>3</Access></Project>");
  NetManager::projectInfo info;
  std::wstring error;
  ASSERT_TRUE(NetManager::readProject1DatXml(kFile, info, &error)) << platform::toUtf8(error);
  info.modifyName(L"New");
  info.modifyHost(L"localhost");
  info.modifyUUID(kUuid);
  info.modifyWorkgroupManager(false);
  const NetManager::projectInfo copy(info);
  ASSERT_TRUE(NetManager::writeProject1DatXml(kFile, copy, &error));
  const std::string text = workstation_.readFile(kFile);
  for (const char* part : {"<!-- by hand -->", "<Plugin id=\"7\">", "<Deep> </Deep>", "<![CDATA[a < b]]>",
                           "<Access>3</Access>", "<Name>New</Name>", "<WorkgroupManager>0</WorkgroupManager>"}) {
    EXPECT_NE(text.find(part), std::string::npos) << part << " in\n" << text;
  }
  PRJ prj;
  ASSERT_EQ(NetID_ReadPrjInfoByPath(L"C:\\Temp", prj), 0);
  EXPECT_FALSE(prj.IsOndrathProject());
  EXPECT_STREQ(prj.GetProjectName(), L"New");
  EXPECT_EQ(ZP_GUIDValueProvider::printGUID(prj.projectGuid), kUuid) << "a copy's GUID is the one it was given";
}

TEST_F(Descriptor, ThatIsDamagedGivesAnErrorWithFileAndPlaceAndStays) {
  struct Case {
    const char* text;
    const wchar_t *place, *expected;
  };
  const Case cases[] = {
      {"", L"line 1, column 1", L"well-formed XML"},
      {"<Project version=\"1\">\n<Name>x</Nam>\n</Project>", L"line 2", L"well-formed XML"},
      {"<Project version=\"1\"><Name>x", L"line 1", L"well-formed XML"},
      {"<Other/>", L"line 1", L"the element Project"},
      {"<Project version=\"2\"/>", L"line 1", L"version 1"},
      {"<Project version=\"1\">\n\n  <Owner>two</Owner></Project>", L"line 3", L"in Owner"},
      {"<Project version=\"1\"><MainRelease>256</MainRelease></Project>", L"column 23", L"from 0 to 255"},
      {"<Project version=\"1\"><Members>0000001</Members></Project>", L"line 1", L"hexadecimal"},
      {"<Project version=\"1\"><AdditionalAdmins>1 -2</AdditionalAdmins></Project>", L"line 1", L"user numbers"},
      {"<Project version=\"1\"><DirectoryName>..\\x</DirectoryName></Project>", L"line 1", L"name of one directory"},
      {"<Project version=\"1\"><Host>ONDRATH</Host>\n<UUID>../../etc</UUID></Project>", L"line 2", L"in UUID"},
      {"<Project version=\"1\"><Host>ONDRATH</Host></Project>", L"line 1", L"UUID of a cloud project"},
      {"<Project version=\"1\"><Host>a host of many letters</Host></Project>", L"line 1", L"16 characters"},
      {"<Project version=\"1\"><ProjectGuid>1</ProjectGuid></Project>", L"line 1", L"a GUID"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.text);
    workstation_.writeFile(kFile, c.text);
    NetManager::projectInfo info;
    std::wstring error;
    EXPECT_FALSE(NetManager::readProject1DatXml(kFile, info, &error));
    for (const wchar_t* part : {kFile, c.place, c.expected}) {
      EXPECT_NE(error.find(part), std::wstring::npos) << platform::toUtf8(part) << " in " << platform::toUtf8(error);
    }
    PRJ prj = cloudProject();
    EXPECT_EQ(NetID_ReadPrjInfoByPath(L"C:\\Temp", prj), 13);
    EXPECT_STREQ(prj.directoryName, kUuid) << "a failed read changes nothing";
    EXPECT_EQ(workstation_.readFile(kFile), c.text);
    EXPECT_TRUE(workstation_.hasErrorLine(error));
  }
  EXPECT_EQ(NetID_WritePrjInfoByPath(L"C:\\Temp", cloudProject(), 0), 0);
  EXPECT_EQ(workstation_.readFile(std::wstring(kFile) + L".damaged"), cases[std::size(cases) - 1].text);
  EXPECT_EQ(NetID_ReadPrjInfoByPath(L"C:\\Data", *std::make_unique<PRJ>()), 2);
}

TEST_F(Descriptor, NamesADirectoryThatCanNotLeaveItsRoot) {
  PRJ prj = cloudProject();
  std::wstring path;
  ASSERT_EQ(make_prj_dir(prj, path), 0);
  EXPECT_EQ(path, std::wstring(L"C:\\Data\\Prj\\ONDRATH\\") + kUuid + L".prj");
  EXPECT_EQ(prj.GetFullProjectPath(true), path);
  path = L"untouched";
  for (const wchar_t* name : {L"", L"..", L"...prj", L"a\\b", L"a/b", L"C:x", L"a\nb", L"nul", L"a ", L".prj"}) {
    wcscpy(prj.directoryName, name);
    EXPECT_NE(make_prj_dir(prj, path), 0) << platform::toUtf8(name);
    EXPECT_NE(NetID_WritePrjInfoByPath(L"C:\\Temp", prj, 0), 0) << platform::toUtf8(name);
    EXPECT_NE(get_project_info(L"ONDRATH", name, prj, 1, 0), 0) << platform::toUtf8(name);
    EXPECT_FALSE(projectExistsEx(L"ONDRATH", name)) << platform::toUtf8(name);
  }
  set_ActivePrj(prj);
  EXPECT_EQ(get_ActPrjPath(), L"");
  wcscpy(prj.directoryName, L"House.PRJ");
  wcscpy(prj.host, L"nobody");
  EXPECT_NE(make_prj_dir(prj, path), 0);
  EXPECT_EQ(path, L"untouched");
  EXPECT_EQ(prj.GetFullProjectPath(true), L"");
  EXPECT_EQ(prj.GetFullProjectPath(false), L"C:\\Data\\Prj\\nobody\\House.PRJ");
}

}  // namespace
