// Which names a project's directory can have.
#pragma once

#include <string>

#include "host/Project.h"
#include "platform/Paths.h"

namespace Quorvel::FileAccess {

/// True for the name of one directory, without its ".prj", that a descriptor holds and every workstation can make.
inline bool isProjectName(const std::wstring& name) {
  return !name.empty() && name.size() < std::size(PRJ().directoryName) &&
         name.find_first_of(L"\\/") == std::wstring::npos && platform::isSafeRelativeName(name + L".prj");
}

}  // namespace Quorvel::FileAccess
