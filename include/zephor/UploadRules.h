// The rules behind the upload filters as data: for a program that tells its user which rule keeps a file here.
//
// The builders of zephor/UploadFilters.h make their filters from these same lists.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "host/FileTypes.h"
#include "zephor/Export.h"

namespace Quorvel::FileAccess {

class WGO_FileFilter;

enum class UploadRuleKind : std::uint8_t { Extension, ExactFile, LeftMatch, FileType, Directory };

/// One rule, and from where it comes.
struct UploadRule {
  UploadRuleKind kind = UploadRuleKind::ExactFile;
  bool include = false;  ///< lets names through instead of keeping them out
  std::wstring text;     ///< as it was written; empty for FileType
  QuorvelFileType type = eFileType_Unknown;
  std::wstring origin;  ///< a table of the program by name, or the full path of the user's file
  int line = 0;         ///< in the user's file, from 1; 0 for a table
};

/// What a filter is made for.
enum class UploadRoad : std::uint8_t {
  Directory,        ///< upload of the project's directory, without what travels by roads of its own
  AllProjectFiles,  ///< the same with all of the project's files
  ProjectCopy,      ///< copy of the whole project to a server
  Synchronisation,  ///< what holds in every mode of the project's synchronisation
};

/// Rules of the open project in the order in which a filter takes them. Reads the user's sync filter file; unlike the
/// builders it makes none where there is none, as asking changes nothing.
ZEPHOR_API std::vector<UploadRule> WGO_describeUploadRules(UploadRoad road);
ZEPHOR_API void WGO_addUploadRule(const UploadRule& rule, WGO_FileFilter& filter);
/// The rule that decides on one name: the first include rule that hits it, otherwise the first exclude rule.
/// @param name         without a directory
/// @param isDirectory  asks the rules on directories instead of those on files
/// @return null when no rule hits: the name passes
ZEPHOR_API const UploadRule* WGO_findDecidingRule(const std::vector<UploadRule>& rules, const std::wstring& name,
                                                  bool isDirectory);

/// True for the line by which a user turns a project's synchronisation off.
inline bool turnsSynchronisationOff(const UploadRule& rule) {
  return !rule.include && rule.line > 0 && rule.kind == UploadRuleKind::Directory && rule.text == L"/";
}

}  // namespace Quorvel::FileAccess
