#include "platform/Messages.h"
#include "tests/diagnostics/DiagnosticsFixture.h"
#include "zephor/Diagnostics.h"

namespace {

TEST_F(DiagnosticsTest, EachRangeOfCodesHasItsSource) {
  platform::setLastInternetResponse(L"530 Login incorrect.\r\n");
  const struct {
    DWORD code;
    const wchar_t* text;
  } table[] = {
      {2, L"The system cannot find the file specified."},
      {2138, L"The workstation service has not been started."},
      {12000, L"530 Login incorrect."},
      {12192, L"530 Login incorrect."},
      {12193, L"Unknown error: 12193"},
      {11999, L"Unknown error: 11999"},
      {0xFFFFFFFF, L"Unknown error: -1"},
  };
  for (const auto& row : table) EXPECT_EQ(std::wstring(diag::getLastErrorString(row.code)), row.text) << row.code;
}

TEST_F(DiagnosticsTest, AnErrorTextComesFromTheSystemThenFromTheModules) {
  std::wstring text;
  diag::WGO_GetErrorString(2, text);
  EXPECT_EQ(text.find(L"The system cannot find the file specified."), 0U);
  diag::WGO_GetErrorString(12029, text);
  EXPECT_EQ(text.find(L"A connection with the server could not be established"), 0U);
  diag::WGO_GetErrorString(77777, text);
  EXPECT_EQ(text, L"Windows Error Message: 77777\n\nFormatMessage() function returned: 317");
}

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
