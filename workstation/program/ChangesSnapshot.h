// What changed in the open project's directory since a state that this workstation keeps: the base. Looking does not
// move it, taking over does.
//
//   const ProjectLook look = lookAtProject();
//   ...send look.changes, collect what went...
//   acceptSettled(look, wasSent);
//
// The base is a table of the project's record in the workstation's state (see SyncBase). Losing it loses no work: the
// next look is then a first one again.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "zephor/DirectoryChanges.h"
#include "zephor/UploadFilters.h"

namespace workstation::program {

struct ProjectLook {
  std::wstring projectUuid;
  std::wstring directory;  ///< of the project, without a backslash at its end
  /// Nothing was kept yet, so there is nothing to compare with: `changes` is empty.
  bool isFirst = false;
  std::size_t keptCount = 0;  ///< files of the base, and others that were in step with the store once
  /// Every file that an upload of the project takes, as it is now.
  Quorvel::FileAccess::DirectorySnapshot now;
  /// By full path: changed, deleted, created. What the filter has come to keep out since does not count as deleted.
  std::vector<Quorvel::FileAccess::WGO_FileCompareInfo> changes;
  /// Were in step with the store once, are not here, and are none of `changes`; in lower case, sorted.
  std::vector<std::wstring> missing;
};

/// Looks at the open project with the filter of an upload and compares with the base.
///
/// Throws CommandFailure when a directory or the base can't be read: what was not seen must not count as deleted.
ProjectLook lookAtProject();

/// Whether an upload passes over a file, by the name of any directory that it is in or by its own.
/// @param name  relative to the project
bool isKeptOut(const Quorvel::FileAccess::WGO_FileFilter& filter, const std::wstring& name);

/// The name of a file relative to the project.
std::wstring nameInProject(const ProjectLook& look, const std::wstring& fullPath);

/// Takes over the state that was seen, whole or not at all. A file that changed since the look is told by the next one.
/// Throws CommandFailure when it can't be written; the base is then what it was.
void acceptLook(const ProjectLook& look);
/// Takes over these files of the look alone; the others are told again.
/// @param isSettled  asked with the name in the project
void acceptSettled(ProjectLook look, const std::function<bool(const std::wstring& name)>& isSettled);

/// True when hardly a file of those that were known is left and few others are there. A directory that was moved away,
/// or is not mounted, is made anew by opening the project and looks as if all had been deleted.
bool looksLost(const ProjectLook& look);

}  // namespace workstation::program
