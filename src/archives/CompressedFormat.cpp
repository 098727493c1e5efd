#include "archives/CompressedFormat.h"

#include <algorithm>
#include <bit>

#include "platform/Text.h"

namespace Quorvel::FileAccess {
namespace {

constexpr std::array<std::uint8_t, 4> kMagic{'Q', 'V', 'P', 'K'};
constexpr std::uint8_t kFormatNumber = 1;
constexpr std::size_t kHighestField = 0xFFFF;

// The record is copied as it lies in memory.
static_assert(std::endian::native == std::endian::little);

namespace offset {
constexpr std::size_t kFormat = 4;
constexpr std::size_t kProgramVersion = 16;
constexpr std::size_t kUncompressedSize = 24;
constexpr std::size_t kHeaderSize = 32;
constexpr std::size_t kRecordPosition = 34;
constexpr std::size_t kRecordSize = 36;
constexpr std::size_t kHeadPosition = 38;
constexpr std::size_t kHeadSize = 40;
constexpr std::size_t kTablesPosition = 42;
constexpr std::size_t kTablesSize = 44;
constexpr std::size_t kArchivePosition = 46;
}  // namespace offset

std::uint64_t get(const CompressedHeaderBytes& bytes, std::size_t position, std::size_t size) {
  std::uint64_t value = 0;
  for (std::size_t byte = size; byte-- > 0;) value = (value << 8U) | bytes.at(position + byte);
  return value;
}

void put(CompressedHeaderBytes& bytes, std::size_t position, std::size_t size, std::uint64_t value) {
  for (std::size_t byte = 0; byte < size; ++byte, value >>= 8U) {
    bytes.at(position + byte) = static_cast<std::uint8_t>(value & 0xFFU);
  }
}

/// A 16-bit field and the value that it has in a header.
struct Field {
  std::size_t position;
  std::size_t value;
  const wchar_t* name;
};

std::array<Field, 8> fieldsOf(const CompressedHeader& header) {
  return {{{offset::kHeaderSize, kCompressedHeaderSize, L"header size"},
           {offset::kRecordPosition, header.recordPosition(), L"record position"},
           {offset::kRecordSize, sizeof(TeilbildHeader), L"record size"},
           {offset::kHeadPosition, header.headPosition(), L"head section position"},
           {offset::kHeadSize, header.headSize, L"head section size"},
           {offset::kTablesPosition, header.tablesPosition(), L"tables section position"},
           {offset::kTablesSize, header.tablesSize, L"tables section size"},
           {offset::kArchivePosition, header.archivePosition(), L"archive position"}}};
}

}  // namespace

bool fitsCompressedFormat(const CompressedHeader& header) {
  // The archive's position is the largest of the fields.
  return header.headSize <= kHighestField && header.tablesSize <= kHighestField &&
         header.archivePosition() <= kHighestField;
}

CompressedHeaderBytes encodeCompressedHeader(const CompressedHeader& header) {
  CompressedHeaderBytes bytes{};
  std::copy(kMagic.begin(), kMagic.end(), bytes.begin());
  bytes[offset::kFormat] = kFormatNumber;
  std::copy(header.programVersion.begin(), header.programVersion.end(), bytes.begin() + offset::kProgramVersion);
  put(bytes, offset::kUncompressedSize, 8, static_cast<std::uint64_t>(header.uncompressedSize));
  for (const Field& field : fieldsOf(header)) put(bytes, field.position, 2, field.value);
  return bytes;
}

bool hasCompressedMagic(const CompressedHeaderBytes& bytes) {
  return std::equal(kMagic.begin(), kMagic.end(), bytes.begin());
}

std::int64_t uncompressedSizeOf(const CompressedHeaderBytes& bytes) {
  return static_cast<std::int64_t>(get(bytes, offset::kUncompressedSize, 8));
}

bool decodeCompressedHeader(const CompressedHeaderBytes& bytes, std::uint64_t fileSize, CompressedHeader& out,
                            std::wstring& problem) {
  const auto refuse = [&problem](std::size_t position, const wchar_t* name, long long value, long long expected) {
    problem =
        platform::formatWide(L"offset %d: %s %lld, expected %lld", static_cast<int>(position), name, value, expected);
    return false;
  };
  if (bytes[offset::kFormat] != kFormatNumber) {
    return refuse(offset::kFormat, L"format number", bytes[offset::kFormat], kFormatNumber);
  }
  CompressedHeader header;
  std::copy_n(bytes.begin() + offset::kProgramVersion, header.programVersion.size(), header.programVersion.begin());
  header.uncompressedSize = uncompressedSizeOf(bytes);
  header.headSize = static_cast<std::size_t>(get(bytes, offset::kHeadSize, 2));
  header.tablesSize = static_cast<std::size_t>(get(bytes, offset::kTablesSize, 2));
  for (const Field& field : fieldsOf(header)) {
    const std::uint64_t found = get(bytes, field.position, 2);
    if (found != field.value) {
      return refuse(field.position, field.name, static_cast<long long>(found), static_cast<long long>(field.value));
    }
  }
  if (header.uncompressedSize < 0) {
    problem = platform::formatWide(L"offset %d: uncompressed size %lld, expected 0 or more",
                                   static_cast<int>(offset::kUncompressedSize),
                                   static_cast<long long>(header.uncompressedSize));
    return false;
  }
  if (header.archivePosition() >= fileSize) {
    problem = platform::formatWide(L"offset %d: archive position %lld, expected one within the file's %llu bytes",
                                   static_cast<int>(offset::kArchivePosition),
                                   static_cast<long long>(header.archivePosition()),
                                   static_cast<unsigned long long>(fileSize));
    return false;
  }
  out = header;
  return true;
}

}  // namespace Quorvel::FileAccess
