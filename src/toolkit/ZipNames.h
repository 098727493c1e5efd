// Names of entries: how they are written, and which of them a directory takes. Pure. Internal to the toolkit.
#pragma once

#include <string>
#include <unordered_set>

namespace Quorvel::FileAccess {

/// A name as it stands in an archive: backslashes become slashes.
std::wstring storedName(const wchar_t* name);

/// Why a name can't go below a directory that every workstation can hold; empty when it can. A directory's name ends
/// with a slash.
std::wstring nameRefusal(const std::wstring& name);

/// Finds entries that would be one file: equal without regard to case, or a file where another has a directory.
class ZipNameClashes {
 public:
  /// @return the reason when the name clashes with one before
  std::wstring add(const std::wstring& name);

 private:
  std::unordered_set<std::wstring> entries_;
  std::unordered_set<std::wstring> files_;
  std::unordered_set<std::wstring> directories_;
};

}  // namespace Quorvel::FileAccess
