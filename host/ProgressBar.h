// The host's modal progress bar.
#pragma once

#include <memory>
#include <string>

#include "host/Export.h"
#include "platform/WindowsTypes.h"

/// Stands until DestroyProgressBar(), at the latest until its destructor. Belongs to one thread. Where there
/// is no display for it, every operation does nothing.
class HOST_API ZEPHOR_ProgressBar {
 public:
  /// @param range   the position at the end of the work
  /// @param extras  what stands beside the bar; 0: nothing
  ZEPHOR_ProgressBar(const std::wstring& title, const std::wstring& text, int range, int extras);
  ~ZEPHOR_ProgressBar();
  ZEPHOR_ProgressBar(const ZEPHOR_ProgressBar&) = delete;
  ZEPHOR_ProgressBar& operator=(const ZEPHOR_ProgressBar&) = delete;

  void StepTo(int position);
  /// Draws the bar in front of the other windows and lets its window handle what waits for it.
  void HandleMessages();
  /// Window of the bar; null where the user interface keeps its windows to itself.
  HWND GetWPFProgressBarHwnd() const;
  void DestroyProgressBar();

 private:
  struct Window;
  std::unique_ptr<Window> window_;
};
