// An archive as its entries say, written whole. Internal to the toolkit.
#pragma once

#include "toolkit/ZipReader.h"

namespace Quorvel::FileAccess {

/// Writes the archive and commits the output. Entries of the archive that was opened go over byte for byte.
///
/// @param reader  of the archive that was opened; null for a new one. Reads on afterwards
/// @param run     level and meter
/// @return the reason on a failure; the output is then rolled back
std::wstring writeArchive(const ZipEntries& entries, ZipReader* reader, IZipOutput& output, ZipRun& run);

}  // namespace Quorvel::FileAccess
