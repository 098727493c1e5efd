// Work that an interrupt ends at any point, and that leaves nothing half-done when it does.
#pragma once

#include <functional>
#include <string>

#include "workstation/program/ExitCode.h"

namespace workstation::program {

class Context;

/// What a work that was killed has left, as far as it was told before. Paths are those of the system.
class WorkPlaces {
 public:
  explicit WorkPlaces(std::string scratch) : scratch_(std::move(scratch)) {}

  /// A directory for temporary files that goes with the run.
  const std::string& scratch() const { return scratch_; }
  /// From now on, what comes into `directory` under a name that begins with `prefix` and ends in ".tmp" is the work's;
  /// other runs on this machine that announce the same directory wait until this process ends, and say so. One that is
  /// not there goes again while it is empty.
  /// @return true when no other run is at work there: what has such a name is a killed one's
  bool announce(const Context& context, const std::string& directory, const std::string& prefix) const;
  /// Removes what is left. In the process that outlives the work.
  void clean() const;

 private:
  std::string scratch_;
};

/// Runs the work in a process of its own, which is killed by SIGINT, SIGTERM and SIGHUP. To be called before the
/// workstation is started, while this process has one thread.
/// @param whenEnded  what a person is told after an interrupt
/// @return the work's answer, or 130 after an interrupt
ExitCode runInterruptible(const Context& context, const std::wstring& whenEnded,
                          const std::function<ExitCode(const WorkPlaces&)>& work);

}  // namespace workstation::program
