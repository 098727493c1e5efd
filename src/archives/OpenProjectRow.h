// The row that the open project's database keeps of a Teilbild.
#pragma once

#include <string>

#include "host/Records.h"

namespace Quorvel::FileAccess {

/// Writes the row of a Teilbild whose file lies in the open project's directory. The database knows objects by number
/// alone, so a file of another project, or a copy in a folder, would overwrite the row of an object that it is not, and
/// that object's next upload would go with the wrong header.
/// @param path  of the file; directories are compared as they are on the disk, letter case ignored
void storeOpenProjectRow(const std::wstring& path, int number, const TeilbildHeader& record);

}  // namespace Quorvel::FileAccess
