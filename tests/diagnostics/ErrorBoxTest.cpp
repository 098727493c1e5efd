#include "diagnostics/ErrorBox.h"

#include <atomic>
#include <thread>

#include "tests/diagnostics/DiagnosticsFixture.h"

namespace {

constexpr UINT kStyle = MB_RETRYCANCEL | MB_ICONHAND;
constexpr UINT kOtherStyle = MB_ABORTRETRYIGNORE | MB_ICONHAND;

int showBox(UINT style = kStyle) {
  return diag::ShowErrorBox(L"Failed", L"FTP Operation", style, L"");
}

TEST_F(DiagnosticsTest, AStormOfLikeFailuresAsksOnce) {
  const struct {
    const char* what;
    ULONGLONG later;
    int firstAnswer;
    UINT firstStyle;
    UINT secondStyle;
    bool repeated;
  } table[] = {
      {"cancel, at once", 0, IDCANCEL, kStyle, kStyle, true},
      {"cancel, just within", 999, IDCANCEL, kStyle, kStyle, true},
      {"cancel, too late", 1000, IDCANCEL, kStyle, kStyle, false},
      {"retry asks anew", 0, IDRETRY, kStyle, kStyle, false},
      {"another style", 0, IDCANCEL, MB_OKCANCEL, kStyle, false},
      {"abort", 10, IDABORT, kOtherStyle, kOtherStyle, true},
      {"ignore", 10, IDIGNORE, kOtherStyle, kOtherStyle, true},
      {"retry of three", 10, IDRETRY, kOtherStyle, kOtherStyle, false},
      {"yes", 10, IDYES, MB_YESNO, MB_YESNO, false},
  };
  int firstAnswer = 0;
  user.setResponder([&](const auto&) { return firstAnswer; });
  for (const auto& row : table) {
    now += 1'000'000;
    firstAnswer = row.firstAnswer;
    ASSERT_EQ(showBox(row.firstStyle), row.firstAnswer) << row.what;
    const std::size_t before = user.boxes().size();
    now += row.later;
    const int second = showBox(row.secondStyle);
    EXPECT_EQ(user.boxes().size() == before, row.repeated) << row.what;
    EXPECT_TRUE(!row.repeated || second == row.firstAnswer) << row.what;
  }
}

TEST_F(DiagnosticsTest, ABoxWithinABoxRepeatsTheAnswerBeforeItHoweverOld) {
  user.answerWith(IDCANCEL);
  showBox();
  now += 1'000'000;
  int inner = 0;
  user.setResponder([&](const auto&) {
    inner = showBox();
    return IDRETRY;
  });
  EXPECT_EQ(showBox(), IDRETRY);
  EXPECT_EQ(inner, IDCANCEL);
  EXPECT_EQ(user.boxes().size(), 2U);
}

TEST_F(DiagnosticsTest, AThreadBehindABoxTakesItsAnswerUnlessItIsRetry) {
  static std::atomic<int> arrivals;
  for (const int answer : {IDCANCEL, IDRETRY}) {
    const std::size_t before = user.boxes().size();
    now += 1'000'000;
    arrivals = 0;
    diag::diagnosticsState().tickCount = [] {
      const ULONGLONG arrival = now;
      ++arrivals;
      return arrival;
    };
    int second = 0;
    std::thread behind;
    user.setResponder([&](const auto&) {
      if (!behind.joinable()) {
        behind = std::thread([&] { second = showBox(); });
        // Until the other thread has come: from then on it waits for this answer, however long that takes.
        while (arrivals < 2) std::this_thread::yield();
        now += 5000;
      }
      return answer;
    });
    EXPECT_EQ(showBox(), answer);
    behind.join();
    EXPECT_EQ(second, answer);
    EXPECT_EQ(user.boxes().size() - before, answer == IDCANCEL ? 1U : 2U);
  }
}

}  // namespace
