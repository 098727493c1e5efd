// Files of a project as the arguments of `get` and `put` name them: a name, a pattern or a directory, relative to the
// project. Pure.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace workstation::program {

class ProjectFileArgument {
 public:
  /// Reads a text with either slash. One that ends with a slash means the directory with all below it.
  /// @param recursive  as if it ended with a slash, too
  ProjectFileArgument(std::wstring_view text, bool recursive);

  /// False for a name that can't lie below a project's directory.
  bool isValid() const;
  /// Names one file that need not be there: neither a pattern nor surely a directory.
  bool isName() const { return !isPattern_ && !isDirectory_; }
  const std::wstring& name() const { return name_; }
  /// Without regard to letter case. `*` is any text and `?` any character of one component.
  bool matches(const std::wstring& fileName) const;

 private:
  std::wstring name_;  ///< with backslashes, without one at its end
  std::vector<std::wstring> parts_;
  bool isPattern_ = false;
  bool isDirectory_ = false;
  bool isRecursive_ = false;
};

}  // namespace workstation::program
