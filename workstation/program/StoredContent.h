// What the store has of files, asked directly.
#pragma once

#include <string>
#include <vector>

namespace workstation::program {

/// True when the store's file of this name in the open project has the content of the file here, by its SHA-256. Reads
/// the whole file. False also when one of them can't be read.
bool isContentStored(const std::wstring& fileName);

/// Those of some names (in lower case, sorted) that the store has in the open project, as it spells them.
std::vector<std::wstring> storedNames(const std::vector<std::wstring>& names);

/// "saved meanwhile by Anna Berg at 21.11.2026 18:04:05 UTC": the last that happened to a file in the store.
std::wstring lastSaveOf(const std::wstring& fileName);

}  // namespace workstation::program
