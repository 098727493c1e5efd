#include "diagnostics/CheckedNarrow.h"
#include "diagnostics/Progress.h"
#include "tests/diagnostics/DiagnosticsFixture.h"

namespace {

using Calls = std::vector<std::wstring>;

TEST_F(DiagnosticsTest, ShortWorkNeverShowsItsBarAndStillEndsInAFullOne) {
  auto bar = diag::CreateProgress(L"Upload");
  bar->setRange(0);
  bar->setPos(1, false);
  now += 2000;
  bar->setText(L"tb000001.zdw");
  bar.reset();
  EXPECT_EQ(user.progressCalls(), (Calls{L"create Upload", L"range 100", L"range 1", L"position 1", L"close"}));
  EXPECT_EQ(slept, 300U);
}

TEST_F(DiagnosticsTest, AValueAbove32BitsIsRefusedWithItsPlaceInTheSource) {
  const auto bar = diag::CreateProgress(L"Upload");
  constexpr std::uint64_t kTooMuch = 0x100000000;
  try {
    bar->setPos(kTooMuch, false);
    FAIL() << "accepted";
  } catch (const Quorvel::FileAccess::NarrowingError& error) {
    EXPECT_EQ(std::string(error.what()).find("ProgressBar.cpp("), 0U) << error.what();
  }
  EXPECT_THROW(bar->setRange(kTooMuch), Quorvel::FileAccess::NarrowingError);
  EXPECT_NO_THROW(bar->setPos(0xFFFFFFFF, true));
}

}  // namespace
