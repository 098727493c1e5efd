// One changed file of a cloud project on its way to the store.
#pragma once

#include <string>

#include "host/Project.h"

namespace Quorvel::FileAccess {

/// A value of its own: the project may be closed while a thread still works on its file.
struct BackgroundFile {
  PRJ project;
  std::wstring projectDirectory;   ///< without a backslash at its end
  std::wstring relativeDirectory;  ///< with a backslash at its end, or empty
  std::wstring name;

  std::wstring relativePath() const { return relativeDirectory + name; }
  std::wstring path() const { return projectDirectory + L'\\' + relativePath(); }
  /// The same for every way to write the path.
  std::wstring key() const;
};

/// True when `path` is something below `directory`.
bool liesBelow(const std::wstring& path, const std::wstring& directory);

/// Gives a change that did not reach the store to the host for its next synchronisation, which knows the open project
/// only: that of another one stands in the log.
void leaveToSynchronisation(const BackgroundFile& file, unsigned long action);

}  // namespace Quorvel::FileAccess
