#include "workstation/program/ServerProgress.h"

#include <algorithm>
#include <limits>

#include "platform/Text.h"

namespace workstation::program {

ServerProgress::ServerProgress(const std::wstring& title, std::size_t files) : title_(title), files_(files) {
  constexpr int kWidth = 400;
  constexpr int kHeight = 60;
  window_ = platform::userInterface().createProgressWindow(title, kWidth, kHeight);
  if (!window_) return;
  window_->setRange(
      static_cast<std::uint32_t>(std::min<std::size_t>(files, std::numeric_limits<std::uint32_t>::max())));
}

// The range is that of all lists; one list knows only its own.
void ServerProgress::setRange(std::uint64_t /*value*/) {}

void ServerProgress::setPos(std::uint64_t value, bool /*force*/) {
  if (!window_) return;
  const std::uint64_t done = std::min<std::uint64_t>(before_ + value, files_);
  window_->setPosition(static_cast<std::uint32_t>(done));
  window_->setText(platform::formatWide(L"%s: %llu of %llu", title_, static_cast<unsigned long long>(done),
                                        static_cast<unsigned long long>(files_)));
  constexpr std::chrono::seconds kShortWork{1};
  if (shown_ || std::chrono::steady_clock::now() - begin_ < kShortWork) return;
  shown_ = true;
  window_->show();
}

void ServerProgress::setText(const std::wstring& text) {
  if (window_) window_->setText(text);
}

void ServerProgress::endList(std::size_t files) {
  before_ += files;
  setPos(0, false);
}

}  // namespace workstation::program
