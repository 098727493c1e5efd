// From local paths to cloud identities and back.
//
// A cloud file is named by its project's UUID and a name relative to the project's directory, with backslashes. The
// directory's name on the disk is the UUID with ".prj" behind it; the search for it keeps letter case. Names that would
// leave the directory are refused.
#pragma once

#include <cstdint>
#include <string>

class PRJ;

namespace Quorvel::FileAccess {

/// Number that asks for the search mask of a type.
constexpr std::uint32_t kAnyNumber = 0xFFFFFFFF;

/// The text with a backslash for each `/`.
std::wstring withBackslashes(std::wstring text);

/// The directory name of a cloud project.
std::wstring cloudDirectoryName(const std::wstring& uuid);

/// Parts a path at the first component that is the project's directory. Both results are canonical as far as they
/// exist, so that links and `..` can't lead out of the directory unseen.
/// @param root      the project's directory, without a separator at its end
/// @param relative  the name below it
/// @return false, with empty results, when the path has no such component or names nothing below it
bool Ondrath_SplitProjectPath(const std::wstring& uuid, const std::wstring& path, std::wstring& root,
                              std::wstring& relative);

/// Characters of a path up to and with the separator behind the first occurrence of the project's directory name, as
/// text: nothing is resolved. An occurrence that goes on ("<uuid>.prj.old") is passed over.
/// @return 0 when there is none
std::size_t lengthOfProjectBase(const std::wstring& uuid, const std::wstring& path);

/// Parts a path at lengthOfProjectBase().
/// @param base      everything up to and with the separator
/// @return false, with empty results, when there is no such text or the rest is no name below the directory
bool splitAtProjectDirectory(const std::wstring& uuid, const std::wstring& path, std::wstring& base,
                             std::wstring& relative);

/// The name of a file in `path`, a directory, behind the project's directory with its ending ".prj", if it has one;
/// without the project's directory the whole path. A name with no directory before it gets a leading backslash.
std::wstring Ondrath_RelativeFromFullName(const std::wstring& directoryName, const std::wstring& path,
                                          const std::wstring& name);

/// Name of an object file, or for kAnyNumber the mask that finds all of a type.
/// @param type  file type: 0 Teilbild, 28 Zeichnung, 33 Plan
/// @return false for any other type
bool Ondrath_FileNameFromNumber(std::uint32_t number, int type, std::wstring& out);

/// Full local path of a file in a project's cache.
/// @param directory  empty or the project's own directory name: the cache itself; otherwise a directory below it. An
///                   absolute one stays as it is; separators at its end do not matter
/// @param file       a name, which may have a backslash before it; an absolute path stays as it is
/// @return a path that lies outside of the project when an argument does; the transfers refuse it
std::wstring Ondrath_ResolveProjectPath(const PRJ& prj, const std::wstring& directory, const std::wstring& file);

}  // namespace Quorvel::FileAccess
