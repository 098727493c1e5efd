// The terminal that the program runs on: text, one line that is redrawn in place, and lines read from it.
//
// Every operation may be called from any thread. What is written is UTF-8 with control characters made visible. An
// output that is gone (a closed pipe) loses the text and nothing else.
#pragma once

#include <mutex>
#include <string>

#include "workstation/Export.h"

namespace workstation {

class WORKSTATION_API Terminal {
 public:
  /// @param input, output  file descriptors; they stay the caller's
  Terminal(int input, int output);
  Terminal(const Terminal&) = delete;
  Terminal& operator=(const Terminal&) = delete;

  /// True when a person can be asked: input and output are both terminals.
  bool canAsk() const { return canAsk_; }
  /// True when a line can be redrawn in place.
  bool canRedraw() const { return canRedraw_; }

  /// Writes the text as it stands; a redrawn line disappears before it.
  void write(const std::wstring& text);
  /// Shows `text`, cut to the width of the terminal, in place of the line drawn before. Only where a line can be
  /// redrawn.
  void redraw(const std::wstring& text);
  /// Takes the redrawn line away.
  void clearLine();

  /// Waits for a line, which comes without its line feed. One thread at a time.
  /// @return false at the end of the input, or when a signal broke the wait off
  bool readLine(std::wstring& line);
  /// Writes the prompt and waits for a line that the terminal does not show while it is typed. Only where a person can
  /// be asked.
  /// @param line  cut to the room that is reserved in it; nothing of the line is left elsewhere
  /// @return false at the end of the input too, and when the person interrupts
  bool readSecret(const std::wstring& prompt, std::wstring& line);

 private:
  std::size_t width() const;
  void clearLineLocked();

  const int input_;
  const int output_;
  const bool canAsk_;
  const bool canRedraw_;
  std::mutex mutex_;
  bool lineShown_ = false;
};

/// Standard input with standard error.
WORKSTATION_API Terminal& standardTerminal();

}  // namespace workstation
