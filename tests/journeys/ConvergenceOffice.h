// An office as a journey sees it from the outside: what every item holds on a workstation and in the store, and who
// holds what. It reads the disk and asks no command.
#pragma once

#include <map>
#include <set>
#include <stdexcept>

#include "tests/journeys/Program.h"

namespace zephor_test {

/// Something that must never happen; its text says what.
struct Fault : std::runtime_error {
  using std::runtime_error::runtime_error;
};

/// Contents of files by their names in lower case, with slashes. A drawing's content is what it wraps.
using Contents = std::map<std::string, std::string>;

struct StoreView {
  Contents contents;
  std::map<std::string, std::string> holders;  ///< user by the locked object's file
};

std::string lowerCase(std::string name);
bool isDrawing(const std::string& file);
/// Content is lines; in a drawing each is a comment.
std::string asLine(const std::string& file, const std::string& text);
std::set<std::string> linesOf(const std::string& file, const std::string& content);

/// Can be put back to its beginning, for one journey after the other. Throws Fault for a drawing that is not whole.
class ConvergenceOffice : public Office {
 public:
  explicit ConvergenceOffice(std::vector<std::string> users);
  void reset() const;
  const std::vector<std::string>& users() const { return users_; }

  StoreView storeView();
  /// Without the workstation's own files. Throws Fault for two files of one name, too.
  Contents contentsOf(const std::string& user);
  bool hasBackup(const std::string& user, const std::string& line);
  /// The file as the disk spells it; the name itself when there is none.
  std::filesystem::path placeOf(const std::string& user, const std::string& file) const;

 private:
  std::string read(const std::filesystem::path& path, bool drawing);

  std::vector<std::string> users_;
  std::map<std::string, std::filesystem::path> projects_;
  std::map<std::string, std::string> unwrapped_;  ///< what drawings wrap, by their bytes
};

}  // namespace zephor_test
