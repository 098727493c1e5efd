// Boxes, dialogs and progress as windows.
#pragma once

#include <memory>
#include <mutex>
#include <string>

#include "platform/UserInterface.h"

namespace workstation {

class GuiThread;

/// The windows live on a thread of their own, and the work goes on beside them. One question stands at a time. Where
/// boxes are forbidden none is shown, and every question gets its denying answer.
class DesktopInterface final : public platform::IUserInterface {
 public:
  explicit DesktopInterface(std::unique_ptr<GuiThread> gui);
  ~DesktopInterface() override;

  int messageBox(const platform::MessageBoxRequest& request) override;
  std::wstring askFileName(const platform::FileNameRequest& request) override;
  int showDialog(platform::Dialog& dialog) override;
  std::unique_ptr<platform::IProgressWindow> createProgressWindow(const std::wstring& title, int width,
                                                                  int height) override;
  int pixelDensity() const override;
  void setBusyCursor(bool busy) override;
  int open(const std::wstring& target) override;

 private:
  const std::unique_ptr<GuiThread> gui_;
  std::mutex questions_;
};

/// Behind zephor_desktop_interface.
platform::IUserInterface* startDesktopInterface(std::string& error);

}  // namespace workstation
