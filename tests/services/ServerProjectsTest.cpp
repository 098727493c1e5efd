#include "tests/core/StartedWorkstation.h"
#include "workstation/Servers.h"
#include "zephor/ProjectListing.h"

namespace Quorvel::FileAccess {
namespace {

using ServerProjects = StartedWorkstation;

TEST_F(ServerProjects, OfAPlainDirectory) {
  start();
  workstation::setHostDirectory(L"files", path(L"srv"));
  for (const std::string name : {"b.PRJ/a", ".prj/a", "plain/a", "Deep/In.prj/a", "c.prj"}) write("srv/" + name);
  std::vector<std::wstring> names = {L"stale"};
  const auto listed = [&](bool forceRead) {
    WGO_getProjectDirectoriesFromServer(L"files", names, forceRead);
    return names;
  };
  EXPECT_THAT(listed(false), testing::ElementsAre(L"b"));
  write("srv/Prj/Tower.prj/a");
  EXPECT_THAT(listed(false), testing::ElementsAre(L"b")) << "kept";
  EXPECT_THAT(listed(true), testing::ElementsAre(L"Tower")) << "a directory of its own goes before";
  std::filesystem::remove_all(root() / "srv");
  WGO_getProjectDirectoriesFromServerClearCache();
  EXPECT_TRUE(listed(false).empty());
  EXPECT_NE(GetLastError(), 0U) << "gone is not empty";
}

}  // namespace
}  // namespace Quorvel::FileAccess
