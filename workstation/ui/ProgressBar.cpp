// The host's modal progress bar, over the user interface in place.
#include "host/ProgressBar.h"

#include <algorithm>

#include "platform/UserInterface.h"

namespace {

constexpr int kWidth = 400;
constexpr int kHeight = 45;

}  // namespace

struct ZEPHOR_ProgressBar::Window {
  std::unique_ptr<platform::IProgressWindow> progress;
};

ZEPHOR_ProgressBar::ZEPHOR_ProgressBar(const std::wstring& title, const std::wstring& text, int range, int /*extras*/)
    : window_(std::make_unique<Window>()) {
  window_->progress = platform::userInterface().createProgressWindow(title, kWidth, kHeight);
  if (!window_->progress) return;
  window_->progress->setRange(static_cast<std::uint32_t>(std::max(range, 1)));
  window_->progress->setText(text);
  window_->progress->show();
}

ZEPHOR_ProgressBar::~ZEPHOR_ProgressBar() = default;

void ZEPHOR_ProgressBar::StepTo(int position) {
  if (window_->progress) window_->progress->setPosition(static_cast<std::uint32_t>(std::max(position, 0)));
}

void ZEPHOR_ProgressBar::HandleMessages() {
  if (window_->progress) window_->progress->pump();
}

HWND ZEPHOR_ProgressBar::GetWPFProgressBarHwnd() const {
  return nullptr;
}

void ZEPHOR_ProgressBar::DestroyProgressBar() {
  window_->progress.reset();
}
