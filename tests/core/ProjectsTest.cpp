#include "zephor/Projects.h"

#include <gtest/gtest.h>

namespace {

using namespace Quorvel::FileAccess;

TEST(Projects, ADirectoryNameHoldsTheEndingOnce) {
  const std::pair<const wchar_t*, const wchar_t*> table[] = {
      {L"House", L"House.prj"},        {L"House.prj", L"House.prj"}, {L"House.PRJ ", L"House.PRJ"},
      {L"House \t\n", L"House.prj"},   {L" House", L" House.prj"},   {L"a.prj.old", L"a.prj.old"},
      {L"House prj", L"House prj.prj"}};
  for (const auto& [name, directory] : table) EXPECT_EQ(WGO_BuildProjectDirectoryName(name), directory);
}

TEST(Projects, ALazyDescriptorAddressesAProjectOnTheServerWithNamesCutToItsSize) {
  const PRJ prj = WGO_CreateLazyOnlinePRJ(std::wstring(17, L'h').c_str(), std::wstring(80, L'n').c_str());
  EXPECT_EQ(std::wstring(prj.host), std::wstring(16, L'h'));
  EXPECT_EQ(prj.GetDirectoryName(), std::wstring(50, L'n'));
  EXPECT_EQ(prj.formatNumber, 328);
  EXPECT_TRUE(WGO_isRemoteOnlineProjectNr(prj.projectNumber));
  EXPECT_FALSE(WGO_isRemoteOnlineProjectNr(prj.projectNumber - 1));
}

}  // namespace
