#include "zephor/ProjectDatabase.h"

#include "services/RowComparison.h"
#include "tests/support/CloudFixture.h"

namespace Quorvel::FileAccess {
namespace {

TEST(RowComparison, WhoIsAskedForAMissingPlanDependsOnItsProject) {
  const ZP_PrjDBPlanRecordData row;
  EXPECT_EQ(planStep(&row, nullptr, true), RowStep::CancelIfServerLacksIt);
  EXPECT_EQ(planStep(&row, nullptr, false), RowStep::CancelIfFileIsThere);
  PlanHeader header{};
  header.hostMember = 7;
  EXPECT_EQ(withHostMember(header, nullptr).hostMember, 0);
}

class ProjectDatabase : public zephor_test::CloudFixture {
 protected:
  std::set<int> numbers() {
    std::vector<TeilbildHeader> rows;
    teilbilder.getTeilbildRecords(rows, true);
    std::set<int> found;
    for (const TeilbildHeader& row : rows) found.insert(row.number);
    return found;
  }

  ZP_ProjectDBTeilbildSets teilbilder{kgunit()};
};

TEST_F(ProjectDatabase, RowsFollowTheFilesOfTheirNumbers) {
  for (const int number : {1, 2, 9}) makeObject(eFileType_Teilbild, number);
  teilbilder.setTeilbildRecord(2, header<TeilbildHeader>(2, 5));
  teilbilder.setTeilbildRecord(4, header<TeilbildHeader>(4, 6));
  desk.writeFile(path(L"tb000005.zdw"), "no drawing");
  EXPECT_EQ(WGO_UpdateTeilbildSetsDBFromServer({-3, 0, 1, 2, 3, 4, 5, 10000}, teilbilder, nullptr), 2);
  EXPECT_EQ(numbers(), (std::set<int>{1, 2, 4})) << "without a file a row stays";
  EXPECT_EQ(WGO_UpdateTeilbildSetsDBFromServer({1, 2, 4}, teilbilder, nullptr), 0) << "nothing is new";
}

TEST_F(ProjectDatabase, GivenRowsAreWorkedOnAndHandedBack) {
  makeObject(eFileType_Teilbild, 1);
  desk.writeFile(path(L"tb000005.zdw"), "no drawing");
  std::vector<ZP_PrjDBTeilbildRecordData> rows{ZP_PrjDBTeilbildRecordData(header<TeilbildHeader>(5, 6)),
                                               ZP_PrjDBTeilbildRecordData(header<TeilbildHeader>(6, 6))};
  for (auto& row : rows) row.setState(kRowNew);
  EXPECT_EQ(WGO_UpdateTeilbildSetsDBFromServer({1, 5, 6}, teilbilder, &rows), 2);
  EXPECT_EQ(rows.size(), 3U);
  EXPECT_TRUE(numbers().contains(6) && !numbers().contains(5)) << "the change of an unreadable file is cancelled";
}

TEST_F(ProjectDatabase, PlansTakeTheServersHeadersButForWhatItLacks) {
  ZP_ProjectDBPlanSets plans(kgunit());
  PlanHeader found = header<PlanHeader>(5, 1);
  found.hostMember = 7;
  plans.setPlanRecord(5, found);
  for (const int number : {5, 6})
    storeHeader(L"pb00000" + std::to_wstring(number) + L".zpl", header<PlanHeader>(number, 2));
  const std::set<int> limit{5, 9};
  EXPECT_EQ(WGO_UpdatePlanSetsDBFromServer({5, 6}, plans, nullptr, &limit), 1);
  EXPECT_EQ(cloud.calls().size(), 1U);
  EXPECT_EQ(plans.getPlanRecord(5, found), 1);
  EXPECT_TRUE(found.versionCounter == 2 && found.hostMember == 7);
}

TEST_F(ProjectDatabase, SetsOfAnotherProjectAreNeverTouched) {
  makeObject(eFileType_Zeichnung, 1);
  ZP_ProjectDBZeichnungSets drawings(kgunit());
  EXPECT_EQ(WGO_UpdateZeichnungSetsDBFromServer({}, drawings, nullptr, nullptr), 0);
  // The same number, for it lives on the server too.
  PRJ other = prj();
  other.SetOndrathProject(OndrathPrj(L"Team", L"t", L"Bridge", L"5a1c6f5e-7a0e-4c1e-9d5e-00000000abcd"));
  set_ActivePrj(other);
  EXPECT_EQ(WGO_UpdateZeichnungSetsDBFromServer({}, drawings, nullptr, nullptr), -1);
  EXPECT_EQ(WGO_UpdateTeilbildSetsDBFromServer({1}, teilbilder, nullptr), -1);
  ZP_ProjectDBPlanSets none(-1);
  EXPECT_EQ(WGO_UpdatePlanSetsDBFromServer({1}, none, nullptr, nullptr), -1);
}

TEST_F(ProjectDatabase, ZeichnungenAreReconciledByNumber) {
  ZP_ProjectDBZeichnungSets drawings(kgunit());
  for (const int number : {3, 4}) makeObject(eFileType_Zeichnung, number);
  desk.writeFile(path(L"ze000000.000"), "number zero");
  for (const int number : {4, 8}) drawings.setZeichnungRecord(static_cast<unsigned>(number), {});
  WGO_SyncDBZeichnungsNumbersFromServer(drawings);
  std::vector<ZeichnungHeader> rows;
  ASSERT_EQ(drawings.getZeichnungRecords(rows, true), 2);
  EXPECT_TRUE(rows[0].number == 3 && rows[1].number == 4);
  std::set<int> existing;
  EXPECT_EQ(WGO_GetExistingObjectNumbersFromServer(eObject_Zeichnung, existing), 0);
  EXPECT_TRUE(existing.contains(3) && existing.contains(4));
  EXPECT_EQ(WGO_GetExistingObjectNumbersFromServer(static_cast<ObjectType>(3), existing), -1);
}

}  // namespace
}  // namespace Quorvel::FileAccess
