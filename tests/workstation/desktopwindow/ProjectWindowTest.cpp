#include "workstation/desktop/window/ProjectWindow.h"

#include <gmock/gmock.h>
#include <unistd.h>

#include <QApplication>
#include <QSignalSpy>
#include <QStatusBar>
#include <QTest>
#include <cstdlib>
#include <filesystem>

#include "tests/journeys/Program.h"
#include "tests/support/Display.h"
#include "workstation/desktop/Application.h"
#include "workstation/ui/HostInterface.h"

namespace {

using testing::HasSubstr;
using workstation::ProjectWindow;

class DesktopWindow : public testing::Test {
 protected:
  // The application ends before the display, and both before the process does.
  static void SetUpTestSuite() {
    display_ = std::make_unique<zephor_test::Display>();
    if (display_->isThere()) application_ = workstation::makeApplication(error_);
  }
  static void TearDownTestSuite() {
    application_.reset();
    display_.reset();
  }
  void SetUp() override {
    if (!display_->isThere()) GTEST_SKIP() << "Xvfb is not installed";
    ASSERT_NE(application_, nullptr) << error_;
    workstation::setLanguage("en");
    office_.found({"anna", "ben"});
    ::setenv("XDG_DATA_HOME", office_.path("window-desktop").c_str(), 1);
    // LeakSanitizer gives up where it ends a program whose windows have come up; it looks into this process.
    const char* const options = std::getenv("ASAN_OPTIONS");
    ::setenv("ASAN_OPTIONS", ((options != nullptr ? options : "") + std::string(":detect_leaks=0")).c_str(), 1);
  }

  void open(const std::string& program = ZEPHOR_PROGRAM) {
    window_ = std::make_unique<ProjectWindow>(
        workstation::DesktopWindowOptions{program, {"--workstation=" + office_.path("anna").string()}});
    window_->show();
    window_->activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(window_.get()));
    settle();
  }
  /// Until nothing runs, and what was read is shown.
  void settle() {
    ASSERT_TRUE(QTest::qWaitFor([this] { return window_->isIdle() && banner()->text().size() > 0; }, 30000));
  }
  void press(Qt::Key key, Qt::KeyboardModifiers modifiers = Qt::ControlModifier) {
    QTest::keyClick(table(), key, modifiers);
    settle();
  }
  /// Selects an object by its filter, as a person without a mouse does.
  void select(const char* words) {
    auto* const filter = window_->findChild<QLineEdit*>();
    filter->clear();
    QTest::keyClicks(filter, words);
    table()->setFocus();
    QTest::keyClick(table(), Qt::Key_A, Qt::ControlModifier);
  }
  QTableView* table() const { return window_->findChild<QTableView*>(); }
  QLabel* banner() const {
    for (QLabel* label : window_->findChildren<QLabel*>()) {
      if (label->wordWrap()) return label;
    }
    return nullptr;
  }
  std::string cell(int row, int column) const {
    return table()->model()->index(row, column).data().toString().toStdString();
  }
  std::string log() const { return window_->findChild<QPlainTextEdit*>()->toPlainText().toStdString(); }
  std::string outcome() const { return window_->findChild<QStatusBar*>()->findChild<QLabel*>()->text().toStdString(); }
  QPushButton* button(const QWidget* in, const char* text) const {
    for (QPushButton* one : in->findChildren<QPushButton*>()) {
      if (one->text() == QLatin1String(text)) return one;
    }
    return nullptr;
  }
  /// A program that takes its time for a sync; everything else is the real one.
  std::string slowProgram(const char* seconds) {
    const auto path = office_.writeFile("slow", "#!/bin/sh\ncase \"$*\" in *sync) echo begun; exec sleep " +
                                                    std::string(seconds) + ";; esac\nexec " ZEPHOR_PROGRAM " \"$@\"\n");
    std::filesystem::permissions(path, std::filesystem::perms::owner_all);
    return path.string();
  }
  void startSync() {
    QTest::mouseClick(button(window_.get(), "S&ync"), Qt::LeftButton);
    ASSERT_TRUE(QTest::qWaitFor([this] { return log().ends_with("begun"); }, 30000));
  }

  inline static std::unique_ptr<zephor_test::Display> display_;
  inline static std::unique_ptr<QApplication> application_;
  inline static std::string error_;
  zephor_test::Office office_;
  std::unique_ptr<ProjectWindow> window_;
};

TEST_F(DesktopWindow, LocksSavesAndFetchesByKeysAndTellsWhatColleaguesDo) {
  office_.must("anna", {"import", office_.writeFile("Cellar.dxf", "1").string()});
  open();
  ASSERT_EQ(table()->model()->rowCount(), 1);
  EXPECT_EQ(cell(0, workstation::kStateColumn), "only here");
  EXPECT_FALSE(button(window_.get(), "&Unlock")->isEnabled());
  select("cellar");
  press(Qt::Key_L);
  EXPECT_EQ(cell(0, workstation::kHolderColumn), "you (anna)");
  EXPECT_TRUE(table()->selectionModel()->isRowSelected(0)) << "a reading changes nothing of what is selected";
  press(Qt::Key_S);
  EXPECT_EQ(outcome(), "Save: done") << log();
  EXPECT_EQ(cell(0, workstation::kStateColumn), "in step");
  press(Qt::Key_U);
  EXPECT_EQ(cell(0, workstation::kHolderColumn), "");

  office_.must("ben", {"fetch", "tb1"});
  office_.must("ben", {"lock", "tb1"});
  office_.must("ben", {"import", "--into", "tb1", office_.writeFile("ben.dxf", "2").string()});
  office_.must("ben", {"save", "tb1"});
  press(Qt::Key_F5, Qt::NoModifier);
  EXPECT_EQ(cell(0, workstation::kStateColumn), "newer in the store");
  EXPECT_EQ(cell(0, workstation::kHolderColumn), "ben");
  press(Qt::Key_G);
  EXPECT_EQ(cell(0, workstation::kStateColumn), "in step") << log();
  EXPECT_EQ(office_.exported("anna", "tb1"), "2");
}

