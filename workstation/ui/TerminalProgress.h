// The progress window of the terminal: one line with percent and text.
#pragma once

#include <chrono>
#include <cstdint>
#include <mutex>
#include <string>

#include "platform/UserInterface.h"

namespace workstation {

class TerminalInterface;

/// Time between two drawings where a line is redrawn in place, and where each drawing is a line of its own.
constexpr std::chrono::milliseconds kRedrawInterval{100};
constexpr std::chrono::milliseconds kPlainInterval{5000};

/// @param last  of the drawing before; the clock's epoch when there was none
inline bool isDrawingDue(std::chrono::steady_clock::time_point last, std::chrono::steady_clock::time_point now,
                         std::chrono::milliseconds interval) {
  return last == std::chrono::steady_clock::time_point{} || now - last >= interval;
}

/// From any thread.
class TerminalProgress final : public platform::IProgressWindow {
 public:
  TerminalProgress(TerminalInterface& terminalInterface, std::wstring title);
  ~TerminalProgress() override;

  void show() override;
  void setRange(std::uint32_t top) override;
  std::uint32_t range() const override;
  void setPosition(std::uint32_t position) override;
  void setText(const std::wstring& text) override;
  /// Draws what the last change was too early for.
  void pump() override;

 private:
  void drawIfDue();

  TerminalInterface& interface_;
  mutable std::mutex mutex_;
  std::wstring text_;
  std::uint32_t range_ = 100;
  std::uint32_t position_ = 0;
  bool shown_ = false;
  bool drawn_ = false;
  std::wstring lastLine_;
  std::chrono::steady_clock::time_point lastDrawn_;
};

}  // namespace workstation
