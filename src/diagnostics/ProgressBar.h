// The floating progress bar over the platform's progress window.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "diagnostics/Progress.h"
#include "platform/UserInterface.h"

namespace Quorvel::FileAccess::ConnectionLogger {

class CProgressBarCtrl : public IProgress {
 public:
  explicit CProgressBarCtrl(std::unique_ptr<platform::IProgressWindow> window);
  ~CProgressBarCtrl() override;
  CProgressBarCtrl(const CProgressBarCtrl&) = delete;
  CProgressBarCtrl& operator=(const CProgressBarCtrl&) = delete;

  /// Starts the time after which the bar shows itself.
  void arm();
  void setRange(std::uint64_t value) override;
  void setPos(std::uint64_t value, bool force) override;
  void setText(const std::wstring& text) override;

 private:
  void decideVisibility(bool force);
  void applyPosition(std::uint64_t value);

  std::unique_ptr<platform::IProgressWindow> window_;
  bool visible_ = false;
  std::uint32_t createTick_ = 0;  ///< 0: not armed yet
  std::wstring pendingText_;
  std::uint64_t pendingPos_ = 0;
};

}  // namespace Quorvel::FileAccess::ConnectionLogger
