// Shows the window of a workstation for a moment and saves its picture, for documents and for eyes:
//   zephor_window_picture PROGRAM WORKSTATION LANGUAGE SELECTED FILE.png
// It locks the objects that SELECTED (words of the filter) finds.
#include <QTest>
#include <cstdio>

#include "workstation/desktop/Application.h"
#include "workstation/desktop/window/ProjectWindow.h"
#include "workstation/ui/HostInterface.h"

namespace {

constexpr int kLimit = 30'000;  // milliseconds

bool waitFor(workstation::ProjectWindow& window) {
  return QTest::qWaitFor([&] { return window.isIdle() && !window.windowTitle().startsWith("Zephor"); }, kLimit);
}

bool savePicture(char** words) {
  const std::string language = words[2];
  workstation::setLanguage(language);
  workstation::followLanguage();
  workstation::ProjectWindow window({words[0], {std::string("--workstation=") + words[1], "--language=" + language}});
  window.show();
  auto* const filter = window.findChild<QLineEdit*>();
  if (!waitFor(window)) return false;
  filter->setText(words[3]);
  window.findChild<QTableView*>()->selectAll();
  filter->clear();
  window.run(workstation::Command::Lock);
  return waitFor(window) && window.grab().save(words[4]);
}

}  // namespace

int main(int count, char** words) {
  constexpr int kWords = 6;
  std::string error = "usage: zephor_window_picture PROGRAM WORKSTATION LANGUAGE SELECTED FILE.png";
  const auto application = count == kWords ? workstation::makeApplication(error) : nullptr;
  if (application != nullptr && savePicture(words + 1)) return 0;
  std::fprintf(stderr, "zephor_window_picture: %s\n", application == nullptr ? error.c_str() : "no picture was made");
  return 1;
}
