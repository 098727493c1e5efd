// The content of an entry, wherever it lies: in the archive that was opened, in memory, in a file. Internal to the
// toolkit.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "toolkit/ZipReader.h"

namespace Quorvel::FileAccess {

class ZipContent {
 public:
  /// @param reader  of the archive that was opened; null without one
  explicit ZipContent(ZipReader* reader) : reader_(reader) {}

  /// Why the content can't be read or is none of a file, as far as the archive's claims tell; empty when nothing is
  /// wrong.
  std::wstring refusal(const ZipEntry& entry) const;
  std::uint64_t size(const ZipEntry& entry) const;
  /// Bytes that the entry takes of the archive that was opened.
  std::uint64_t storedSize(const ZipEntry& entry) const;
  /// Last write; 0 when it is not known.
  FILETIME time(const ZipEntry& entry) const;
  /// @return the reason on a failure
  std::wstring read(const ZipEntry& entry, CkByteData& out) const;
  /// Content of more than kStreamedFrom bytes comes in pieces.
  std::wstring read(const ZipEntry& entry, const ZipSink& sink) const;

 private:
  ZipReader* reader_;
};

}  // namespace Quorvel::FileAccess
