#include "diagnostics/LoginDialog.h"

#include <gtest/gtest.h>

#include <cstring>
#include <cwchar>
#include <functional>
#include <tuple>

#include "tests/diagnostics/DiagnosticsFixture.h"

namespace Quorvel::FileAccess {
namespace {

class LoginDialog : public DiagnosticsTest {
 protected:
  LoginDialog() { workstation::setLanguage("en"); }

  /// @param person  what is done to the dialog
  int show(std::function<int(platform::Dialog&)> person) {
    user.workOnDialog(std::move(person));
    return WGO_showLoginDialog(nullptr, L"Office", L"ftp.example.org", data);
  }

  LoginData data{L"ada", L"secret", 0, 1, 0};
};

TEST_F(LoginDialog, SaysWhatItAsksForAndTakesWhatFits) {
  const int answer = show([](platform::Dialog& dialog) {
    EXPECT_EQ(dialog.title, L"Log in to server - Office");
    EXPECT_EQ(dialog.control(kLoginServerLabel).text, L"Server");
    EXPECT_EQ(dialog.control(kLoginServer).text, L"ftp.example.org");
    EXPECT_EQ(dialog.control(kLoginUserLabel).text, L"User name");
    EXPECT_EQ(dialog.control(kLoginUser).text, L"ada");
    EXPECT_EQ(dialog.control(kLoginPasswordLabel).text, L"Password");
    EXPECT_EQ(dialog.control(kLoginPassword).kind, platform::DialogControl::Kind::Password);
    EXPECT_TRUE(dialog.type(kLoginUser, std::wstring(100, L'u')));
    EXPECT_TRUE(dialog.type(kLoginPassword, std::wstring(100, L'p')));
    EXPECT_TRUE(dialog.click(kLoginSavePassword));
    return IDOK;
  });
  EXPECT_EQ(answer, IDOK);
  EXPECT_EQ(data.userName, std::wstring(63, L'u'));
  EXPECT_EQ(data.password, std::wstring(15, L'p'));
  EXPECT_EQ(data.saveUser + data.savePassword, 2);

  EXPECT_EQ(show([](platform::Dialog& dialog) { return dialog.type(kLoginPassword, L"new") ? IDOK : IDCANCEL; }), IDOK);
  EXPECT_EQ(std::wstring(data.password, 16), std::wstring(L"new") + std::wstring(13, L'\0')) << "a rest of the old one";
}

TEST_F(LoginDialog, CancelAndForbiddenDialogsChangeNothing) {
  const LoginData before = data;
  const auto person = [](platform::Dialog& dialog) {
    dialog.type(kLoginUser, L"eve");
    dialog.type(kLoginPassword, L"other");
    dialog.click(kLoginSaveUser);
    return IDCANCEL;
  };
  EXPECT_EQ(show(person), IDCANCEL);
  workstation::setDenied(true);
  EXPECT_EQ(show([](platform::Dialog&) { return IDOK; }), IDCANCEL);
  workstation::setDenied(false);
  EXPECT_EQ(std::memcmp(&before, &data, sizeof data), 0);
}

TEST_F(LoginDialog, SavedPasswordNeedsSavedUser) {
  data.saveUser = 0;
  show([](platform::Dialog& dialog) {
    EXPECT_FALSE(dialog.click(kLoginSavePassword)) << "grey";
    EXPECT_TRUE(dialog.click(kLoginSaveUser));
    EXPECT_TRUE(dialog.click(kLoginSavePassword));
    dialog.click(kLoginSaveUser);
    EXPECT_FALSE(dialog.control(kLoginSavePassword).isEnabled);
    return IDOK;
  });
  EXPECT_EQ(data.saveUser, 0);
  EXPECT_EQ(data.savePassword, 1) << "as the box stands, grey or not";
}

TEST_F(LoginDialog, FocusFollowsWhatIsMissingOrWasRefused) {
  using Row = std::tuple<const wchar_t*, const wchar_t*, int, int, std::wstring>;
  const Row rows[] = {
      {L"ada", L"secret", 0, kLoginUser, L""},
      {L"", L"", 0, kLoginUser, L""},
      {L"", L"secret", 0, kLoginUser, L""},
      {L"ada", L"", 0, kLoginPassword, L""},
      {L"ada", L"", 2, kLoginUser, L"The server did not accept the user name."},
      {L"ada", L"secret", 3, kLoginPassword, L"The server did not accept the password."},
  };
  for (const auto& [name, password, reason, focus, text] : rows) {
    data = {{}, {}, reason, 0, 0};
    std::wcscpy(data.userName, name);
    std::wcscpy(data.password, password);
    show([&focus = focus, &text = text](platform::Dialog& dialog) {
      EXPECT_EQ(dialog.focus, focus);
      EXPECT_EQ(dialog.control(kLoginReason).text, text);
      return IDCANCEL;
    });
  }
}

}  // namespace
}  // namespace Quorvel::FileAccess
