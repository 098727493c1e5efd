#include <QCheckBox>
#include <QFileDialog>
#include <QLabel>
#include <QLineEdit>
#include <cstring>
#include <vector>

#include "platform/Dialog.h"
#include "tests/workstation/desktop/DesktopFixture.h"
#include "workstation/desktop/DialogWindow.h"
#include "workstation/ui/ScriptedInterface.h"
#include "zephor/LoginDialog.h"

namespace {

using Quorvel::FileAccess::LoginData;
using Quorvel::FileAccess::WGO_showLoginDialog;
using workstation::DialogWindow;

/// What a person sees of the dialog and does to it, in a window or by the script.
class Person {
 public:
  virtual ~Person() = default;
  virtual std::wstring title() = 0;
  /// Whether that text is shown somewhere.
  virtual bool sees(const std::wstring& text) = 0;
  /// The label of the field that the keyboard reaches first.
  virtual std::wstring focus() = 0;
  /// Puts it in the place of what is there.
  virtual void type(const std::wstring& label, const std::wstring& text) = 0;
  /// @return false for a box that is grey
  virtual bool click(const std::wstring& box) = 0;
};

class ScriptedPerson final : public Person {
 public:
  explicit ScriptedPerson(platform::Dialog& dialog) : dialog_(dialog) {}
  std::wstring title() override { return dialog_.title; }
  bool sees(const std::wstring& text) override { return find(text) < dialog_.controls.size(); }
  std::wstring focus() override {
    for (std::size_t i = 1; i < dialog_.controls.size(); ++i) {
      if (dialog_.controls[i].id == dialog_.focus) return dialog_.controls[i - 1].text;
    }
    return {};
  }
  void type(const std::wstring& label, const std::wstring& text) override {
    dialog_.type(dialog_.controls.at(find(label) + 1).id, text);
  }
  bool click(const std::wstring& box) override { return dialog_.click(dialog_.controls.at(find(box)).id); }

 private:
  std::size_t find(const std::wstring& text) const {
    std::size_t i = 0;
    while (i < dialog_.controls.size() && dialog_.controls[i].text != text) ++i;
    return i;
  }
  platform::Dialog& dialog_;
};

/// On the thread of the windows.
class PersonAtWindow final : public Person {
 public:
  explicit PersonAtWindow(DialogWindow& window) : window_(window) {}
  std::wstring title() override { return window_.windowTitle().toStdWString(); }
  bool sees(const std::wstring& text) override {
    const QString wanted = QString::fromStdWString(text);
    for (const auto* each : window_.findChildren<QLabel*>()) {
      if (each->text() == wanted && each->isVisible()) return true;
    }
    for (const auto* each : window_.findChildren<QLineEdit*>()) {
      if (each->displayText() == wanted) return true;
    }
    return false;
  }
  std::wstring focus() override {
    for (const auto* each : window_.findChildren<QLabel*>()) {
      if (each->buddy() != nullptr && each->buddy() == window_.focusWidget()) return each->text().toStdWString();
    }
    return {};
  }
  void type(const std::wstring& label, const std::wstring& text) override {
    for (const auto* each : window_.findChildren<QLabel*>()) {
      if (each->text().toStdWString() != label) continue;
      auto* const edit = dynamic_cast<QLineEdit*>(each->buddy());
      ASSERT_NE(edit, nullptr) << "a label without its edit";
      edit->selectAll();
      edit->insert(QString::fromStdWString(text));
    }
  }
  bool click(const std::wstring& box) override {
    for (auto* each : window_.findChildren<QCheckBox*>()) {
      if (each->text().toStdWString() != box) continue;
      const bool before = each->isChecked();
      QTest::keyClick(each, Qt::Key_Space);
      return each->isChecked() != before;
    }
    return false;
  }

 private:
  DialogWindow& window_;
};

/// The same expectations of the window and of the script.
class LoginDialogs : public DesktopTest, public ::testing::WithParamInterface<bool> {
 protected:
  void SetUp() override {
    DesktopTest::SetUp();
    if (!GetParam()) platform::setUserInterface(&script_);
  }
  ~LoginDialogs() override { platform::setUserInterface(nullptr); }

  /// @param agrees  whether it ends with OK
  int show(const std::function<void(Person&)>& work, bool agrees) {
    script_.workOnDialog([&](platform::Dialog& dialog) {
      ScriptedPerson person(dialog);
      work(person);
      return agrees ? IDOK : IDCANCEL;
    });
    auto answer = std::async(std::launch::async,
                             [this] { return WGO_showLoginDialog(nullptr, L"Office", L"ftp.example.org", data); });
    if (GetParam()) {
      auto* const shown = window<DialogWindow>();
      waitFor([shown] { return shown->focusWidget() != nullptr; });
      onGui([&] {
        PersonAtWindow person(*shown);
        work(person);
        QTest::keyClick(shown, agrees ? Qt::Key_Return : Qt::Key_Escape);
      });
    }
    return answer.get();
  }

