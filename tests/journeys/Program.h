// Running `zephor` in processes of their own: a store, workstations by their users' names, and what each call answered.
#pragma once

#include <filesystem>
#include <map>
#include <string>
#include <vector>

namespace zephor_test {

/// What a run of the program answered.
struct ProgramRun {
  int exitCode = -1;
  std::string out;
  std::string err;
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
};

std::string contentOf(const std::filesystem::path& file);
/// Relative names of what is below a directory with the files' contents.
std::map<std::string, std::string> treeOf(const std::filesystem::path& root);

}  // namespace zephor_test
