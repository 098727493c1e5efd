#include <cerrno>

#include "tests/diagnostics/DiagnosticsFixture.h"
#include "zephor/Diagnostics.h"

namespace {

int resolve(DWORD error) {
  errno = EAGAIN;
  SetLastError(error);
  const int answer = diag::InternetExceptionResolve();
  EXPECT_EQ(GetLastError(), error);
  EXPECT_EQ(errno, EAGAIN);
  return answer;
}

TEST_F(DiagnosticsTest, TheUserIsAskedWithTheTextThatWasSetBefore) {
  user.answerWith({IDRETRY, IDCANCEL});
  diag::InternetExceptionSetMessageText(L"UpdateFileTime(a)");
  diag::InternetExceptionSetMessageText(nullptr);
  EXPECT_EQ(resolve(ERROR_ACCESS_DENIED), IDRETRY);
  EXPECT_EQ(resolve(ERROR_ACCESS_DENIED), IDCANCEL);

  const auto boxes = user.boxes();
  ASSERT_EQ(boxes.size(), 2U);
  EXPECT_EQ(boxes[0].style, 0x50035U);
  EXPECT_EQ(boxes[0].caption, L"NetInetExtensions");
  EXPECT_EQ(boxes[0].text, L"UpdateFileTime(a)\n\nAccess is denied.");
  EXPECT_EQ(boxes[1].text, L"Access is denied.");
}

TEST_F(DiagnosticsTest, SomeErrorsAndADenyingHostShowNothing) {
  user.setResponder([](const auto&) { return IDRETRY; });
  for (const DWORD error : {DWORD{12003}, DWORD{12004}, ERROR_ACCESS_DENIED}) {
    workstation::setDenied(error == ERROR_ACCESS_DENIED);
    diag::InternetExceptionSetMessageText(L"pending");
    EXPECT_EQ(resolve(error), IDCANCEL) << error;
  }
  EXPECT_TRUE(user.boxes().empty());

  workstation::setDenied(false);
  resolve(ERROR_ACCESS_DENIED);
  ASSERT_EQ(user.boxes().size(), 1U);
  EXPECT_EQ(user.boxes()[0].text, L"Access is denied.") << "a text that was not shown is used up all the same";
}

}  // namespace
