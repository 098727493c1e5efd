// What every command is given: the options before the command, the output, and the session that it asks for.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "workstation/program/ExitCode.h"
#include "workstation/program/Output.h"

class PRJ;

namespace platform {
class IUserInterface;
}

namespace workstation {
class TerminalInterface;
class CloudStore;
struct StoreActor;
}  // namespace workstation

namespace workstation::program {

/// The options before the command. A flag beats the environment (ZEPHOR_...), the environment beats the settings file.
struct GlobalOptions {
  std::string workstation;
  std::string store;
  std::string project;
  std::string language;
  std::string interface = "auto";  ///< auto, terminal or desktop
  bool json = false;
  bool quiet = false;
  int verbosity = 0;
  bool dryRun = false;
  bool yes = false;
  bool no = false;
};

/// Ends a command early; its message has been written, or is written by the program's main function.
struct CommandFailure {
  ExitCode code = ExitCode::Failure;
  std::wstring message;
};

/// Keeps other processes of this workstation from changing the same project while it lives.
class ProjectGuard {
 public:
  explicit ProjectGuard(void* file) : file_(file) {}
  ~ProjectGuard();
  ProjectGuard(const ProjectGuard&) = delete;
  ProjectGuard& operator=(const ProjectGuard&) = delete;

 private:
  void* file_;
};

class Context {
 public:
  explicit Context(const GlobalOptions& options);
  ~Context();
  Context(const Context&) = delete;
  Context& operator=(const Context&) = delete;

  const GlobalOptions& options() const { return options_; }
  const Output& output() const { return output_; }

  /// Brings windows up instead of the terminal where they are wanted. Throws CommandFailure.
  void chooseInterface();
  /// Starts the workstation of the options. Throws CommandFailure.
  void startWorkstation();
  /// Starts the workstation, signs in to its store and starts the library's service. Throws CommandFailure
  /// (NotLoggedIn).
  void startOnline();
  /// As startOnline, with a project open: that of --project, otherwise the one that was open last. Throws
  /// CommandFailure.
  void startInProject();
  /// Signs on to the project that was opened. Throws CommandFailure.
  static void enterProject();
  /// As startInProject. @return false where there is no workstation, or no project is open on it
  bool startInProjectIfAny();
  /// Waits for its turn to change the open project on this workstation. Throws CommandFailure when another process
  /// keeps it for too long.
  ProjectGuard guardProject() const;
  /// The same without waiting. @return null when another process has it
  std::unique_ptr<ProjectGuard> tryGuardProject() const;
  /// Makes this process the one that watches the project on this workstation. @return null when another does
  std::unique_ptr<ProjectGuard> tryWatchProject() const;
  /// The store behind this workstation, after startOnline.
  CloudStore& store();
  StoreActor actor() const;
  /// Tells why the command ends: on standard error, and in a box where nobody reads that.
  void tellFailure(const std::wstring& message) const;
  /// Shows what the error log took up during this run, for a command that did not end well.
  void explain() const;
  /// How many different lines of the error log explain() would show by now.
  std::size_t errorCount() const;

 private:
  struct ErrorLines;

  /// Those that explain something to a person.
  std::vector<std::wstring> errorLines() const;

  GlobalOptions options_;
  Output output_;
  std::unique_ptr<TerminalInterface> terminal_;
  std::unique_ptr<platform::IUserInterface> desktop_;
  std::shared_ptr<ErrorLines> errorLines_;
  std::shared_ptr<CloudStore> store_;
  bool started_ = false;
  bool serviceStarted_ = false;
};

/// Wide text of an argument; an argument that is not UTF-8 ends the command with a usage failure.
std::wstring wide(const std::string& argument);

}  // namespace workstation::program
