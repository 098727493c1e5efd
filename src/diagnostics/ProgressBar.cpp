#include "diagnostics/ProgressBar.h"

#include <utility>

#include "diagnostics/CheckedNarrow.h"
#include "diagnostics/DiagnosticsState.h"

namespace Quorvel::FileAccess::ConnectionLogger {
namespace {

constexpr std::uint32_t kShowAfterMilliseconds = 2000;
constexpr DWORD kFullBarMilliseconds = 300;
/// Pixels at 96 per inch, the density of a plain display.
constexpr int kPlainDensity = 96;
constexpr int kWidth = 500;
constexpr int kHeight = 45;

std::uint32_t tickCount() {
  return static_cast<std::uint32_t>(diagnosticsState().tickCount());
}

}  // namespace

CProgressBarCtrl::CProgressBarCtrl(std::unique_ptr<platform::IProgressWindow> window) : window_(std::move(window)) {}

CProgressBarCtrl::~CProgressBarCtrl() {
  window_->setPosition(window_->range());
  window_->pump();
  diagnosticsState().sleep(kFullBarMilliseconds, TRUE);
}

void CProgressBarCtrl::arm() {
  createTick_ = tickCount();
}

void CProgressBarCtrl::setRange(std::uint64_t value) {
  window_->setRange(value == 0 ? 1 : checkedNarrow<std::uint32_t>(value));
}

void CProgressBarCtrl::setPos(std::uint64_t value, bool force) {
  // Refused here and not when the bar comes up, so that the error meets the caller that is wrong.
  checkedNarrow<std::uint32_t>(value);
  decideVisibility(force);
  if (visible_) {
    applyPosition(value);
  } else {
    pendingPos_ = value;
  }
}

void CProgressBarCtrl::setText(const std::wstring& text) {
  decideVisibility(false);
  if (visible_) {
    window_->setText(text);
  } else {
    pendingText_ = text;
  }
}

void CProgressBarCtrl::decideVisibility(bool force) {
  if (visible_ || createTick_ == 0) return;
  if (!force && tickCount() - createTick_ <= kShowAfterMilliseconds) return;
  visible_ = true;
  window_->show();
  window_->setText(std::exchange(pendingText_, {}));
  applyPosition(std::exchange(pendingPos_, 0));
}

void CProgressBarCtrl::applyPosition(std::uint64_t value) {
  window_->setPosition(checkedNarrow<std::uint32_t>(value));
  window_->pump();
}

std::shared_ptr<IProgress> CreateProgress(const std::wstring& title) {
  platform::IUserInterface& userInterface = platform::userInterface();
  const int density = userInterface.pixelDensity();
  const int width = density == 0 ? kWidth : density * kWidth / kPlainDensity;
  const int height = density == 0 ? kHeight : density * kHeight / kPlainDensity;
  auto window = userInterface.createProgressWindow(title, width, height);
  if (window == nullptr) return nullptr;
  auto bar = std::make_shared<CProgressBarCtrl>(std::move(window));
  bar->setRange(100);
  bar->setText(title);
  bar->arm();
  return bar;
}

}  // namespace Quorvel::FileAccess::ConnectionLogger
