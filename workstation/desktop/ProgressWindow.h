// The floating progress window.
#pragma once

#include <QWidget>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>

#include "platform/UserInterface.h"

namespace workstation {

class GuiThread;

/// From any thread. Reports never wait for the window: it shows the last one, and what it had no time for is left out.
class ProgressWindow final : public platform::IProgressWindow {
 public:
  ProgressWindow(GuiThread& gui, const std::wstring& title, int width, int height);
  ~ProgressWindow() override;

  void show() override;
  void setRange(std::uint32_t top) override;
  std::uint32_t range() const override;
  void setPosition(std::uint32_t position) override;
  void setText(const std::wstring& text) override;
  /// Nothing: the window's own thread does.
  void pump() override {}

 private:
  struct State;
  class Bar;
  template <typename Change>
  void change(const Change& apply);

  GuiThread& gui_;
  const std::unique_ptr<State> state_;
  Bar* bar_ = nullptr;  ///< belongs to the thread of the windows
};

}  // namespace workstation
