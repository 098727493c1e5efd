// Layout of an uncompressed object file: head, tables, header record, content, one behind the other. Pure: buffers in,
// verdict out.
//
//   head      128 bytes: magic, format version, kind, positions, sizes and checksums of the sections, own checksum
//   tables    what the content holds: one entry per wrapped file, with its full name
//   record    the header record of the kind
//   content   the wrapped file, byte for byte, to the end of the file
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "host/FileTypes.h"
#include "workstation/Export.h"

namespace workstation {

constexpr std::size_t kHeadSize = 128;
/// Largest tables section that is written or accepted; a compressed file's 16-bit positions need it small.
constexpr std::uint32_t kTablesLimit = 4096;

struct ObjectLayout {
  QuorvelFileType type = eFileType_Unknown;
  std::uint32_t tablesSize = 0;
  std::uint32_t tablesCrc = 0;
  std::uint32_t recordCrc = 0;
  std::uint64_t contentSize = 0;
  std::uint32_t contentCrc = 0;

  std::uint64_t tablesPosition() const { return kHeadSize; }
  std::uint64_t recordPosition() const { return tablesPosition() + tablesSize; }
  std::uint64_t contentPosition() const;
  std::uint64_t fileSize() const { return contentPosition() + contentSize; }
};

WORKSTATION_API std::array<std::uint8_t, kHeadSize> encodeHead(const ObjectLayout& layout);

/// Reads and checks a head by itself; the sections need not be in the buffer.
/// @param problem  place and what was expected, when the answer is false
WORKSTATION_API bool decodeHead(const std::uint8_t* buffer, std::size_t size, ObjectLayout& out, std::wstring& problem);

/// A wrapped file as the tables name it.
struct ContentEntry {
  std::uint64_t position = 0;  ///< from the start of the content
  std::uint64_t size = 0;
  std::uint32_t crc = 0;
  std::wstring name;
};

/// @return an empty image when the entries don't fit kTablesLimit
WORKSTATION_API std::vector<std::uint8_t> encodeTables(const std::vector<ContentEntry>& entries);
WORKSTATION_API bool decodeTables(const std::uint8_t* buffer, std::size_t size, std::uint64_t contentSize,
                                  std::vector<ContentEntry>& out, std::wstring& problem);

WORKSTATION_API std::uint32_t crc32Of(const void* data, std::size_t size, std::uint32_t start = 0);

}  // namespace workstation
