#include "workstation/program/ProgressLine.h"

#include <algorithm>
#include <limits>
#include <utility>

#include "platform/Text.h"

namespace workstation::program {

namespace {

constexpr std::chrono::seconds kShortWork{1};
constexpr double kMega = 1e6;

}  // namespace

std::wstring progressText(const std::wstring& title, const ProgressCount& done, const ProgressCount& all,
                          std::chrono::duration<double> elapsed) {
  std::wstring text =
      platform::formatWide(L"%s: %llu of %llu files", title, static_cast<unsigned long long>(done.files),
                           static_cast<unsigned long long>(all.files));
  if (all.bytes == 0) return text;
  const auto bytes = static_cast<double>(done.bytes);
  const auto most = static_cast<double>(std::max(all.bytes, done.bytes));
  text += platform::formatWide(L", %.1f of %.1f MB", bytes / kMega, most / kMega);
  if (done.bytes == 0 || elapsed < kShortWork) return text;
  const double rate = bytes / elapsed.count();
  return text + platform::formatWide(L", %.1f MB/s, %.0f s left", rate / kMega, (most - bytes) / rate);
}

ProgressLine::ProgressLine(std::wstring title, const ProgressCount& all) : title_(std::move(title)), all_(all) {
  constexpr int kWidth = 400;
  constexpr int kHeight = 60;
  window_ = platform::userInterface().createProgressWindow(title_, kWidth, kHeight);
  if (window_) setRange();
}

void ProgressLine::setRange() {
  window_->setRange(
      static_cast<std::uint32_t>(std::min<std::uint64_t>(all_.files, std::numeric_limits<std::uint32_t>::max())));
}

void ProgressLine::step(const ProgressCount& done, std::uint64_t allFiles) {
  const std::lock_guard lock(mutex_);
  if (!window_) return;
  if (allFiles != 0 && allFiles != all_.files) {
    all_.files = allFiles;
    setRange();
  }
  const auto elapsed = std::chrono::steady_clock::now() - begin_;
  const ProgressCount within{std::min(done.files, all_.files), done.bytes};
  window_->setPosition(static_cast<std::uint32_t>(within.files));
  window_->setText(progressText(title_, within, all_, elapsed));
  if (shown_ || elapsed < kShortWork) return;
  shown_ = true;
  window_->show();
}

void ProgressLine::setText(const std::wstring& text) {
  const std::lock_guard lock(mutex_);
  if (window_) window_->setText(text);
}

}  // namespace workstation::program
