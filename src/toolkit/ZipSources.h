// What libzip reads and writes through: an archive where it lies, and the content of one appended entry. Internal to
// the toolkit.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "toolkit/ZipEntries.h"
#include "toolkit/ZipLibrary.h"
#include "toolkit/ZipMeter.h"
#include "toolkit/ZipReady.h"
#include "toolkit/ZipStorage.h"

namespace Quorvel::FileAccess {

class ZipAhead;

/// A part of a database, as it was when it was read.
struct WatchedFile {
  std::wstring path;
  FileState state;
  bool isDatabase = false;
};

/// What the sources of one operation share. Outlives them.
struct ZipRun {
  ZipMeter* meter = nullptr;  ///< null for none
  int level = 6;
  ZipAhead* ahead = nullptr;         ///< null unless something is written
  std::vector<WatchedFile> watched;  ///< are looked at again before the archive takes its place
  std::wstring failure;              ///< the first, in words; libzip keeps a number of it at best
};

/// @param input   null for an archive that is new. Outlives the source, as `output` does
/// @param output  null for an archive that is only read
/// @return null when there is no memory
ZipSourceHandle makeArchiveSource(IZipInput* input, IZipOutput* output, ZipRun& run);

/// Adds an entry of data or a file. Its content is read and compressed by the time that libzip asks for it, and dropped
/// behind that; content of more than kStreamedFrom bytes in a file goes through libzip's own deflate in pieces.
/// @return the reason when libzip refuses
std::wstring addContent(zip_t* archive, const ZipEntry& entry, const char* name, ZipRun& run);

}  // namespace Quorvel::FileAccess
