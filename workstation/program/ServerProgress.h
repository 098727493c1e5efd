// Progress of a list of transfers on the terminal.
#pragma once

#include <cstdint>
#include <string>

#include "workstation/program/ProgressLine.h"
#include "zephor/Progress.h"

namespace workstation::program {

/// Counts files over several lists: each list begins where the one before ended.
class ServerProgress final : public Quorvel::FileAccess::IProgress {
 public:
  ServerProgress(const std::wstring& title, std::size_t files) : line_(title, {files, 0}) {}

  /// The range is that of all lists; one list knows only its own.
  void setRange(std::uint64_t /*value*/) override {}
  void setPos(std::uint64_t value, bool /*force*/) override { line_.step({before_ + value, 0}); }
  void setText(const std::wstring& text) override { line_.setText(text); }
  /// A list of so many files has ended.
  void endList(std::size_t files) {
    before_ += files;
    setPos(0, false);
  }

 private:
  ProgressLine line_;
  std::uint64_t before_ = 0;
};

}  // namespace workstation::program
