#include "zephor/HeaderServices.h"

#include "host/ProjectDatabase.h"
#include "services/ObjectVersions.h"
#include "tests/support/CloudFixture.h"

namespace Quorvel::FileAccess {
namespace {

using HeaderServices = zephor_test::CloudFixture;

TEST_F(HeaderServices, AFailureLeavesAClearedRecord) {
  const TeilbildHeader cleared = clearedHeader<TeilbildHeader>();
  TeilbildHeader found;
  for (const auto& service : std::vector<std::function<bool()>>{
           [&] { return WGO_getTBHeader(3, &found, true, 1); }, [&] { return WGO_getTBHeader(3, &found, false, 1); },
           [&] { return WGO_getTBHeaderFromOnlineServer(3, &found); }}) {
    std::memset(static_cast<void*>(&found), 7, sizeof found);
    EXPECT_FALSE(service());
    EXPECT_EQ(std::string(reinterpret_cast<const char*>(&found), sizeof found),
              std::string(reinterpret_cast<const char*>(&cleared), sizeof cleared));
  }
}

TEST_F(HeaderServices, APlanWithoutGuidIsNotFoundOnTheServer) {
  storeHeader(L"pb000003.zpl", header<PlanHeader>(3, 5, 0));
  storeHeader(L"pb000004.zpl", header<PlanHeader>(4, 6, 1.5));
  unsigned counter = 0;
  GUID guid{};
  EXPECT_FALSE(GetPlanVersionCounter(3, counter, guid, true));
  EXPECT_TRUE(GetPlanVersionCounter(4, counter, guid, true));
  EXPECT_EQ(counter, 6U);
  makeObject(eFileType_Plan, 4);
  EXPECT_TRUE(GetPlanVersionCounter(4, counter, guid, false));
  EXPECT_EQ(counter, 1U);
}

TEST_F(HeaderServices, WhatIsNotThereHasTheUnknownVersion) {
  unsigned counter = 0;
  GUID guid{};
  desk.writeFile(path(L"tb000004.zdw"), "");
  for (const unsigned number : {4U, 5U}) {
    EXPECT_FALSE(WGO_getTBVersionCounter(number, counter, guid, false));
    EXPECT_EQ(counter, kUnknownVersion);
  }
  storeHeader(L"tb000003.zdw", header<TeilbildHeader>(3, 30, 0));
  ZSYST_setCurrentWorkgroupServer(L"files");
  const std::size_t calls = cloud.calls().size();
  EXPECT_FALSE(WGO_getTBVersionCounter(3, counter, guid, true));
  EXPECT_EQ(cloud.calls().size(), calls);
}

TEST_F(HeaderServices, AProjectsHeadersComeFromBothSides) {
  ZP_ProjectDBTeilbildSets(kgunit()).setTeilbildRecord(3, header<TeilbildHeader>(3, 20, 0));
  storeHeader(L"tb000003.zdw", header<TeilbildHeader>(3, 30, 0));
  storeHeader(L"tb000004.zdw", header<TeilbildHeader>(4, 1, 0));
  std::vector<TeilbildHeader> server(1);
  std::vector<TeilbildHeader> local(5);
  PRJ project = prj();
  EXPECT_TRUE(WGO_getTBHeaderInfoFromProject(project, server, local));
  ASSERT_EQ(server.size(), 2U);
  EXPECT_EQ(server[0].versionCounter, 30U);
  ASSERT_EQ(local.size(), 1U);
  EXPECT_EQ(local[0].versionCounter, 20U);
}

}  // namespace
}  // namespace Quorvel::FileAccess
