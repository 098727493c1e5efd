#include "platform/Messages.h"
#include "tests/diagnostics/DiagnosticsFixture.h"
#include "zephor/Diagnostics.h"

namespace {

TEST_F(DiagnosticsTest, ALineIsSeenFromTheConsoleLevelOfItsOwnLevelOn) {
  const struct {
    unsigned level;
    int consoleLevel;
  } table[] = {{0, 3}, {1, 1}, {2, 3}, {3, 2}, {4, 4}};
  for (const auto& row : table) {
    const std::wstring mark = L"line of level " + std::to_wstring(row.level);
    traceAt(row.consoleLevel - 1);
    diag::traceFmt(row.level, mark);
    workstation::stopDiagnostics();
    EXPECT_EQ(trace().find(mark), std::wstring::npos) << row.level;
    traceAt(row.consoleLevel);
    diag::traceFmt(row.level, L"line of %s %d", L"level", row.level);
    EXPECT_NE(trace().find(mark), std::wstring::npos) << row.level;
  }
}

TEST_F(DiagnosticsTest, AnErrorLineBeginsWithTheServersWordsOrTheSystems) {
  traceAt(3);
  SetLastError(ERROR_FILE_NOT_FOUND);
  diag::traceFmt(2, L"while reading");
  EXPECT_EQ(GetLastError(), ERROR_FILE_NOT_FOUND);
  EXPECT_NE(trace().find(L"The system cannot find the file specified. while reading"), std::wstring::npos);

  platform::setLastInternetResponse(L"550 No such directory.\r\n");
  diag::traceFmt(2, L"while listing");
  EXPECT_NE(trace().find(L"550 No such directory. while listing"), std::wstring::npos);
}

}  // namespace
