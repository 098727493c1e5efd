#include "zephor/ResourceContainers.h"

#include <algorithm>

#include "cloud/ContainerCall.h"
#include "host/Files.h"
#include "tests/support/CloudFixture.h"
#include "workstation/system/StandardResources.h"

namespace Quorvel::FileAccess {
namespace {

using zephor_test::Calls;
using zephor_test::kRefused;
using zephor_test::kThrows;

constexpr const wchar_t* kNil = L"00000000-0000-0000-0000-000000000000";
const std::wstring kOne = L"5f0c0000-0000-4000-8000-000000000001";
const std::wstring kPath = L"C:\\Data\\CloudSTD\\" + kOne;

class ResourceContainers : public zephor_test::CloudFixture {
 protected:
  ResourceContainers() {
    cloud.containers = {{L"k1", {kOne, L"Styles", L"t1"}}, {L"k2", {L"u2", L"Symbols", L"t2"}}};
    cloud.containerTeams = {{L"t2", L"Two"}, {L"t1", L"One"}};
  }
  /// Texts of the boxes since the last call.
  std::vector<std::wstring> shown() {
    std::vector<std::wstring> texts;
    for (const auto& box : ui().boxes()) texts.push_back(box.text);
    texts.erase(texts.begin(), texts.begin() + static_cast<std::ptrdiff_t>(seen_));
    seen_ += texts.size();
    return texts;
  }
  bool hasShown(const std::wstring& part) {
    const auto texts = shown();
    return texts.size() == 1 && texts[0].find(part) != std::wstring::npos;
  }

