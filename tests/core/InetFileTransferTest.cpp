#include "core/InetFileTransfer.h"

#include "host/System.h"
#include "platform/Files.h"
#include "platform/Paths.h"
#include "tests/core/StartedWorkstation.h"
#include "zephor/Projects.h"

namespace {

using namespace Quorvel::FileAccess;

class InetFileTransfer : public StartedWorkstation {
 protected:
  static IZepInetFileTransfer& manager() { return getInetFileManager(); }
  static IZepInetFileTransferInternal& internals() { return dynamic_cast<IZepInetFileTransferInternal&>(manager()); }
  static std::wstring pathOf(int number) { return manager().getPathFromNr(&number); }
  static std::wstring serverPathOf(int number) { return manager().getServerPathFromNr(&number); }
  static std::wstring setPath(const wchar_t* path, int number) { return internals().setPathFromNr(path, &number); }
  static std::wstring hostPath(const wchar_t* host) { return globalHostsManager::instance().getHostPath(host); }
};

TEST_F(InetFileTransfer, TheAnswerBeforeCanBeSetAgain) {
  start();
  const int number = eTempPath;
  setPath(L"C:\\Temp", number);
  const wchar_t* const before = internals().setPathFromNr(L"D:\\Other", &number);
  EXPECT_EQ(setPath(before, number), L"D:\\Other");
  EXPECT_EQ(pathOf(number), L"C:\\Temp");
}

TEST_F(InetFileTransfer, APercentSignIsStoredAndNotShown) {
  start("", 3);
  setPath(L"C:\\100%\\50%x", 9);
  EXPECT_EQ(pathOf(9), L"C:\\100%\\50%x");
  setPath(L"C:\\Temp", 9);
  setPath(L"C:\\x", 4);
  workstation::finish();
  std::string trace;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(root())) {
    if (entry.path().filename() == "zephor-trace.log") trace = read(std::filesystem::relative(entry, root()).string());
  }
  for (const char* line : {"CZepInetFileTransfer::setPathFromNr [eTempPath] - invalid character at position 10: "
                           "[C:\\100%\\50 x]",
                           "CZepInetFileTransfer::setPathFromNr [eTempPath][C:\\Temp]",
                           "CZepInetFileTransfer::setPathFromNr [4][C:\\x]"}) {
    EXPECT_NE(trace.find(line), std::string::npos) << line;
  }
}

TEST_F(InetFileTransfer, TheServerDecidesWhatItsRootDerives) {
  const struct {
    const wchar_t* server;
    int connectionType;
    const wchar_t* projects;
    const wchar_t* standards;
  } table[] = {{L"files", 0, L"\\srv\\Prj", L"\\srv\\Std"},
               {L"wire", 1, L"\\srv", L""},
               {L"ONDRATH", 0, L"\\srv", L""},
               {L"unknown", 0, L"\\srv\\Prj", L"\\srv\\Std"}};
  start();
  internals().setQuorvelUserID(7);
  for (const auto& row : table) {
    manager().setServerName(row.server);
    manager().setServerName(nullptr);
    setPath(L"\\srv\\", 10);
    EXPECT_EQ(std::wstring(manager().getServerName()), row.server);
    EXPECT_EQ(internals().getConnectionType(), row.connectionType);
    EXPECT_EQ(serverPathOf(3), row.projects);
    EXPECT_EQ(serverPathOf(5), row.standards);
    EXPECT_EQ(serverPathOf(7), L"\\srv\\Usr\\0007");
    EXPECT_EQ(serverPathOf(9), L"(null)");
  }
}

TEST_F(InetFileTransfer, ProjectAndBimDirectoriesAreComputed) {
  start();
  setPath(L"C:\\Data", 2);
  manager().setProjectName(L"House", false);
  EXPECT_EQ(pathOf(3), L"C:\\Data\\Prj");
  manager().setServerName(L"unknown");
  EXPECT_EQ(pathOf(3), L"");
  EXPECT_EQ(pathOf(4), L"");

  manager().setServerName(L"wire");
  setPath(L"/", 10);
  EXPECT_EQ(pathOf(3), hostPath(L"wire"));
  EXPECT_EQ(pathOf(4), hostPath(L"wire") + L"\\House.prj\\BIM");
  EXPECT_EQ(pathOf(12), L"/House.prj/BIM");
  setPath(L"/pub", 10);
  EXPECT_EQ(pathOf(12), L"/pub/House.prj/BIM");
}

TEST_F(InetFileTransfer, AProjectNameIsTakenWhenItsDirectoryIsThere) {
  start();
  setPath(path(L"Data").c_str(), 2);
  write("Data/Prj/House.prj/user.cfg");
  EXPECT_EQ(manager().setProjectName(L"House", true), ERROR_SUCCESS);
  EXPECT_EQ(manager().setProjectName(L"Barn", true), ERROR_PATH_NOT_FOUND);
  EXPECT_EQ(std::wstring(manager().getProjectName()), L"House.prj");
  EXPECT_EQ(manager().setProjectName(L"Barn", false), ERROR_SUCCESS);
  EXPECT_EQ(std::wstring(manager().getProjectName()), L"Barn.prj");
  for (const wchar_t* name : {static_cast<const wchar_t*>(nullptr), L"", L" House"}) {
    manager().setProjectName(L"Barn", false);
    EXPECT_EQ(manager().setProjectName(name, false), ERROR_INVALID_DATA);
    EXPECT_EQ(std::wstring(manager().getProjectName()), L"");
  }
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
