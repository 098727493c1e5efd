// Which files and directories are kept out of an operation.
#pragma once

#include <memory>

#include "host/FileTypes.h"
#include "zephor/Export.h"

namespace Quorvel::FileAccess {

/// Rules on names, asked by every walk of a directory.
///
/// A file that an include rule hits is never kept out by an exclude rule, in whatever order they were added. Names are
/// compared without regard to letter case. Paths have backslashes; a slash is a character of a name like any other.
/// Rule texts are plain texts, not wildcards; null and "" add no rule.
///
/// A filter without any rule keeps out nothing, not even a null name. With a rule, what has no name is kept out.
///
/// Filled once by its owner, then only read: the queries may be called from several threads as long as nobody adds
/// rules.
class ZEPHOR_API WGO_FileFilter {
 public:
  WGO_FileFilter();
  /// The copy has the same rules and goes its own way from there.
  WGO_FileFilter(const WGO_FileFilter& other);
  ~WGO_FileFilter();
  WGO_FileFilter& operator=(const WGO_FileFilter&) = delete;

  void ExcludeFileExact(const wchar_t* name);
  void ExcludeFileLeftMatch(const wchar_t* prefix);
  void ExcludeFileRightMatch(const wchar_t* suffix);
  /// With its point: ".bak".
  void ExcludeFileExtension(const wchar_t* extension);
  /// Files of a kind, by the host's expression for it, which has to be written in lower case. A kind without an
  /// expression adds no rule; one that can't be compiled throws the expression library's exception.
  void ExcludeFileType(const QuorvelFileType& type);
  void ExcludeDirectoryExact(const wchar_t* name);

  void IncludeFileExact(const wchar_t* name);
  void IncludeFileLeftMatch(const wchar_t* prefix);
  void IncludeFileRightMatch(const wchar_t* suffix);
  /// With its point: ".bak".
  void IncludeFileExtension(const wchar_t* extension);
  /// Also lets every file through whose path begins with this directory, see IsFileExcluded.
  void IncludeDirectoryExact(const wchar_t* name);

  /// Tests the text as it stands: of a relative path the whole of it, its beginning being what a left match and an
  /// exact one look at. A path whose first directory is included passes. True for null and "".
  bool IsFileExcluded(const wchar_t* name) const;
  /// True for null.
  bool IsDirectoryExcluded(const wchar_t* name) const;
  /// Tests the last component of a path as a file and the first one as a directory; those between are not looked at. A
  /// bare name is tested as both. True for a path that ends in a backslash.
  bool IsFileOrDirectoryExcluded(const wchar_t* path) const;

 private:
  struct MemberData;

  // These take expressions as they stand.
  void ExcludeFile(const wchar_t* expression);
  void IncludeFile(const wchar_t* expression);
  void ExcludeDirectory(const wchar_t* expression);
  void IncludeDirectory(const wchar_t* expression);
  /// Made by the first rule.
  MemberData& Data() const;

  mutable std::unique_ptr<MemberData> data_;
};

}  // namespace Quorvel::FileAccess
