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
  EXPECT_EQ(table.set(2, L"C:\\Data", roots(true)), L"(null)");
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

TEST(PathTable, FourNumbersAreDerivedOnlyAndHaveNoName) {
  for (int number = -1; number <= PathTable::kLast + 1; ++number) {
    const bool isDerived = number == 4 || number == 7 || number == 12 || number == 15;
    const bool isNumber = number >= 0 && number <= PathTable::kLast;
    EXPECT_EQ(PathTable::label(number) != std::to_wstring(number), isNumber && !isDerived) << number;
    PathTable paths;
    paths.set(number, L"C:\\x", roots(true));
    EXPECT_EQ(paths.entry(number), isNumber && number != 0 && !isDerived ? L"C:\\x" : L"") << number;
  }
}

TEST(PathTable, LocalDirectoriesHaveTheirCounterpartOnTheServer) {
  const int server[] = {0, 0, 0, 11, 12, 13, 14, 15, 16, 0, 0, 11, 12, 13, 14, 15, 16, 0};
  for (int number = 0; number < 18; ++number) EXPECT_EQ(PathTable::serverNumberOf(number), server[number]) << number;
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
