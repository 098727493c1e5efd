#include "tests/core/StartedWorkstation.h"
#include "workstation/Servers.h"
#include "zephor/ProjectListing.h"

namespace Quorvel::FileAccess {
namespace {

using ServerProjects = StartedWorkstation;

TEST_F(ServerProjects, OfAPlainDirectory) {
  start();
  workstation::setHostDirectory(L"files", path(L"srv"));
  for (const std::string name : {"b.PRJ/a", "\xC3\x84 rger.prj/a", ".prj/a", "plain/a", "Deep/In.prj/a", "c.prj"})
    write("srv/" + name);
  std::vector<std::wstring> names = {L"stale"};
  const auto listed = [&](bool forceRead) {
    WGO_getProjectDirectoriesFromServer(L"files", names, forceRead);
    return names;
  };
  EXPECT_THAT(listed(false), testing::UnorderedElementsAre(L"b", L"\u00C4 rger"));
  write("srv/Prj/Tower.prj/a");
  EXPECT_THAT(listed(false), testing::UnorderedElementsAre(L"b", L"\u00C4 rger")) << "kept";
  EXPECT_THAT(listed(true), testing::ElementsAre(L"Tower")) << "a directory of its own goes before";
  std::vector<WIN32_FIND_DATAW> entries;
  EXPECT_EQ(WGO_getProjectDirectoriesFromServer(L"files", entries), 1U);
  std::filesystem::rename(root() / "srv", root() / "away");
  EXPECT_THAT(listed(false), testing::ElementsAre(L"Tower")) << "known until it is asked again";
  WGO_getProjectDirectoriesFromServerClearCache();
  EXPECT_TRUE(listed(false).empty());
  EXPECT_NE(GetLastError(), 0U) << "gone is not empty";
  std::filesystem::rename(root() / "away", root() / "srv");
  EXPECT_THAT(listed(false), testing::ElementsAre(L"Tower")) << "what failed is not kept";
}

}  // namespace
}  // namespace Quorvel::FileAccess
