// The user interface of the program: boxes and progress on the terminal.
#pragma once

#include <atomic>
#include <chrono>
#include <memory>
#include <mutex>
#include <string>

#include "platform/UserInterface.h"
#include "workstation/Export.h"

namespace workstation {

class Terminal;

struct TerminalOptions {
  /// Answer every question without asking: with Yes, Retry or OK, or with the denying answer. Denying wins over both.
  bool assumeYes = false;
  bool assumeNo = false;
  /// Shows no progress and no status; boxes are printed all the same.
  bool quiet = false;
  /// Shows the details of every box below it; otherwise they are shown to a person who asks for help.
  bool details = false;
};

/// Prints the text of every box. A question is put when a person sits at the terminal; otherwise it gets its denying
/// answer, and so it does when the input ends. Agreeing without asking has an end: a question that comes back unchanged
/// after three such answers is denied, or a server that is down would be tried for ever.
///
/// Outlives the progress windows that it makes.
class WORKSTATION_API TerminalInterface final : public platform::IUserInterface {
 public:
  /// @param terminal  outlives the interface; the program gives standardTerminal()
  TerminalInterface(Terminal& terminal, const TerminalOptions& options);
  ~TerminalInterface() override;

  int messageBox(const platform::MessageBoxRequest& request) override;
  /// The name is typed as a path, from the directory of the process on.
  std::wstring askFileName(const platform::FileNameRequest& request) override;
  /// Asks for one control after the other; the end of the input cancels.
  int showDialog(platform::Dialog& dialog) override;
  /// On a terminal one line that is redrawn at most ten times a second, elsewhere a line at most every five seconds.
  std::unique_ptr<platform::IProgressWindow> createProgressWindow(const std::wstring& title, int width,
                                                                  int height) override;
  int pixelDensity() const override { return 0; }
  void setBusyCursor(bool busy) override;
  int open(const std::wstring& target) override;

  /// Shows what is going on, for setDisplayInfoListener(); an empty text takes it away.
  void showStatus(const std::wstring& text);

 private:
  friend class TerminalProgress;

  int answerOf(const platform::MessageBoxRequest& request);
  int ask(const platform::MessageBoxRequest& request);
  int askUntilUnderstood(const platform::MessageBoxRequest& request);
  bool isTicked(const platform::MessageBoxRequest& request);
  bool isPersonThere() const;
  /// @return false, once the person was told, when nobody can be asked
  bool isPersonThereFor(const std::wstring& question);
  int answerWithoutAsking(const platform::MessageBoxRequest& request);
  /// Draws a progress or status line unless a question stands on the terminal.
  void draw(const std::wstring& text);

  Terminal& terminal_;
  const TerminalOptions options_;
  std::mutex questions_;  ///< held while a box is up, so that one question stands at a time
  std::atomic<bool> asking_{false};
  std::wstring lastAgreed_;
  int timesAgreed_ = 0;
  std::mutex statusMutex_;
  std::chrono::steady_clock::time_point statusDrawn_;
};

}  // namespace workstation
