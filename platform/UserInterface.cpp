#include "platform/UserInterface.h"

#include <atomic>

namespace platform {
namespace {

/// Stands in until a host sets its own: shows nothing, denies everything that is asked.
class SilentUserInterface : public IUserInterface {
 public:
  int messageBox(const MessageBoxRequest& request) override { return denyingAnswer(request.style); }
  std::unique_ptr<IProgressWindow> createProgressWindow(const std::wstring& /*title*/, int /*width*/,
                                                        int /*height*/) override {
    return nullptr;
  }
  int pixelDensity() const override { return 0; }
  void setBusyCursor(bool /*busy*/) override {}
  int open(const std::wstring& target) override { return openWithDesktop(target); }
};

IUserInterface& silentUserInterface() {
  static auto* const silent = new SilentUserInterface;  // outlives threads that still report while the process ends
  return *silent;
}

std::atomic<IUserInterface*>& current() {
  static std::atomic<IUserInterface*> userInterface{&silentUserInterface()};
  return userInterface;
}

}  // namespace

int IUserInterface::showDialog(Dialog& /*dialog*/) {
  return IDCANCEL;
}

IUserInterface& userInterface() {
  return *current();
}

IUserInterface* setUserInterface(IUserInterface* userInterface) {
  return current().exchange(userInterface != nullptr ? userInterface : &silentUserInterface());
}

int denyingAnswer(UINT style) {
  switch (style & MB_TYPEMASK) {
    case MB_YESNO:
    case MB_YESNOCANCEL:
      return IDNO;
    case MB_OKCANCEL:
    case MB_RETRYCANCEL:
      return IDCANCEL;
    case MB_ABORTRETRYIGNORE:
      return IDABORT;
    default:
      return IDOK;
  }
}

}  // namespace platform

int MessageBoxW(HWND owner, const wchar_t* text, const wchar_t* caption, UINT style) {
  platform::MessageBoxRequest request;
  request.owner = owner;
  request.text = text != nullptr ? text : L"";
  request.caption = caption != nullptr ? caption : L"Error";
  request.style = style;
  return platform::userInterface().messageBox(request);
}

HWND GetActiveWindow() {
  return nullptr;
}
