#include "core/PathTable.h"

#include <gtest/gtest.h>

namespace {

using Quorvel::FileAccess::PathTable;
using Quorvel::FileAccess::withoutTrailingBackslashes;

constexpr PathTable::Roots roots(bool serverIsDirectory) {
  return {L"0042", serverIsDirectory};
}

void expectEntries(const PathTable& table, std::initializer_list<std::pair<int, const wchar_t*>> expected) {
  for (const auto& [number, path] : expected) EXPECT_EQ(table.entry(number), path) << number;
}

TEST(PathTable, TheLocalRootDerivesItsDirectories) {
  PathTable table;
  EXPECT_EQ(table.set(2, L"C:\\Data", roots(true)), L"");
  expectEntries(table, {{1, L""},
                        {2, L"C:\\Data"},
                        {3, L"C:\\Data\\Prj"},
                        {4, L""},
                        {5, L"C:\\Data\\Std"},
                        {6, L"C:\\Data\\Usr"},
                        {7, L"C:\\Data\\Usr\\0042"},
                        {8, L"C:\\Data\\Net"},
                        {9, L""},
                        {10, L""}});
  EXPECT_EQ(table.set(5, L"D:\\Std", roots(true)), L"C:\\Data\\Std");
  EXPECT_EQ(table.set(2, L"D:", roots(true)), L"C:\\Data");
  EXPECT_EQ(table.entry(5), L"D:\\Std");
}

TEST(PathTable, ADirectoryServerDerivesAsTheLocalRootDoesAndAnOnlineOneHasProjectsAlone) {
  PathTable table;
  table.set(10, L"S:\\Root", roots(true));
  expectEntries(table, {{10, L"S:\\Root"},
                        {11, L"S:\\Root\\Prj"},
                        {12, L""},
                        {13, L"S:\\Root\\Std"},
                        {14, L"S:\\Root\\Usr"},
                        {15, L"S:\\Root\\Usr\\0042"},
                        {16, L"S:\\Root\\Net"}});
  table.set(10, L"/pub", roots(false));
  expectEntries(table, {{10, L"/pub"}, {11, L"/pub"}, {13, L""}, {14, L""}, {15, L"S:\\Root\\Usr\\0042"}, {16, L""}});
}

TEST(PathTable, EveryNumberHasItsNameAndItsServerSide) {
  const struct {
    int number;
    const wchar_t* label;
    bool settable;
    int server;
  } table[] = {{-1, L"-1", false, 0},
               {0, L"eNoPath", false, 0},
               {1, L"ePrgPath", true, 0},
               {2, L"eLocalDataPath", true, 0},
               {3, L"ePrjPath", true, 11},
               {4, L"4", false, 12},
               {5, L"eStdPath", true, 13},
               {6, L"eUsrPath", true, 14},
               {7, L"7", false, 15},
               {8, L"eAdminPath", true, 16},
               {9, L"eTempPath", true, 0},
               {10, L"eServerDataPath", true, 0},
               {11, L"eServerPrjPath", true, 11},
               {12, L"12", false, 12},
               {13, L"eServerStdPath", true, 13},
               {14, L"eServerUsrPath", true, 14},
               {15, L"15", false, 15},
               {16, L"eServerAdminPath", true, 16},
               {17, L"17", false, 0}};
  for (const auto& row : table) {
    EXPECT_EQ(PathTable::label(row.number), row.label);
    EXPECT_EQ(PathTable::serverNumberOf(row.number), row.server) << row.number;
    PathTable paths;
    paths.set(row.number, L"C:\\x", roots(true));
    EXPECT_EQ(paths.entry(row.number), row.settable ? L"C:\\x" : L"") << row.number;
  }
}

TEST(PathTable, BackslashesAtTheEndAreCut) {
  const std::pair<const wchar_t*, const wchar_t*> table[] = {{L"C:\\Data\\\\\\", L"C:\\Data"},
                                                             {L"C:\\Data", L"C:\\Data"},
                                                             {L"C:\\", L"C:"},
                                                             {L"\\\\", L""},
                                                             {L"/pub/", L"/pub/"},
                                                             {L"", L""}};
  for (const auto& [path, expected] : table) EXPECT_EQ(withoutTrailingBackslashes(path), expected);
}

}  // namespace
