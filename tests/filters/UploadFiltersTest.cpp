#include "filters/UploadFilters.h"

#include <map>

#include "filters/SyncFilterFile.h"
#include "host/Users.h"
#include "platform/Files.h"
#include "tests/support/CloudFixture.h"

namespace {

using namespace Quorvel::FileAccess;

class UploadFilters : public zephor_test::CloudFixture {
 protected:
  std::wstring file() const { return path(L"WGO_SyncFilter.xml"); }
  void writeLines(const std::string& lines) { desk.writeFile(file(), lines); }
  std::wstring project() const { return get_ActivePrj().GetDirectoryName(); }
};

/// Names that stand for the tables by the filters that keep them out, directories with a backslash at the end.
TEST_F(UploadFilters, EachFilterIsMadeOfItsTables) {
  writeLines("<file include = \"kept.bak\" activated = \"1\">\n");
  std::map<char, WGO_FileFilter> filters;
  WGO_GetPrjDirUploadFilter(filters['d'], false);
  WGO_GetPrjDirUploadFilter(filters['a'], true);
  WGO_GetPrjCopyUploadFilter(filters['c']);
  WGO_AddPrjDirFilter_BimSubdir(filters['b']);
  WGO_GetCorUploadFilter(filters['r']);
  WGO_Exclude_From_BackgroundUpload(filters['g']);
  const std::pair<std::string, std::vector<std::wstring>> table[] = {
      {"", {L"plan.txt", L"version.txt", L"tbwahl." + lzbext()}},
      {"abcdg", {L"desktop.ini"}},
      {"abcd", {L"a.mdb", L"a.conflict", L"lockpman", L"Old\\"}},
      {"acd", {L"a.db3-wal", L"quorvelprojectdb.db3", L"OndrathBackgroundService.log.xml", L"TBWAHL.x", L"usrprj"}},
      {"ad", {L".share.db"}},
      {"b", {L"kept.bak"}},
      {"d", {L"tb000001.zdw", L"pb000001.zpl", L"ze000001.000", L"marks.zrb", L"x." + lzbext(), L"lay0x", L"a.IDX"}},
      {"d", {L"associations.dat", L"linetype.dat", L"BIM\\", L"Associations\\", L"Design\\", L"bridge\\"}},
      {"r", {L".cor\\"}},
  };
  for (const auto& [expected, names] : table) {
    for (const std::wstring& name : names) {
      std::string keptOutBy;
      const std::wstring bare = name.substr(0, name.find(L'\\'));
      for (const auto& [letter, filter] : filters) {
        const bool out = bare == name ? filter.IsFileExcluded(name.c_str()) : filter.IsDirectoryExcluded(bare.c_str());
        if (out) keptOutBy += letter;
      }
      EXPECT_EQ(keptOutBy, expected) << platform::toUtf8(name);
    }
  }
}

TEST_F(UploadFilters, TheDefaultFileIsWrittenOnceAndChangesNothing) {
  EXPECT_TRUE(WGO_createSyncFilter((project() + L"  ").c_str()));
  EXPECT_EQ(desk.readFile(file()),
            "< ? xml version = \"1.0\" encoding = \"utf-8\" ? >\n"
            "<Tarvendorf_WGO_ProjectSyncFilter file version = \"1.0\" activated = \"1\">\n"
            "   <directory exclude = \"/\" activated = \"0\">\n"
            "   <directory exclude = \"BIM\" activated = \"0\">\n"
            "   <file exclude = \"usrprj.*\" activated = \"0\">\n"
            "   <file exclude = \"*.bdfa\" activated = \"0\">\n"
            "   <file exclude = \"version.txt\" activated = \"0\">\n"
            "</Tarvendorf_WGO_ProjectSyncFilter>\n"
            "\n<!-- --\n"
            "<directory exclude = \"/\": !!! turn off sync completely\n"
            "<directory exclude = \"BIM\": BIM directory\n"
            "<... activated = \"1\": filter is active\n"
            "<... activated = \"0\": filter is not active\n"
            "<!- -->\n\n");
  SyncFilterEntries entries;
  EXPECT_TRUE(ReadSyncFilterExcludes(project().c_str(), entries));
  EXPECT_TRUE(entries.empty());

  writeLines("mine");
  EXPECT_FALSE(WGO_createSyncFilter((project() + L".prj").c_str()));
  EXPECT_EQ(desk.readFile(file()), "mine");

  EXPECT_TRUE(BuildSyncFilterPath(L"House.Prj ").ends_with(L"\\House.Prj.prj\\WGO_SyncFilter.xml"));
  EXPECT_TRUE(BuildSyncFilterPath(L"House.PRJ").ends_with(L"\\House.PRJ\\WGO_SyncFilter.xml"));
  EXPECT_EQ(BuildSyncFilterPath(nullptr), L"");
  EXPECT_FALSE(ReadSyncFilterExcludes(L"no such project", entries));
  EXPECT_FALSE(WGO_createSyncFilter(nullptr));
}

/// What a file says, as "kind:text@line" in the order of application.
TEST_F(UploadFilters, ActiveLinesOfTheFileBecomeRules) {
  const std::string rootOff = "<Tarvendorf_WGO_ProjectSyncFilter file version = \"1.0\" activated = \"0\">\n";
  const std::string rule = "<file exclude = \"x\" activated = \"1\">\n";
  const std::pair<std::string, const char*> table[] = {
      {rule + rule, "2:x@1 "},
      {"<file exclude = \"usrprj.*\" activated = \"1\">\r\n<file exclude = \"*.bdfa\" activated = \"1\">\r\n"
       "<directory exclude = \"B M\" activated = \"1\">\r\n<file activated = \"7\" exclude = \"a*b\"",
       "1:.bdfa@2 2:a*b@4 3:B M@3 4:usrprj@1 "},
      {rootOff + rule, ""},
      {rule + "x </Tarvendorf_WGO_ProjectSyncFilter\n" + "<file exclude = \"y\" activated = \"1\">", "2:x@1 "},
      {"<file exclude = \"a\" activated = \"0\"><file exclude = \"b\" activated = \"1\">\n", ""},
      {"<file exclude = \"a\" activated = \" +1x\">\n<file exclude = \"b\" activated = \"x1\">\n", "2:a@1 "},
      {"<file exclude = \"a activated = \"1\">\nactivated = \"1\" <file exclude = \"b\n", "2:a activated = @1 "},
      {"<file exclude = \"a\" activated = 1>\n<file exclude = \"b\">\n<files exclude activated = 1>\n"
       "<file include = \"c\" activated = \"1\">\n<filter exclude = \"d\" activated = \"1\">\nactivated = \"1\n",
       ""},
      {"<directory exclude = \"d\" activated = \"1\" <file>\n<file exclude = \".*\" activated = \"1\">\n",
       "2:d@1 4:@2 "},
      {std::string("<file exclude = \"a\" activated = \"1\"") + '\0' + "</Tarvendorf_WGO_ProjectSyncFilter\n" + rule,
       "2:a@1 2:x@2 "},
      // The buffer holds 1023 characters; what comes behind them is a line of its own.
      {std::string(1023 - (rule.size() - 3), ' ') + rule + "<file exclude = \"y\" activated = \"1\">", "2:x@1 2:y@2 "},
      {std::string(1022 - 9, ' ') + "<file exclude = \"x\" activated = \"1\">\n" + rule, "2:x@2 "},
  };
  for (const auto& [text, expected] : table) {
    writeLines(text);
    SyncFilterEntries entries;
    EXPECT_TRUE(ReadSyncFilterExcludes(project().c_str(), entries));
    std::wstring found;
    for (const auto& [entry, line] : entries) {
      found += platform::formatWide(L"%d:%s@%d ", static_cast<int>(entry.first), entry.second, line);
    }
    EXPECT_EQ(platform::toUtf8(found), expected) << text;
  }
}

TEST_F(UploadFilters, ExcludeLinesSteerTheSynchronisation) {
  const std::string rules =
      "<file exclude = \"*.a\" activated = \"1\">\n<file exclude = \"version.*\" activated = \"1\">\n";
  WGO_FileFilter on;
  WGO_FileFilter off;
  writeLines(rules + "<directory exclude = \"B\" activated = \"1\">\n<directory include = \"/\" activated = \"1\">\n");
  AddPrjDirFilter_BaseRules(on);
  EXPECT_TRUE(ApplySyncFilterExcludes(project().c_str(), on));
  EXPECT_TRUE(on.IsDirectoryExcluded(L"b") && on.IsFileExcluded(L"version") && on.IsFileExcluded(L"/\\x.A"));
  EXPECT_FALSE(on.IsFileExcluded(L"version.txt"));
  WGO_AddPrjDirFilter_UserDefinedAddOns(project().c_str(), on);
  EXPECT_FALSE(on.IsFileExcluded(L"/\\x.a"));

  writeLines(rules + "<directory exclude = \"/\" activated = \"1\">\n");
  EXPECT_FALSE(ApplySyncFilterExcludes(project().c_str(), off));
  EXPECT_TRUE(off.IsFileExcluded(L"x.a"));
  EXPECT_FALSE(off.IsFileExcluded(L"version"));
  EXPECT_FALSE(ApplySyncFilterExcludes(nullptr, off));
}

}  // namespace
