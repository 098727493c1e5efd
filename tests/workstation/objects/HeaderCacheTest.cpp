#include <gtest/gtest.h>

#include <filesystem>

#include "host/Cloud.h"
#include "host/Headers.h"
#include "host/Project.h"
#include "tests/support/TestWorkstation.h"
#include "workstation/Session.h"

TEST(HeaderCache, AnswersWhatTheCloudHolds) {
  zephor_test::TestWorkstation workstation;
  const std::wstring project = workstation.createTeamAndProject(L"House");
  workstation.writeFile(workstation.projectPath(L"tb000012.zdw"), "content");
  auto sent = clearedHeader<TeilbildHeader>();
  sent.number = 12;
  sent.guidFirst = 0.1;
  sent.versionCounter = 0xA5F00001;
  QuorvFileInfo file;
  file.name = L"tb000012.zdw";
  file.header = &sent;
  std::vector<std::wstring> failed;
  ASSERT_EQ(QuorvelCloudController()->GetProjectService()->UploadFilesAndMetadata(project, workstation.projectPath(),
                                                                                  {file}, sizeof sent, {}, failed),
            0);

  TeilbildHeader found{};
  int rows = -1;
  EXPECT_TRUE(getTBHeaderCache().getHeader(12, found, rows));
  EXPECT_EQ(rows, 1);
  EXPECT_EQ(found.number, 12);
  EXPECT_EQ(found.guidFirst, 0.1);
  EXPECT_EQ(found.versionCounter, 0xA5F00001U);
  EXPECT_TRUE(getTBHeaderCache().getHeader(13, found, rows));
  EXPECT_EQ(rows, 0);
  EXPECT_FALSE(getTBHeaderCache().getHeader(10000, found, rows));
  workstation::closeProject();
  EXPECT_FALSE(getTBHeaderCache().getHeader(12, found, rows)) << "no cloud project is open";
}
