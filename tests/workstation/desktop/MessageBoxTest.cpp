#include <QCheckBox>
#include <QClipboard>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QTextEdit>
#include <atomic>
#include <vector>

#include "tests/workstation/desktop/DesktopFixture.h"
#include "workstation/desktop/DetailsWindow.h"
#include "workstation/desktop/MessageBoxWindow.h"
#include "workstation/ui/BoxButtons.h"

namespace {

using platform::MessageBoxRequest;
using workstation::DetailsWindow;
using workstation::MessageBoxWindow;

class MessageBox : public DesktopTest {
 protected:
  static MessageBoxRequest request(UINT style) {
    MessageBoxRequest box;
    box.text = L"Replace <b>A&B</b>?\n\n";
    box.caption = L"Save [*]";
    box.style = style;
    return box;
  }
  std::future<int> ask(const MessageBoxRequest& box) {
    return std::async(std::launch::async, [this, box] { return desktop->messageBox(box); });
  }
  static QStringList labels(MessageBoxWindow& box) {
    QStringList texts;
    for (const auto* each : box.findChildren<QPushButton*>()) texts << each->text() + (each->isDefault() ? "*" : "");
    texts.sort();
    return texts;
  }
};

TEST_F(MessageBox, OffersWhatItsStyleSaysAndTakesOnlyThat) {
  struct Row {
    UINT style;
    const char* language;
    QStringList labels;
    int escape;  ///< 0: the box stays
    int close;
    int enter;
  };
  const Row rows[] = {
      {MB_OK | MB_ICONINFORMATION, "en", {"&OK*"}, IDOK, IDOK, IDOK},
      {MB_OKCANCEL, "de", {"&Abbrechen", "&OK*"}, IDCANCEL, IDCANCEL, IDOK},
      {MB_YESNO | MB_ICONQUESTION, "de", {"&Ja*", "&Nein"}, 0, IDNO, IDYES},
      {MB_YESNO | workstation::kDefaultButton2, "en", {"&No*", "&Yes"}, 0, IDNO, IDNO},
      {MB_YESNOCANCEL | workstation::kDefaultButton3 | workstation::kSystemModal,
       "en",
       {"&Cancel*", "&No", "&Yes"},
       IDCANCEL,
       IDCANCEL,
       IDCANCEL},
      {MB_ABORTRETRYIGNORE | workstation::kDefaultButton2, "en", {"&Abort", "&Ignore", "&Retry*"}, 0, IDABORT, IDRETRY},
      {MB_RETRYCANCEL | MB_ICONHAND | workstation::kDefaultButton4,
       "en",
       {"&Cancel", "&Retry*"},
       IDCANCEL,
       IDCANCEL,
       IDRETRY},
  };
  for (const Row& row : rows) {
    workstation::setLanguage(row.language);
    for (const auto& [act, expected] : {std::pair{0, row.escape}, {1, row.close}, {2, row.enter}}) {
      SCOPED_TRACE(testing::Message() << "style " << row.style << ", act " << act);
      auto answer = ask(request(row.style));
      auto* const box = window<MessageBoxWindow>();
      onGui([&, act = act] {
        EXPECT_EQ(labels(*box), row.labels);
        EXPECT_EQ(box->windowTitle(), "Save [*][*]");
        EXPECT_EQ(box->findChild<QTextEdit*>()->toPlainText(), "Replace <b>A&B</b>?");
        EXPECT_EQ(box->windowModality(), Qt::ApplicationModal);
        EXPECT_EQ(box->windowFlags().testFlag(Qt::WindowStaysOnTopHint), (row.style & workstation::kSystemModal) != 0);
        if (act == 1) box->close();
        if (act != 1) QTest::keyClick(box->window(), act == 0 ? Qt::Key_Escape : Qt::Key_Return);
      });
      if (expected == 0) {
        onGui([&] {
          EXPECT_TRUE(box->isVisible()) << "an answer that is not offered";
          box->close();
        });
      }
      const int given = answer.get();
      EXPECT_EQ(given, expected != 0 ? expected : row.close);
    }
  }
}

TEST_F(MessageBox, TickComesWithTheAnswer) {
  MessageBoxRequest box = request(MB_OKCANCEL);
  box.checkBox = L"Don't ask again";
  auto answer = ask(box);
  auto* const shown = window<MessageBoxWindow>();
  onGui([&] {
    shown->findChild<QCheckBox*>()->click();
    button(*shown, "&Cancel")->click();
  });
  EXPECT_EQ(answer.get(), IDCANCEL | platform::kBoxChecked);
}

TEST_F(MessageBox, DetailsCanBeReadAndCopiedWhileTheBoxWaits) {
  MessageBoxRequest box = request(MB_RETRYCANCEL | MB_ICONHAND | MB_HELP);
  box.details = L"MsgText:\r\n<i>550</i>\r\nlast";
  box.detailsCaption = L"FTP Library error details";
  auto answer = ask(box);
  auto* const shown = window<MessageBoxWindow>();
  onGui([&] { button(*shown, "&Help")->click(); });
  auto* const details = window<DetailsWindow>();
  onGui([&] {
    EXPECT_EQ(details->windowTitle(), "FTP Library error details");
    EXPECT_EQ(details->height(), 400);
    auto* const text = details->findChild<QPlainTextEdit*>();
    QTest::keyClicks(text, "x");
    QTest::keyClick(text, Qt::Key_A, Qt::ControlModifier);
    QTest::keyClick(text, Qt::Key_C, Qt::ControlModifier);
    EXPECT_EQ(QApplication::clipboard()->text(), "MsgText:\n<i>550</i>\nlast");
    button(*shown, "&Help")->click();
    EXPECT_EQ(QApplication::topLevelWidgets().size(), 2) << "the box and one window of details";
    button(*shown, "&Retry")->click();
  });
  EXPECT_EQ(answer.get(), IDRETRY);
  onGui([] { EXPECT_TRUE(QApplication::topLevelWidgets().isEmpty()); });
}

TEST_F(MessageBox, LongTextsStayOnTheScreen) {
  MessageBoxRequest box = request(MB_OK);
  box.text = std::wstring(2000, L'w');
  for (int i = 0; i < 300; ++i) box.text += L"\nline " + std::to_wstring(i);
  auto answer = ask(box);
  auto* const shown = window<MessageBoxWindow>();
  onGui([&] {
    EXPECT_TRUE(shown->screen()->availableGeometry().contains(shown->frameGeometry()));
    QTest::keyClick(shown, Qt::Key_Return);
  });
  EXPECT_EQ(answer.get(), IDOK);
}

TEST_F(MessageBox, ForbiddenBoxesAreDeniedUnseen) {
  workstation::setDenied(true);
  EXPECT_EQ(desktop->messageBox(request(MB_YESNOCANCEL)), IDNO);
  EXPECT_EQ(desktop->askFileName({nullptr, L"ZIP (*.zip)"}), L"");
  workstation::setDenied(false);
}

TEST_F(MessageBox, ThreadsAskOneAfterTheOther) {
  constexpr int kThreads = 4;
  std::vector<std::future<int>> answers;
  for (int i = 0; i < kThreads; ++i) {
    MessageBoxRequest box = request(i % 2 == 0 ? MB_YESNO : MB_RETRYCANCEL);
    box.text = std::to_wstring(i);
    answers.push_back(ask(box));
  }
  for (int i = 0; i < kThreads; ++i) {
    auto* const box = window<MessageBoxWindow>();
    onGui([&] {
      EXPECT_EQ(QApplication::topLevelWidgets().size(), 1);
      const bool isEven = box->findChild<QTextEdit*>()->toPlainText().toInt() % 2 == 0;
      button(*box, isEven ? "&Yes" : "&Retry")->click();
    });
  }
  for (int i = 0; i < kThreads; ++i)
    EXPECT_EQ(answers[static_cast<std::size_t>(i)].get(), i % 2 == 0 ? IDYES : IDRETRY);
}

}  // namespace