TEST_F(DesktopWindow, TellsWhoHoldsWhatCouldNotBeSaved) {
  office_.share("anna", "1");
  office_.must("anna", {"unlock", "tb1"});
  office_.must("anna", {"import", "--into", "tb1", office_.writeFile("anna.dxf", "2").string()});
  open();
  office_.must("ben", {"fetch", "tb1"});
  office_.must("ben", {"lock", "tb1"});
  select("tb1");
  ASSERT_TRUE(button(window_.get(), "&Save")->isEnabled()) << "what is shown is from before";
  QTest::keyClick(table(), Qt::Key_S, Qt::AltModifier);
  ASSERT_TRUE(QTest::qWaitFor([this] { return !log().empty(); }));
  settle();
  EXPECT_THAT(outcome(), HasSubstr("locked by someone else – tb1: refused (locked by ben"));
  EXPECT_THAT(log(), HasSubstr("zephor save tb1\ntb1: refused"));
  EXPECT_FALSE(button(window_.get(), "&Save")->isEnabled());
}

TEST_F(DesktopWindow, WorksInTheProjectThatItShows) {
  office_.share("anna", "1");
  office_.must("anna", {"unlock", "tb1"});
  office_.must("anna", {"project", "create", "Other", "--team", "Office"});
  open();
  select("tb1");
  office_.must("anna", {"open", "Other"});
  press(Qt::Key_L);
  EXPECT_EQ(outcome(), "") << "another project is shown";
  EXPECT_EQ(table()->model()->rowCount(), 0);
  EXPECT_THAT(banner()->text().toStdString(), HasSubstr("no objects yet"));
  EXPECT_THAT(office_.must("anna", {"locks"}), testing::Not(HasSubstr("tb1"))) << "Other is still the open one";
  EXPECT_THAT(office_.must("ben", {"locks"}), HasSubstr("tb1"));

  office_.must("anna", {"close"});
  press(Qt::Key_F5, Qt::NoModifier);
  EXPECT_THAT(banner()->text().toStdString(), HasSubstr("zephor open PROJECT"));
  EXPECT_FALSE(button(window_.get(), "S&ync")->isEnabled());
}

TEST_F(DesktopWindow, InterruptsWhatRunsOnlyWhenAsked) {
  open(slowProgram("30"));
  startSync();
  EXPECT_FALSE(button(window_.get(), "&Lock")->isEnabled()) << "one command at a time";
  EXPECT_FALSE(window_->close());
  auto* question = window_->findChild<QMessageBox*>();
  ASSERT_NE(question, nullptr);
  QTest::keyClick(question, Qt::Key_Escape);
  EXPECT_TRUE(window_->isVisible());
  QTest::mouseClick(button(window_.get(), "&Interrupt"), Qt::LeftButton);
  settle();
  EXPECT_EQ(outcome(), "Sync: interrupted");
  EXPECT_TRUE(window_->isVisible());
}

TEST_F(DesktopWindow, ClosesWhenTheCommandHasEndedWell) {
  open(slowProgram("1"));
  startSync();
  EXPECT_FALSE(window_->close());
  QTest::mouseClick(button(window_->findChild<QMessageBox*>(), "&Close when it is done"), Qt::LeftButton);
  EXPECT_TRUE(window_->isVisible());
  EXPECT_TRUE(QTest::qWaitFor([this] { return !window_->isVisible(); }, 30000));
  EXPECT_EQ(outcome(), "Sync: done");
}

TEST_F(DesktopWindow, LetsAReadingEndBeforeItActsOrGoes) {
  open();
  window_->refresh();
  window_->run(workstation::Command::BackgroundLog);
  EXPECT_EQ(log(), "") << "it waits";
  settle();
  EXPECT_THAT(log(), HasSubstr("nothing was sent in the background yet"));
  EXPECT_THAT(outcome(), HasSubstr("Background log: failed – there is no "));
  const QSignalSpy closed(window_.get(), &ProjectWindow::closed);
  window_->refresh();
  EXPECT_FALSE(window_->close());
  EXPECT_FALSE(window_->isVisible());
  EXPECT_EQ(closed.size(), 0);
  EXPECT_TRUE(QTest::qWaitFor([&] { return closed.size() == 1; }, 30000));
  EXPECT_TRUE(window_->isIdle());
}

TEST_F(DesktopWindow, TellsAnAnswerThatItCantRead) {
  const auto path = office_.writeFile("odd", "#!/bin/sh\necho hello; echo from below >&2\n");
  std::filesystem::permissions(path, std::filesystem::perms::owner_all);
  open(path.string());
  EXPECT_THAT(banner()->text().toStdString(), HasSubstr("line 1: expected a JSON object, not: hello"));
  EXPECT_FALSE(button(window_.get(), "S&ync")->isEnabled());
}

}  // namespace
