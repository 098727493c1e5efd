#include "zephor/Service.h"

#include <cstdlib>

#include "core/ServiceState.h"
#include "host/Project.h"
#include "host/System.h"
#include "tests/core/StartedWorkstation.h"
#include "zephor/FileTransfer.h"

namespace {

using namespace Quorvel::FileAccess;

class Service : public StartedWorkstation {
 protected:
  static std::wstring pathOf(int number) { return getInetFileManager().getPathFromNr(&number); }
};

TEST_F(Service, AStartSetsServerAndRootsAndASecondOneKeepsTheProject) {
  std::filesystem::create_directory(root() / "store");
  start((root() / "store").string());
  ASSERT_TRUE(WGO_Service_Initialize(eWGOInit_Default));
  EXPECT_EQ(ZSYST_getCurrentWorkgroupServer(), L"ONDRATH");
  wchar_t local[MAX_PATH];
  wchar_t server[MAX_PATH];
  ASSERT_TRUE(ZSYST_ZepRegGetSetupPath(L"LocalData", local));
  ASSERT_TRUE(ZSYST_ZepRegGetSetupPath(L"Net", server));
  EXPECT_EQ(pathOf(eLocalDataPath), local);
  EXPECT_EQ(pathOf(eStdPath), local + std::wstring(L"\\Std"));
  EXPECT_EQ(pathOf(eServerDataPath), server);

  const PRJ* const project = serviceState().onlineProject.get();
  ASSERT_NE(project, nullptr);
  WGO_Service_Initialize(eWGOInit_Default);
  EXPECT_EQ(serviceState().onlineProject.get(), project);
}

TEST_F(Service, WithoutItsServerTheProjectsDirectoryIsMade) {
  start((root() / "gone").string());
  wchar_t local[MAX_PATH];
  ASSERT_TRUE(ZSYST_ZepRegGetSetupPath(L"LocalData", local));
  const std::string projects = platform::systemPath(local + std::wstring(L"\\Prj"));
  std::filesystem::remove_all(projects);
  EXPECT_TRUE(WGO_Service_Initialize(eWGOInit_Default));
  EXPECT_TRUE(std::filesystem::is_directory(projects));
}

TEST_F(Service, AnEndReleasesTheProjectAndLeavesADestroyedManagerAlone) {
  start((root() / "store").string());
  WGO_Service_Initialize(eWGOInit_Default);
  WGO_Service_Uninitialize();
  EXPECT_EQ(serviceState().onlineProject, nullptr);
  WGO_Service_Uninitialize();

  WGO_Service_Initialize(eWGOInit_Default);
  serviceState().manager.reset();
  serviceState().managerDestroyed = true;
  WGO_Service_Uninitialize();
  EXPECT_EQ(serviceState().manager, nullptr);
  EXPECT_EQ(serviceState().onlineProject, nullptr);
}

TEST_F(Service, TheManagerEndsWithTheProcess) {
  start();
  const auto endAProcess = [] {
    // Hooks run in the reverse order of their registration: this one runs after the manager's.
    std::atexit([] { _exit(serviceState().managerDestroyed && serviceState().manager == nullptr ? 7 : 8); });
    getInetFileManager();
    std::exit(9);
  };
  EXPECT_EXIT(endAProcess(), testing::ExitedWithCode(7), "");
}

}  // namespace
