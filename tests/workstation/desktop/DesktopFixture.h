// The windows on a display of their own, and a person at them.
#pragma once

#include <gtest/gtest.h>

#include <QAbstractButton>
#include <QApplication>
#include <QTest>
#include <chrono>
#include <functional>
#include <future>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>

#include "platform/UserInterface.h"
#include "tests/support/Display.h"
#include "workstation/desktop/DesktopInterface.h"
#include "workstation/ui/HostInterface.h"

class DesktopTest : public ::testing::Test {
 protected:
  void SetUp() override {
    if (!display.isThere()) GTEST_SKIP() << "Xvfb is not installed";
    workstation::setLanguage("en");
    std::string error;
    desktop.reset(workstation::startDesktopInterface(error));
    ASSERT_TRUE(desktop) << error;
    platform::setUserInterface(desktop.get());
  }
  ~DesktopTest() override { platform::setUserInterface(nullptr); }

  static void onGui(const std::function<void()>& work) {
    QMetaObject::invokeMethod(qApp, work, Qt::BlockingQueuedConnection);
  }

  /// Waits for a visible window of that kind. Throws when none comes.
  template <typename Window>
  static Window* window() {
    Window* found = nullptr;
    waitFor([&] {
      for (QWidget* const each : QApplication::topLevelWidgets()) {
        if (auto* const wanted = dynamic_cast<Window*>(each); wanted != nullptr && each->isVisible()) found = wanted;
      }
      return found != nullptr;
    });
    return found;
  }

  /// Asks on the thread of the windows until it holds. Throws when it never does.
  static void waitFor(const std::function<bool()>& holds) {
    for (int i = 0; i < 1000; ++i) {
      bool isSo = false;
      onGui([&] { isSo = holds(); });
      if (isSo) return;
      std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    throw std::runtime_error("the window does not come to what is waited for");
  }

  template <typename Widget>
  static Widget* part(QWidget& window, const std::function<bool(Widget&)>& isWanted) {
    for (auto* const each : window.findChildren<Widget*>()) {
      if (isWanted(*each)) return each;
    }
    throw std::runtime_error("the window has no such part");
  }
  static QAbstractButton* button(QWidget& window, const QString& label) {
    return part<QAbstractButton>(window, [&](auto& each) { return each.text() == label; });
  }

  zephor_test::Display display;
  std::unique_ptr<platform::IUserInterface> desktop;
};
