// What a journey sees of an office from the outside: the content of every item on a workstation and in the store, and
// who holds what. It reads the disk, and asks no command.
#pragma once

#include <map>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

#include "tests/journeys/Program.h"

namespace zephor_test {

/// Something that must never happen; its text says what.
struct Fault : std::runtime_error {
  using std::runtime_error::runtime_error;
};

/// The lines of an item's content. Of a drawing these are its comments.
using Lines = std::set<std::string>;
/// By the file's name in lower case, with slashes.
using Contents = std::map<std::string, std::string>;

struct StoreView {
  Contents contents;
  std::map<std::string, std::string> holders;  ///< user by file name
};

bool isDrawing(const std::string& name);
Lines linesOf(const std::string& name, const std::string& content);
/// The content with one more line.
std::string withLine(const std::string& name, const std::string& content, const std::string& line);
std::string lowerCase(std::string name);

/// An office that can be put back to its beginning, for one journey after the other.
class ConvergenceOffice : public Office {
 public:
  explicit ConvergenceOffice(std::vector<std::string> users);
  void reset();
  const std::vector<std::string>& users() const { return users_; }

  StoreView storeView();
  /// What a project's directory holds, without the workstation's own files. Throws Fault for a drawing that is not
  /// whole and for two files of one name.
  Contents contentsOf(const std::string& user);
  /// What is written on the disk for a name in lower case; the name itself when there is nothing.
  std::filesystem::path placeOf(const std::string& user, const std::string& name) const;
  /// Whether a line lies in a backup copy on a workstation.
  bool hasBackup(const std::string& user, const std::string& line);

 private:
  std::string read(const std::filesystem::path& file, bool drawing);

  std::vector<std::string> users_;
  std::map<std::string, std::filesystem::path> projects_;
  std::map<std::string, std::string> unwrapped_;  ///< content of a drawing by its file's bytes
};

}  // namespace zephor_test
