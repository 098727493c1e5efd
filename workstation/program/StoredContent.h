// Comparing the bytes of a file with what the store has.
#pragma once

#include <string>

namespace workstation::program {

/// True when the store's file of this name in the open project has the content of the file here, by its SHA-256. Reads
/// the whole file. False also when one of them can't be read.
bool isContentStored(const std::wstring& fileName);

}  // namespace workstation::program
