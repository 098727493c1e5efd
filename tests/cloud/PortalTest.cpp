#include "zephor/Portal.h"

#include <filesystem>

#include "cloud/Ondrath_Services.h"
#include "host/Files.h"
#include "platform/Paths.h"
#include "platform/Text.h"
#include "tests/support/CloudFixture.h"

namespace Quorvel::FileAccess {
namespace {

using zephor_test::kRefused;
using Teams = std::map<std::wstring, std::wstring>;

class Portal : public zephor_test::CloudFixture {
 protected:
  Portal() : zephor_test::CloudFixture({.traceLevel = 3}) {}
  static std::string utf16(const std::wstring& text) {
    std::string bytes = "\xFF\xFE";
    for (const char16_t c : platform::toUtf16(text)) {
      bytes += {static_cast<char>(c & 0xFF), static_cast<char>(c >> 8)};
    }
    return bytes;
  }
  Teams read(const std::wstring& content) {
    desk.writeFile(filter, utf16(content));
    Teams teams{{L"old", L"entry"}};
    EXPECT_TRUE(WGO_ReadOndrathTeamFilter(teams));
    return teams;
  }
  const std::wstring filter = lfinigC(8) + L"teamsFilter.json";
};

TEST_F(Portal, TheFilterIsWrittenAsItsReadersExpect) {
  Teams none{{L"old", L"entry"}};
  EXPECT_TRUE(!WGO_ReadOndrathTeamFilter(none) && none.empty());
  const Teams teams{{L"b2", L"Grün"}, {L"a1", L"One"}};
  ASSERT_TRUE(WGO_WriteOndrathTeamFilter(teams));
  EXPECT_EQ(desk.readFile(filter), utf16(L"{\n  \"filteredTeams\": [\n    {\n      \"teamUuid\": \"a1\",\n"
                                         L"      \"teamName\": \"One\"\n    },\n    {\n      \"teamUuid\": \"b2\",\n"
                                         L"      \"teamName\": \"Grün\"\n    }\n  ]\n}\n"));
  Teams found;
  EXPECT_TRUE(WGO_ReadOndrathTeamFilter(found));
  EXPECT_EQ(found, teams);
  ASSERT_TRUE(WGO_WriteOndrathTeamFilter({}));
  EXPECT_EQ(desk.readFile(filter), utf16(L"{\n  \"filteredTeams\": [\n  ]\n}\n"));
  const std::filesystem::path place = platform::systemPath(filter);
  std::filesystem::remove(place);
  std::filesystem::create_directories(place / "full");
  EXPECT_FALSE(WGO_WriteOndrathTeamFilter(teams));
  for (const auto& entry : std::filesystem::directory_iterator(place.parent_path())) {
    EXPECT_FALSE(entry.path().string().ends_with(".part")) << "nothing half-written is left";
  }
}

TEST_F(Portal, TheFilterIsReadLineByLine) {
  const std::wstring name = L"\"teamName\": \"N\"\n";
  EXPECT_EQ(read(L"\"teamUuid\": \"u\"\n\"teamName\": \"a \"quoted\" name\"\n"), (Teams{{L"u", L"a "}}));
  EXPECT_EQ(read(L"x\n  \"teamUuid\": \"u\"\n" + name + L"\"teamUuid\": \"v\"\n\n" + name), (Teams{{L"u", L"N"}}));
  EXPECT_EQ(read(L"\"teamUuid\": \"" + std::wstring(1100, L'u') + L"\"\n" + name), Teams());
  EXPECT_EQ(read(L"\"teamUuid\": \"u\n\"teamUuid: \"w\"\n\"x\" \"teamUuid\": \"y\"\n" + name), Teams());
}

TEST_F(Portal, LinksAreOpenedAndTheTokenIsToldToNobody) {
  const std::wstring portal = L"https://portal.example.org";
  const std::wstring team = prj().GetOndrathTeamUuid();
  EXPECT_TRUE(browseOndrathPortal(nullptr) && browseOndrathProject(nullptr, prj(), false) &&
              browseOndrathProject(nullptr, prj(), true));
  const std::wstring ids = L"project_id=" + uuid;
  EXPECT_EQ(ui().opened(),
            (std::vector<std::wstring>{portal + L"/?token=token",
                                       portal + L"/?token=token/#/dashboard?team_id=" + team + L"&" + ids,
                                       portal + L"/viewer/#/viewer?" + ids + L"&team_id=" + team}));
  EXPECT_FALSE(browseOndrathProject(nullptr, localPrj(), true));
  cloud.script("Login", {kRefused});
  EXPECT_FALSE(browseOndrathPortal(nullptr));
  EXPECT_EQ(ui().opened().size(), 3U);
  EXPECT_EQ(cloud.logins().back(), L"quiet");
  for (const int code : {31, 32, 7}) {
    ui().setOpenResult(code);
    EXPECT_FALSE(browseOndrathPortal(nullptr)) << code;
  }
  ASSERT_EQ(ui().boxes().size(), 1U) << "for an error with a text alone";
  EXPECT_EQ(ui().boxes()[0].text, L"There is no application associated with the given file name extension.");
  EXPECT_TRUE(ui().boxes()[0].caption == L"Quorvel" && ui().boxes()[0].style == 64);
  EXPECT_FALSE(desk.hasErrorLine(L"token="));
}

TEST_F(Portal, ModelsAndNotificationsNameTheProject) {
  cloud.script("CreateModel", {1, -5});
  EXPECT_TRUE(WGO_CreateOndrathModel(prj(), 4, L"shell"));
  EXPECT_FALSE(WGO_CreateOndrathModel(prj(), 4, L"shell") || WGO_CreateOndrathModel(localPrj(), 4, L"shell"));
  EXPECT_TRUE(desk.hasErrorLine(L"WGO_CreateOndrathModel: cannot create Ondrath quorvel model 4/shell."));
  for (const std::wstring& name : {path(L"BIM\\a.xml"), std::wstring(L"C:\\elsewhere\\b.txt"), std::wstring()}) {
    Ondrath_triggerProjectItemChangedNotification(prj(), name);
  }
  Ondrath_triggerProjectItemChangedNotification(localPrj(), L"c.txt");
  EXPECT_EQ(cloud.calls(), (zephor_test::Calls{L"CreateModel shell 4 House", L"CreateModel shell 4 House",
                                               L"TriggerProjectItemChangedNotification BIM\\a.xml",
                                               L"TriggerProjectItemChangedNotification b.txt"}));
}

}  // namespace
}  // namespace Quorvel::FileAccess
