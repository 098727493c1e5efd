#include "platform/Messages.h"
#include "tests/diagnostics/DiagnosticsFixture.h"
#include "zephor/Diagnostics.h"

namespace {

TEST_F(DiagnosticsTest, AnErrorIsShownAndAnswered) {
  constexpr DWORD kNoErrorText = 0xFFFFFFFF;
  EXPECT_EQ(diag::returnSystemErrorWithMessageBox(5, L"Upload", L"plan.zpl"), 5U);
  EXPECT_EQ(diag::returnSystemErrorWithMessageBox(kNoErrorText, L"Upload", nullptr), kNoErrorText);
  EXPECT_EQ(diag::returnSystemErrorWithMessageBox(kNoErrorText, L"Upload", L"plan.zpl"), kNoErrorText);

  const auto boxes = user.boxes();
  ASSERT_EQ(boxes.size(), 3U);
  EXPECT_EQ(boxes[0].style, 0x12010U);
  EXPECT_EQ(boxes[0].caption, L"Upload");
  EXPECT_EQ(boxes[0].text.find(L"plan.zpl:\n\nAccess is denied."), 0U);
  EXPECT_EQ(boxes[1].text, L"");
  EXPECT_EQ(boxes[2].text, L"plan.zpl:\n\n");
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
