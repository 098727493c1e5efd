// What the program's exit codes mean. They are part of its interface and documented in its manual page.
#pragma once

namespace workstation::program {

enum class ExitCode : int {
  Done = 0,
  Failure = 1,
  Usage = 2,
  PartlyDone = 3,
  LockedByOther = 4,
  NotLoggedIn = 5,
};

/// Counts how the items of a command ended and gives its exit code: all well, all locked, or a mixture.
class Tally {
 public:
  void done() { ++done_; }
  void failed() { ++failed_; }
  void locked() { ++locked_; }
  int doneCount() const { return done_; }
  int failedCount() const { return failed_ + locked_; }

  ExitCode exitCode() const {
    if (failed_ + locked_ == 0) return ExitCode::Done;
    if (done_ > 0) return ExitCode::PartlyDone;
    return failed_ == 0 ? ExitCode::LockedByOther : ExitCode::Failure;
  }

 private:
  int done_ = 0;
  int failed_ = 0;
  int locked_ = 0;
};

}  // namespace workstation::program
