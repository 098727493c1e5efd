#include "workstation/ui/TerminalProgress.h"

#include <algorithm>
#include <utility>

#include "workstation/ui/Terminal.h"
#include "workstation/ui/TerminalInterface.h"

namespace workstation {
namespace {

std::wstring progressLine(std::uint32_t position, std::uint32_t range, const std::wstring& text) {
  const std::uint64_t percent = std::uint64_t{std::min(position, range)} * 100 / std::max<std::uint32_t>(range, 1);
  std::wstring number = std::to_wstring(percent);
  number.insert(0, 3 - std::min<std::size_t>(number.size(), 3), L' ');
  return number + L" %  " + text;
}

}  // namespace

TerminalProgress::TerminalProgress(TerminalInterface& terminalInterface, std::wstring title)
    : interface_(terminalInterface), text_(std::move(title)) {}

TerminalProgress::~TerminalProgress() {
  if (drawn_ && interface_.terminal_.canRedraw() && !interface_.asking_) interface_.terminal_.clearLine();
}

void TerminalProgress::drawIfDue() {
  if (!shown_) return;
  const auto now = std::chrono::steady_clock::now();
  const auto interval = interface_.terminal_.canRedraw() ? kRedrawInterval : kPlainInterval;
  if (!isDrawingDue(lastDrawn_, now, interval)) return;
  std::wstring line = progressLine(position_, range_, text_);
  if (line == lastLine_) return;
  lastDrawn_ = now;
  drawn_ = true;
  interface_.draw(line);
  lastLine_ = std::move(line);
}

void TerminalProgress::show() {
  const std::lock_guard lock(mutex_);
  shown_ = true;
  drawIfDue();
}

void TerminalProgress::setRange(std::uint32_t top) {
  const std::lock_guard lock(mutex_);
  range_ = top;
}

std::uint32_t TerminalProgress::range() const {
  const std::lock_guard lock(mutex_);
  return range_;
}

void TerminalProgress::setPosition(std::uint32_t position) {
  const std::lock_guard lock(mutex_);
  position_ = position;
  drawIfDue();
}

void TerminalProgress::setText(const std::wstring& text) {
  const std::lock_guard lock(mutex_);
  text_ = text;
  drawIfDue();
}

void TerminalProgress::pump() {
  const std::lock_guard lock(mutex_);
  drawIfDue();
}

}  // namespace workstation