 private:
  std::size_t seen_ = 0;
};

TEST_F(ResourceContainers, NothingIsAskedForTheWorkstationsOwnResources) {
  for (const std::wstring none : {L"", kNil}) {
    std::vector<SimpleCloudObject> list = {{L"u", L"n"}};
    bool answer = true;
    EXPECT_TRUE(WGO_DownloadSTDResContainer(none, 1, false) && WGO_CopySTD(kOne, none, L"New"));
    EXPECT_FALSE(WGO_GetCORsByTeam(none, list) || WGO_IsCurrentUserCORTeamAdmin(none) || WGO_DeleteSTD(none));
    EXPECT_FALSE(WGO_CommitAndUnlockCOR(none, 1, false) || WGO_RollbackAndUnlockCOR(none, false) ||
                 WGO_DownloadAndLockCORForResourceUpload(none, 1, false) || WGO_ForceUnlockCOR(none));
    EXPECT_FALSE(WGO_LockResourcesContainer(none, 1, false) || WGO_UploadResourcesContainer(none, 1, false) ||
                 WGO_ConnectResourcesContainerwithLocalPath(none, kPath));
    EXPECT_FALSE(WGO_CanUnlockCOR(none, answer) || answer || WGO_CheckLockCOR(none, answer));
    EXPECT_FALSE(WGO_SubscribeCOR(none) || WGO_SwitchSTDPathsToCORCachePath(none));
    EXPECT_EQ(WGO_GetTeamUuidByCORUuid(none) + WGO_GetSTDResContainerName(none) + WGO_CreateSTD(none, L"New"), kNil);
    EXPECT_TRUE(list.empty() && WGO_BuildCloudStdLocalCachePath(none).empty());
  }
  EXPECT_TRUE(WGO_CopySTD(L"", L"t1", L"New") && WGO_CopySTD(L"t1", L"t1", L"New"));
  EXPECT_EQ(cloud.calls(), Calls{});
  EXPECT_TRUE(shown().empty());
}

TEST_F(ResourceContainers, ListsAreByTeamAndEmptyAfterAFailure) {
  std::vector<SimpleCloudObject> list;
  ASSERT_TRUE(WGO_GetCORsWithAdminRights(list) && list.size() == 2);
  EXPECT_EQ(list[0].name + list[1].name, L"SymbolsStyles");
  ASSERT_TRUE(WGO_GetCORsByTeam(L"t1", list) && list.size() == 1 && list[0].uuid == kOne);
  EXPECT_EQ(WGO_GetSTDResContainerName(kOne) + WGO_GetSTDResContainerName(L"none"), L"Styles");
  EXPECT_TRUE(WGO_IsCurrentUserCORTeamAdmin(L"t1") && !WGO_IsCurrentUserCORTeamAdmin(L"T1"));
  EXPECT_TRUE(shown().empty());
  cloud.script("GetStdResContainers", {-5});
  EXPECT_FALSE(WGO_GetCORs(list));
  EXPECT_TRUE(list.empty());
  EXPECT_TRUE(desk.hasErrorLine(L"GetRawStdResContainers: cannot get CORs. Error = -5."));
  EXPECT_TRUE(hasShown(L"0xfffffffb"));
  cloud.script("GetTeamUuidByCORUuid", {kRefused});
  EXPECT_EQ(WGO_GetTeamUuidByCORUuid(kOne), L"");
  EXPECT_TRUE(desk.hasErrorLine(L"WGO_GetTeamUuidByCORUuid: cannot get team uuid by COR uuid s%. Error = 5."));
  EXPECT_TRUE(hasShown(L"(error 0x5).\n" + kOne));
}

TEST_F(ResourceContainers, ParametersEndInTheCharacters30And31) {
  EXPECT_EQ(messageParameters(-1), L" 0xffffffff\x1e\x1f");
  EXPECT_EQ(messageParameters(kRefused, L"x y"), L" 0x5\x1ex y\x1e\x1f");
  EXPECT_EQ(copyParameters(-3, L"from", L"to"),
            L" -3\x1e"
            L"from\x1eto\x1e\x1f");
}

TEST_F(ResourceContainers, ACommitWhoseUploadFailsStillUnlocks) {
  cloud.script("Upload", {kRefused, kThrows, 0});
  cloud.script("Unlock", {0, 0, kRefused});
  EXPECT_FALSE(WGO_CommitAndUnlockCOR(kOne, 7, true));
  EXPECT_FALSE(WGO_CommitAndUnlockCOR(kOne, 7, true)) << "the service threw";
  EXPECT_FALSE(WGO_CommitAndUnlockCOR(kOne, 7, true)) << "the lock stayed";
  EXPECT_TRUE(WGO_CommitAndUnlockCOR(kOne, 7, false) && WGO_RollbackAndUnlockCOR(kOne, true));
  Calls expected;
  for (int i = 0; i < 4; ++i) {
    expected.push_back(L"Upload " + kOne + (i < 3 ? L" 7 0" : L" 7 4294967295"));
    expected.emplace_back(L"Unlock keep");
  }
  expected.emplace_back(L"Unlock rollback");
  EXPECT_EQ(cloud.calls(), expected);
  EXPECT_TRUE(shown().empty()) << "told to be quiet";
  cloud.script("Upload", {kRefused});
  cloud.script("Unlock", {kRefused});
  EXPECT_FALSE(WGO_CommitAndUnlockCOR(kOne, 7, false));
  EXPECT_EQ(shown().size(), 2U);
  EXPECT_EQ(ui().busyCursorDepth(), 0);
}

TEST_F(ResourceContainers, NothingIsLockedThatCouldNotBeBrought) {
  cloud.script("Download", {kRefused, kRefused, 0});
  cloud.script("Lock", {kRefused});
  EXPECT_FALSE(WGO_DownloadAndLockCORForResourceUpload(kOne, 3, true));
  EXPECT_TRUE(shown().empty());
  EXPECT_FALSE(WGO_DownloadAndLockCORForResourceUpload(kOne, 3, false));
  EXPECT_TRUE(hasShown(kPath));
  EXPECT_FALSE(WGO_DownloadAndLockCORForResourceUpload(kOne, 3, false));
  EXPECT_TRUE(hasShown(kOne));
  EXPECT_EQ(cloud.calls(),
            (Calls{L"Download " + kOne + L" " + kPath + L" silent", L"Download " + kOne + L" " + kPath + L" shown",
                   L"Download " + kOne + L" " + kPath + L" shown", L"Lock " + kOne + L" 3"}));
}

TEST_F(ResourceContainers, QuestionsAboutALockAnswerNoWhenTheyFail) {
  cloud.lockAnswer = true;
  cloud.script("CheckLockCOR", {0, kRefused});
  bool answer = false;
  EXPECT_TRUE(WGO_CheckLockCOR(kOne, answer) && answer);
  EXPECT_FALSE(WGO_CheckLockCOR(kOne, answer) || answer);
  EXPECT_TRUE(hasShown(L"0x5"));
  cloud.script("ForceUnlockCOR", {kRefused});
  EXPECT_FALSE(WGO_ForceUnlockCOR(kOne));
  EXPECT_TRUE(hasShown(L"could not be unlocked (error 0x5)."));
  EXPECT_EQ(cloud.calls().back(), L"ForceUnlockCOR " + kPath);
}

TEST_F(ResourceContainers, TheCacheGoesOnlyWithTheContainer) {
  desk.writeFile(kPath + L"\\a.sty", "style");
  cloud.script("DeleteSTD", {kRefused, 0});
  EXPECT_FALSE(WGO_DeleteSTD(kOne));
  EXPECT_TRUE(hasShown(kOne) && desk.exists(kPath + L"\\a.sty"));
  EXPECT_TRUE(WGO_DeleteSTD(kOne));
  EXPECT_FALSE(desk.exists(kPath));
}

TEST_F(ResourceContainers, ACopyTakesTheLocalFolderAlsoWhileAContainerIsUsed) {
  const std::wstring made = L"C:\\Data\\CloudSTD\\" + cloud.createdContainer;
  desk.writeFile(L"C:\\Data\\Std\\sub\\a.sty", "local");
  desk.writeFile(kPath + L"\\b.sty", "container");
  ASSERT_TRUE(WGO_SwitchSTDPathsToCORCachePath(kOne));
  EXPECT_TRUE(WGO_CopySTD(kNil, L"t1", L"New"));
  EXPECT_EQ(desk.readFile(made + L"\\sub\\a.sty"), "local");
  EXPECT_FALSE(desk.exists(made + L"\\b.sty"));
  const std::wstring fresh = cloud.createdContainer;
  const Calls rest = {L"Connect " + fresh + L" " + made, L"Upload " + fresh + L" 0 4294967295"};
  EXPECT_EQ(cloud.calls(), (Calls{L"CreateSTD t1 New", rest[0], rest[1]}));
  EXPECT_TRUE(WGO_CopySTD(kOne, L"t1", L"Third"));
  EXPECT_EQ(cloud.calls()[4], L"Download " + kOne + L" " + made + L" shown");
  // Each step that fails ends the road.
  const std::size_t before = cloud.calls().size();
  cloud.script("CreateSTD", {kRefused, 0, 0});
  cloud.script("Download", {kRefused, 0});
  cloud.script("Connect", {kRefused});
  for (const std::size_t calls : {1U, 2U, 3U}) {
    const std::size_t begin = cloud.calls().size();
    EXPECT_FALSE(WGO_CopySTD(kOne, L"t1", L"Fourth"));
    EXPECT_EQ(cloud.calls().size() - begin, calls);
  }
  EXPECT_EQ(cloud.calls().size() - before, 6U);
  EXPECT_EQ(shown().size(), 3U);
  ASSERT_EQ(ldirrmc(L"C:\\Data\\Std"), 0);
  EXPECT_FALSE(WGO_CopySTD(kNil, L"t1", L"Fifth"));
  EXPECT_TRUE(hasShown(L"C:\\Data\\Std\n" + made));
}

TEST_F(ResourceContainers, TheApplicationFollowsTheCacheUntilItIsLetGo) {
  const std::uint64_t before = ::workstation::standardResourceEvents();
  ASSERT_TRUE(WGO_SubscribeCOR(kOne) && WGO_SwitchSTDPathsToCORCachePath(kOne));
  EXPECT_EQ(lfinigC(29), kPath + L"\\");
  EXPECT_EQ(ZSYST_GetQuorvelFolderByTag(L"STD"), kPath);
  ASSERT_TRUE(WGO_UnsubscribeCOR());
  ::workstation::useLocalStandardResources();
  EXPECT_EQ(lfinigC(29), L"C:\\Data\\Std\\");
  EXPECT_EQ(::workstation::standardResourceEvents() - before, 2U);
  cloud.script("UnsubscribeCOR", {kRefused});
  EXPECT_FALSE(WGO_UnsubscribeCOR());
  EXPECT_TRUE(hasShown(L"0x5"));
  EXPECT_EQ(cloud.calls().front(), L"SubscribeCOR " + kOne + L" " + kPath);
}

TEST_F(ResourceContainers, APathTellsItsContainer) {
  EXPECT_EQ(WGO_BuildCloudStdLocalCachePath(kOne), kPath);
  for (const wchar_t* outside : {L"..", L"..\\..\\Prj", L"a/b", L"C:\\x"}) {
    EXPECT_EQ(WGO_BuildCloudStdLocalCachePath(outside), L"") << outside;
    EXPECT_FALSE(WGO_ForceUnlockCOR(outside));
  }
  EXPECT_EQ(WGO_GetCloudStdUuidFromPath(kPath + L"\\sub\\a.sty"), kOne);
  EXPECT_EQ(WGO_GetCloudStdUuidFromPath(L"/x/cloudstd/CloudSTD//" + kOne), kOne);
  for (const std::wstring& other : {L"C:\\Data\\" + kOne, std::wstring(L"C:\\CloudSTD"), L"CloudSTD\\x\\" + kOne,
                                    L"XCloudSTD\\" + kOne, L"CloudSTD\\" + kOne + L"0"}) {
    EXPECT_EQ(WGO_GetCloudStdUuidFromPath(other), L"") << other;
  }
  EXPECT_TRUE(cloud.calls().empty());
}

}  // namespace
}  // namespace Quorvel::FileAccess
