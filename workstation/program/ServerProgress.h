// Progress of a list of transfers on the terminal.
#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <string>

#include "platform/UserInterface.h"
#include "zephor/Progress.h"

namespace workstation::program {

/// Shows itself after a second, so that short work leaves no line behind. Counts files over several lists: each list
/// begins where the one before ended.
class ServerProgress final : public Quorvel::FileAccess::IProgress {
 public:
  ServerProgress(const std::wstring& title, std::size_t files);

  void setRange(std::uint64_t value) override;
  void setPos(std::uint64_t value, bool force) override;
  void setText(const std::wstring& text) override;
  /// A list of so many files has ended.
  void endList(std::size_t files);

 private:
  std::unique_ptr<platform::IProgressWindow> window_;
  std::wstring title_;
  std::size_t files_;
  std::uint64_t before_ = 0;
  std::chrono::steady_clock::time_point begin_ = std::chrono::steady_clock::now();
  bool shown_ = false;
};

}  // namespace workstation::program
