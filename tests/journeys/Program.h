// Running `zephor` in processes of their own: a store, workstations by their users' names, and what each call answered.
#pragma once

#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace zephor_test {

/// What a run of the program answered.
struct ProgramRun {
  int exitCode = -1;
  std::string out;
  std::string err;
};

/// A program that goes on beside the test. Killed at the end, if it has not ended.
class RunningProgram {
 public:
  RunningProgram(int pid, int out, int err);
  ~RunningProgram();
  RunningProgram(const RunningProgram&) = delete;
  RunningProgram& operator=(const RunningProgram&) = delete;

  /// Waits until a condition holds for what it has written. @return false after a minute
  bool waitUntil(const std::function<bool(const ProgramRun& soFar)>& isTrue);
  /// Until stdout, or stderr, has a text.
  bool waitFor(const std::string& text);
  /// What it has written by now.
  const ProgramRun& soFar();
  void signal(int number) const;
  /// Waits for its end.
  /// @param killAfter  milliseconds without a word until it is killed; -1: never
  ProgramRun end(int killAfter = -1);

 private:
  bool read(int limit);

  int pid_;
  int out_;
  int err_;
  ProgramRun run_;
};

/// A temporary directory with a store and workstations, removed at the end.
class Office {
 public:
  Office();
  ~Office();
  Office(const Office&) = delete;
  Office& operator=(const Office&) = delete;

  /// A store, and workstations of these users in a team with an open project "Library"; the first one owns it.
  void found(const std::vector<std::string>& users);
  /// @param killAfter  milliseconds until the program is killed; -1: it runs to its end
  ProgramRun run(const std::string& user, const std::vector<std::string>& arguments, int killAfter = -1) const;
  std::unique_ptr<RunningProgram> start(const std::string& user, const std::vector<std::string>& arguments) const;
  /// As run; a test failure when the exit code is not 0.
  std::string must(const std::string& user, const std::vector<std::string>& arguments) const;

  /// Makes tb1 of a content, locks it and saves it.
  void share(const std::string& user, const std::string& content) const;
  /// Content of an object on a user's workstation.
  std::string exported(const std::string& user, const std::string& object) const;

  std::filesystem::path path(const std::string& name) const { return directory_ / name; }
  std::filesystem::path store() const { return directory_ / "store"; }
  /// Directory of the one project on a user's workstation.
  std::filesystem::path project(const std::string& user) const;
  std::filesystem::path writeFile(const std::string& name, const std::string& content) const;

 private:
  std::filesystem::path directory_;
  std::vector<std::string> environment_;  // as it was, for the next test of this process
};

std::string contentOf(const std::filesystem::path& file);
/// Relative names of what is below a directory with the files' contents.
std::map<std::string, std::string> treeOf(const std::filesystem::path& root);

}  // namespace zephor_test
