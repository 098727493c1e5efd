#include "filters/UploadFilters.h"

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

/// Names that stand for the tables, and what each filter says of them as a file (or, with a backslash at the end, as a
/// directory).
TEST_F(UploadFilters, EachFilterIsMadeOfItsTables) {
  writeLines("<file include = \"kept.bak\" activated = \"1\">\n");
  WGO_FileFilter directory;
  WGO_FileFilter all;
  WGO_FileFilter copy;
  WGO_FileFilter bim;
  WGO_FileFilter cor;
  WGO_FileFilter background;
  WGO_GetPrjDirUploadFilter(directory, false);
  WGO_GetPrjDirUploadFilter(all, true);
  WGO_GetPrjCopyUploadFilter(copy);
  WGO_AddPrjDirFilter_BimSubdir(bim);
  WGO_GetCorUploadFilter(cor);
  WGO_Exclude_From_BackgroundUpload(background);
  const std::wstring own = lzbext();
  ASSERT_FALSE(own.empty());
  const struct {
    std::wstring name;
    const char* keptOutBy;
  } table[] = {
      {L"plan.txt", ""},
      {L"a.mdb", "dacb"},
      {L"version.txt", ""},
      {L"desktop.ini", "dacbg"},
      {L"kept.bak", "b"},
      {L"a.db3-wal", "dac"},
      {L"QuorvelProjectDB.db3", "dac"},
      {L"OndrathBackgroundService.log.xml", "dac"},
      {L"ActiveGraphicOverride1", "dac"},
      {L"tbwahl.other", "dac"},
      {L"tbwahl." + own, ""},
      {L".share.db", "da"},
      {L"a.conflict", "dacb"},
      {L"lockpman", "dacb"},
      {L"tb000001.zdw", "d"},
      {L"pb000001.zpl", "d"},
      {L"ze000001.000", "d"},
      {L"settings." + own, "d"},
      {L"lay0x", "d"},
      {L"associations.dat", "d"},
      {L"marks.zrb", "d"},
      {L"linetype.dat", "d"},
      {L"Old\\", "dacb"},
      {L"BIM\\", "d"},
      {L"Associations\\", "d"},
      {L"Design\\", "d"},
      {L"bridge\\", "d"},
      {L".cor\\", "r"},
  };
  const std::pair<char, const WGO_FileFilter*> filters[] = {{'d', &directory}, {'a', &all}, {'c', &copy},
                                                            {'b', &bim},       {'r', &cor}, {'g', &background}};
  for (const auto& row : table) {
    std::string keptOutBy;
    for (const auto& [letter, filter] : filters) {
      const bool isDirectory = row.name.back() == L'\\';
      const std::wstring name = row.name.substr(0, row.name.size() - (isDirectory ? 1 : 0));
      const bool out = isDirectory ? filter->IsDirectoryExcluded(name.c_str()) : filter->IsFileExcluded(name.c_str());
      if (out) keptOutBy += letter;
    }
    EXPECT_EQ(keptOutBy, row.keptOutBy) << platform::toUtf8(row.name);
  }
}

TEST_F(UploadFilters, TheDecidingRuleExplainsTheAnswer) {
  writeLines("\n<file include = \"*.bak\" activated = \"1\">\n");
  const std::vector<UploadRule> rules = WGO_describeUploadRules(UploadRoad::Directory);
  const struct {
    const wchar_t* name;
    bool isDirectory;
    const wchar_t* text;
    std::wstring origin;
    int line;
  } table[] = {{L"A.LOG", false, L".log", L"base rules", 0},
               {L"lockpman", false, L"lockpman", L"set aside", 0},
               {L"a.bak", false, L".bak", file(), 2},
               {L"bim", true, L"BIM", L"resource files", 0},
               {L"TB000001.zdw", false, L"", L"drawings and plans", 0},
               {L"bim", false, nullptr, L"", 0}};
  for (const auto& row : table) {
    const UploadRule* rule = WGO_findDecidingRule(rules, row.name, row.isDirectory);
    ASSERT_EQ(rule != nullptr, row.text != nullptr) << platform::toUtf8(row.name);
    if (rule == nullptr) continue;
    EXPECT_EQ(rule->text, row.text);
    EXPECT_EQ(rule->origin, row.origin);
    EXPECT_EQ(rule->line, row.line);
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
  for (const std::wstring& name : {project(), project() + L".prj"}) EXPECT_FALSE(WGO_createSyncFilter(name.c_str()));
  EXPECT_EQ(desk.readFile(file()), "mine");

  EXPECT_TRUE(BuildSyncFilterPath(L"House.Prj ").ends_with(L"\\House.Prj.prj\\WGO_SyncFilter.xml"));
  EXPECT_TRUE(BuildSyncFilterPath(L"House.PRJ").ends_with(L"\\House.PRJ\\WGO_SyncFilter.xml"));
  EXPECT_EQ(BuildSyncFilterPath(nullptr), L"");
  for (const wchar_t* name : {static_cast<const wchar_t*>(nullptr), L"no such project"}) {
    EXPECT_FALSE(WGO_createSyncFilter(name));
    EXPECT_FALSE(ReadSyncFilterExcludes(name, entries));
    EXPECT_TRUE(ReadSyncFilterIncludes(name, entries));
  }
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
  writeLines(
      "<directory exclude = \"Photos\" activated = \"1\">\n<file exclude = \"usrprj.*\" activated = \"1\">\n"
      "<file exclude = \"*.bdfa\" activated = \"1\">\n<file exclude = \"version.txt\" activated = \"1\">\n");
  WGO_FileFilter filter;
  AddPrjDirFilter_BaseRules(filter);
  EXPECT_TRUE(ApplySyncFilterExcludes(project().c_str(), filter));
  EXPECT_TRUE(filter.IsDirectoryExcluded(L"photos"));
  for (const wchar_t* name : {L"usrprj", L"usrprj1.dat", L"a.BDFA"}) EXPECT_TRUE(filter.IsFileExcluded(name)) << name;
  EXPECT_FALSE(filter.IsFileExcluded(L"version.txt"));

  writeLines(
      "<directory exclude = \"/\" activated = \"1\">\n<file exclude = \"*.a\" activated = \"1\">\n"
      "<directory exclude = \"B\" activated = \"1\">\n<directory include = \"/\" activated = \"1\">\n");
  WGO_FileFilter off;
  EXPECT_FALSE(ApplySyncFilterExcludes(project().c_str(), off));
  EXPECT_TRUE(off.IsFileExcluded(L"x.a"));
  EXPECT_FALSE(off.IsDirectoryExcluded(L"B"));
  WGO_AddPrjDirFilter_UserDefinedAddOns(project().c_str(), off);
  EXPECT_FALSE(off.IsFileExcluded(L"/\\x.a"));
  EXPECT_FALSE(ApplySyncFilterExcludes(nullptr, off));
}

}  // namespace