  LoginData data{L"ada", L"secret", 0, 1, 0};

 private:
  workstation::ScriptedInterface script_;
};

TEST_P(LoginDialogs, TakeWhatFitsAndFollowTheirRules) {
  const auto work = [](Person& person) {
    EXPECT_EQ(person.title(), L"Log in to server - Office");
    EXPECT_TRUE(person.sees(L"Server"));
    EXPECT_TRUE(person.sees(L"ftp.example.org"));
    EXPECT_TRUE(person.sees(L"ada"));
    person.type(L"User name", std::wstring(100, L'u'));
    person.type(L"Password", L"äö" + std::wstring(100, L'p'));
    EXPECT_TRUE(person.click(L"Save user name"));
    EXPECT_FALSE(person.click(L"Save password")) << "grey";
    EXPECT_TRUE(person.click(L"Save user name"));
    EXPECT_TRUE(person.click(L"Save password"));
  };
  EXPECT_EQ(show(work, true), IDOK);
  EXPECT_EQ(data.userName, std::wstring(63, L'u'));
  EXPECT_EQ(data.password, L"äö" + std::wstring(13, L'p'));
  EXPECT_EQ(data.saveUser + data.savePassword, 2);
}

TEST_P(LoginDialogs, CancelChangesNothing) {
  const LoginData before = data;
  const auto work = [](Person& person) {
    person.type(L"Password", L"other");
    person.click(L"Save user name");
  };
  EXPECT_EQ(show(work, false), IDCANCEL);
  EXPECT_EQ(std::memcmp(&before, &data, sizeof data), 0);
}

TEST_P(LoginDialogs, BeginWhereSomethingIsMissingOrWasRefused) {
  const std::tuple<LoginData, std::wstring, std::wstring> rows[] = {
      {{L"ada", L"secret", 0, 0, 0}, L"User name", L""},
      {{L"ada", L"", 0, 0, 0}, L"Password", L""},
      {{L"ada", L"", 2, 0, 0}, L"User name", L"The server did not accept the user name."},
      {{L"ada", L"secret", 3, 0, 0}, L"Password", L"The server did not accept the password."},
  };
  for (const auto& row : rows) {
    data = std::get<0>(row);
    const auto work = [&row](Person& person) {
      EXPECT_EQ(person.focus(), std::get<1>(row));
      EXPECT_TRUE(std::get<2>(row).empty() || person.sees(std::get<2>(row)));
    };
    EXPECT_EQ(show(work, false), IDCANCEL);
  }
}

INSTANTIATE_TEST_SUITE_P(Faces, LoginDialogs, ::testing::Bool(),
                         [](const auto& each) { return each.param ? "Window" : "Script"; });

using DialogWindows = DesktopTest;

TEST_F(DialogWindows, PasswordIsNeitherSeenNorLeft) {
  LoginData data{L"ada", L"secret", 0, 1, 0};
  auto answer = std::async(std::launch::async, [&] { return WGO_showLoginDialog(nullptr, L"", L"host", data); });
  auto* const shown = window<DialogWindow>();
  QString held;  // the edit's own memory
  onGui([&] {
    auto* const edit = part<QLineEdit>(*shown, [](QLineEdit& each) { return each.echoMode() == QLineEdit::Password; });
    EXPECT_FALSE(edit->displayText().contains("s"));
    edit->setFocus();
    edit->selectAll();
    QTest::keyClick(edit, Qt::Key_C, Qt::ControlModifier);
    EXPECT_FALSE(edit->isUndoAvailable());
    QTest::keyClicks(edit, "opensesame");
    held = edit->text();
    EXPECT_EQ(held, "opensesame");
    QTest::keyClick(edit, Qt::Key_Return);
  });
  EXPECT_EQ(answer.get(), IDOK);
  EXPECT_EQ(held, QString(10, QChar('\0')));
  EXPECT_STREQ(data.password, L"opensesame");
}

TEST_F(DialogWindows, FileNameIsALibraryPathWithTheKindsEnding) {
  auto name = std::async(std::launch::async, [&] { return desktop->askFileName({nullptr, L"ZIP (*.zip)"}); });
  auto* const shown = window<QFileDialog>();
  onGui([&] {
    auto* const edit = shown->findChild<QLineEdit*>();
    edit->setText("/tmp/new archive");
    QTest::keyClick(edit, Qt::Key_Return);
  });
  EXPECT_EQ(name.get(), L"Z:\\tmp\\new archive.zip");
}

}  // namespace
