// Compressing and expanding a Teilbild file in place, so that neither a failure nor a crash loses what was there.
#pragma once

#include <cstdint>
#include <string>

namespace workstation::program {

enum class Packing : std::uint8_t { Compressed, Expanded };

/// How the repacking of one file ended.
struct Repacked {
  bool changed = false;      ///< it is now as wanted and was not before; false with an empty problem: it was already
  std::uint64_t before = 0;  ///< bytes
  std::uint64_t after = 0;   ///< bytes; 0 in a dry run
  std::wstring problem;      ///< without the file's name
};

/// Makes a file compressed or expanded. The library works on a copy, which is checked whole and then
/// takes the file's place in one step. Any thread; one file by one thread.
/// @param dryRun  only looks whether there is something to do and whether the file can be read
Repacked repack(const std::wstring& path, Packing wanted, bool dryRun);

}  // namespace workstation::program
