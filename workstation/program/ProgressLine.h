// A line on the terminal that tells how far long work is. It shows itself after a second, so that short work leaves no
// line behind.
#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>

#include "platform/UserInterface.h"

namespace workstation::program {

struct ProgressCount {
  std::uint64_t files = 0;
  std::uint64_t bytes = 0;
};

/// "fetching: 12 of 200 files, 3.4 of 56.0 MB, 1.2 MB/s, 44 s left". Bytes are left out where none are expected.
std::wstring progressText(const std::wstring& title, const ProgressCount& done, const ProgressCount& all,
                          std::chrono::duration<double> elapsed);

/// From any thread.
class ProgressLine {
 public:
  ProgressLine(std::wstring title, const ProgressCount& all);
  /// @param allFiles  where a transfer looks at more files than were expected; 0: as many as were
  void step(const ProgressCount& done, std::uint64_t allFiles = 0);
  void setText(const std::wstring& text);

 private:
  void setRange();

  std::mutex mutex_;
  std::unique_ptr<platform::IProgressWindow> window_;
  std::wstring title_;
  ProgressCount all_;
  std::chrono::steady_clock::time_point begin_ = std::chrono::steady_clock::now();
  bool shown_ = false;
};

}  // namespace workstation::program
