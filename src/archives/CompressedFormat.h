// Layout of a compressed Teilbild: fixed header, the Teilbild's record, the two leading sections of the uncompressed
// file, and a zip archive that holds that file as its one entry. Pure: bytes in, verdict out. Little endian.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>

#include "host/Records.h"

namespace Quorvel::FileAccess {

constexpr std::size_t kCompressedHeaderSize = 48;
constexpr std::size_t kPlainSectionsPosition = kCompressedHeaderSize + sizeof(TeilbildHeader);

/// The fixed header as it stands in a file.
using CompressedHeaderBytes = std::array<std::uint8_t, kCompressedHeaderSize>;

/// What the fixed header tells; every position follows from the two sizes.
struct CompressedHeader {
  std::array<std::uint8_t, 8> programVersion{};  ///< the host's, unchanged
  std::int64_t uncompressedSize = 0;             ///< bytes
  std::size_t headSize = 0;                      ///< bytes of the uncompressed file's head section
  std::size_t tablesSize = 0;                    ///< bytes of its tables section

  std::size_t recordPosition() const { return kCompressedHeaderSize; }
  std::size_t headPosition() const { return kPlainSectionsPosition; }
  std::size_t tablesPosition() const { return headPosition() + headSize; }
  std::size_t archivePosition() const { return tablesPosition() + tablesSize; }
};

/// Whether the 16-bit fields of the format hold the positions and sizes.
bool fitsCompressedFormat(const CompressedHeader& header);
/// @param header  one that fits the format
CompressedHeaderBytes encodeCompressedHeader(const CompressedHeader& header);

/// The only mark of a compressed file; its name tells nothing.
bool hasCompressedMagic(const CompressedHeaderBytes& bytes);
/// The field as it stands, also of a file that is none of the format.
std::int64_t uncompressedSizeOf(const CompressedHeaderBytes& bytes);

/// Reads a header whose magic was found, and checks every field that the reading of the file relies on.
/// @param fileSize  bytes; the archive has to begin before it
/// @param problem   place and what was expected, when the answer is false
bool decodeCompressedHeader(const CompressedHeaderBytes& bytes, std::uint64_t fileSize, CompressedHeader& out,
                            std::wstring& problem);

}  // namespace Quorvel::FileAccess
