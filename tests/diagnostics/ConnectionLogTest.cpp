#include "diagnostics/ConnectionLog.h"

#include <gmock/gmock.h>

#include <cstdlib>
#include <sstream>
#include <thread>

#include "tests/diagnostics/DiagnosticsFixture.h"

namespace {

constexpr const char* kLog = "Tarvendorf/QuorvelInetLog.log";

class ConnectionLogTest : public DiagnosticsTest {
 protected:
  ConnectionLogTest() { useAppData(platform::libraryPath(root().string())); }
  static void useAppData(const std::wstring& path) { setenv("APPDATA", platform::toUtf8(path).c_str(), 1); }
};

TEST_F(ConnectionLogTest, ALineIsStampedAndClosedByOneLineFeed) {
  diag::AppendConnectionLog(L"connected");
  diag::AppendConnectionLog(L"gone\n");
  diag::AppendConnectionLog(L"");
  diag::AppendConnectionLog(nullptr);
  const std::string stamp = R"(<[0-9]{2}\.[0-9]{2}\.[0-9]{4} - [0-9]{2}:[0-9]{2}:[0-9]{2} :: )";
  EXPECT_THAT(read(kLog), testing::MatchesRegex(stamp + "connected>\n" + stamp + "gone>\n" + stamp + ">\n"));
}

TEST_F(ConnectionLogTest, ATextOf4096CharactersIsNotLogged) {
  diag::AppendConnectionLog(std::wstring(4096, L'x').c_str());
  EXPECT_FALSE(exists(kLog));
  diag::AppendConnectionLog(std::wstring(4095, L'x').c_str());
  std::string line(4095, 'x');
  line.append(">\n");
  EXPECT_NE(read(kLog).find(line), std::string::npos);
}

TEST_F(ConnectionLogTest, WithoutAPlaceNothingIsWritten) {
  useAppData(path(L"missing\\deeper"));
  diag::AppendConnectionLog(L"connected");
  useAppData(path(L"") + std::wstring(8192, L'x'));
  diag::AppendConnectionLog(L"connected");
  diag::ResetConnectionLog();
  EXPECT_EQ(entryCount(), 0U);
}

TEST_F(ConnectionLogTest, LinesOfSeveralThreadsStayWhole) {
  constexpr int kLines = 100;
  const auto write = [](const wchar_t* text) {
    for (int i = 0; i < kLines; ++i) diag::AppendConnectionLog(text);
  };
  {
    const std::jthread first(write, L"aaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaa");
    const std::jthread second(write, L"bbbbbbbbbbbbbbbbbbbbbbbbbbbbbbbb");
  }
  std::istringstream content(read(kLog));
  int lines = 0;
  for (std::string line; std::getline(content, line); ++lines) {
    EXPECT_THAT(line, testing::MatchesRegex("<[^>]* :: (a{32}|b{32})>"));
  }
  EXPECT_EQ(lines, 2 * kLines);
}

}  // namespace
