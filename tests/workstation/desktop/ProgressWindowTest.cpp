#include <QLabel>
#include <QProgressBar>
#include <QScreen>
#include <cstring>

#include "tests/workstation/desktop/DesktopFixture.h"

namespace {

using Progress = DesktopTest;

TEST_F(Progress, FloatsInTheCornerAndKeepsWhatItWasTold) {
  auto progress = desktop->createProgressWindow(L"Uploading", desktop->pixelDensity() * 500 / 96, 45);
  progress->setRange(4'000'000'000);
  progress->setPosition(2'000'000'000);
  onGui([] {
    for (const QWidget* each : QApplication::topLevelWidgets()) EXPECT_FALSE(each->isVisible());
  });
  progress->show();
  auto* const corner = window<QFrame>();
  onGui([&] {
    const QRect area = corner->screen()->availableGeometry();
    EXPECT_EQ(corner->geometry().bottomRight(), area.bottomRight());
    EXPECT_EQ(corner->findChild<QProgressBar*>()->value(), 500);
    EXPECT_TRUE(corner->findChild<QLabel*>()->text().startsWith("Uploading"));
    EXPECT_FALSE(corner->isActiveWindow());
    EXPECT_TRUE(corner->windowFlags().testFlag(Qt::WindowDoesNotAcceptFocus));
  });
  for (std::uint32_t i = 0; i <= 10'000; ++i) progress->setPosition(i * 400'000);
  progress->setText(L"file & more");
  waitFor([&] { return corner->findChild<QLabel*>()->text() == "file & more"; });
  waitFor([&] { return corner->findChild<QProgressBar*>()->value() == 1000; });
  EXPECT_EQ(progress->range(), 4'000'000'000);

  auto second = desktop->createProgressWindow(L"Checking", 500, 45);
  second->show();
  waitFor([&] {
    QList<QRect> places;
    for (const QWidget* each : QApplication::topLevelWidgets()) places << each->geometry();
    return places.size() == 2 && !places[0].intersects(places[1]) && places[0].right() == places[1].right();
  });
  progress.reset();
  second.reset();
  onGui([] { EXPECT_TRUE(QApplication::topLevelWidgets().isEmpty()); });
}

TEST_F(Progress, BusyCursorComesAndGoes) {
  desktop->setBusyCursor(true);
  desktop->setBusyCursor(true);
  onGui([] { EXPECT_NE(QApplication::overrideCursor(), nullptr); });
  desktop->setBusyCursor(false);
  onGui([] { EXPECT_EQ(QApplication::overrideCursor(), nullptr); });
}

TEST(NoDisplay, IsToldAndEndsNothing) {
  for (const auto& [display, told] : {std::pair{":987", "the display :987 can't be reached"}, {"", "no display"}}) {
    setenv("DISPLAY", display, 1);
    unsetenv("WAYLAND_DISPLAY");
    unsetenv("QT_QPA_PLATFORM");
    std::string error;
    EXPECT_EQ(workstation::startDesktopInterface(error), nullptr);
    EXPECT_EQ(error.substr(0, std::strlen(told)), told);
  }
}

}  // namespace
