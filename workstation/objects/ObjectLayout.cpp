#include "workstation/objects/ObjectLayout.h"

#include <zlib.h>

#include <cstring>

#include "platform/Text.h"
#include "workstation/objects/ByteCodec.h"
#include "workstation/objects/ObjectNames.h"
#include "workstation/objects/ObjectRecord.h"

namespace workstation {
namespace {

// The line ends in the magic show a transfer that treated the file as text.
constexpr std::uint8_t kMagic[8] = {'Q', 'V', 'O', 'B', 0x0D, 0x0A, 0x1A, 0x0A};
constexpr std::uint8_t kTablesMagic[4] = {'Q', 'V', 'T', 'B'};
constexpr std::uint16_t kFormatVersion = 1;
constexpr std::uint16_t kTablesVersion = 1;

namespace head {
constexpr std::size_t kVersion = 8;
constexpr std::size_t kKind = 10;
constexpr std::size_t kHeadSizeField = 12;
constexpr std::size_t kTablesPosition = 16;
constexpr std::size_t kTablesSize = 24;
constexpr std::size_t kTablesCrc = 28;
constexpr std::size_t kRecordPosition = 32;
constexpr std::size_t kRecordSize = 40;
constexpr std::size_t kRecordCrc = 44;
constexpr std::size_t kContentPosition = 48;
constexpr std::size_t kContentSize = 56;
constexpr std::size_t kContentCrc = 64;
constexpr std::size_t kHeadCrc = 124;
}  // namespace head

namespace tables {
constexpr std::size_t kVersion = 4;
constexpr std::size_t kCount = 6;
constexpr std::size_t kFixedSize = 8;
constexpr std::size_t kEntryPosition = 0;
constexpr std::size_t kEntrySize = 8;
constexpr std::size_t kEntryCrc = 16;
constexpr std::size_t kEntryNameLength = 20;  ///< in UTF-16 units
constexpr std::size_t kEntryFixedSize = 22;
}  // namespace tables

constexpr std::uint64_t kLargestContent = 0x7FFFFFFFFFFF0000ULL;

template <typename Integer>
bool expectField(const wchar_t* section, const std::uint8_t* buffer, std::size_t offset, std::uint64_t expected,
                 std::wstring& problem) {
  const std::uint64_t found = getLittleEndian<Integer>(buffer, offset);
  if (found == expected) return true;
  problem = platform::formatWide(L"%s, offset %llu: found %llu, expected %llu", section,
                                 static_cast<unsigned long long>(offset), static_cast<unsigned long long>(found),
                                 static_cast<unsigned long long>(expected));
  return false;
}

bool checkIdentity(const std::uint8_t* buffer, std::size_t size, std::wstring& problem) {
  if (size < sizeof kMagic || std::memcmp(buffer, kMagic, sizeof kMagic) != 0) {
    problem = L"head, offset 0: not an object file of this system, expected the mark \"QVOB\"";
    return false;
  }
  if (size < kHeadSize) {
    problem = platform::formatWide(L"head: cut at %llu bytes, expected %llu", static_cast<unsigned long long>(size),
                                   static_cast<unsigned long long>(kHeadSize));
    return false;
  }
  const auto version = getLittleEndian<std::uint16_t>(buffer, head::kVersion);
  if (version > kFormatVersion) {
    problem = platform::formatWide(L"head, offset 8: format version %u was written by a newer program, expected %u",
                                   unsigned{version}, unsigned{kFormatVersion});
    return false;
  }
  if (!expectField<std::uint16_t>(L"head", buffer, head::kVersion, kFormatVersion, problem)) return false;
  return expectField<std::uint32_t>(L"head checksum", buffer, head::kHeadCrc, crc32Of(buffer, head::kHeadCrc), problem);
}

}  // namespace

std::uint64_t ObjectLayout::contentPosition() const {
  return recordPosition() + recordSize(type);
}

std::uint32_t crc32Of(const void* data, std::size_t size, std::uint32_t start) {
  return static_cast<std::uint32_t>(::crc32_z(start, static_cast<const Bytef*>(data), size));
}

std::array<std::uint8_t, kHeadSize> encodeHead(const ObjectLayout& layout) {
  std::array<std::uint8_t, kHeadSize> buffer{};
  std::uint8_t* out = buffer.data();
  std::memcpy(out, kMagic, sizeof kMagic);
  putLittleEndian<std::uint16_t>(out, head::kVersion, kFormatVersion);
  putLittleEndian(out, head::kKind, static_cast<std::uint16_t>(layout.type));
  putLittleEndian(out, head::kHeadSizeField, static_cast<std::uint32_t>(kHeadSize));
  putLittleEndian(out, head::kTablesPosition, layout.tablesPosition());
  putLittleEndian(out, head::kTablesSize, layout.tablesSize);
  putLittleEndian(out, head::kTablesCrc, layout.tablesCrc);
  putLittleEndian(out, head::kRecordPosition, layout.recordPosition());
  putLittleEndian(out, head::kRecordSize, static_cast<std::uint32_t>(recordSize(layout.type)));
  putLittleEndian(out, head::kRecordCrc, layout.recordCrc);
  putLittleEndian(out, head::kContentPosition, layout.contentPosition());
  putLittleEndian(out, head::kContentSize, layout.contentSize);
  putLittleEndian(out, head::kContentCrc, layout.contentCrc);
  putLittleEndian(out, head::kHeadCrc, crc32Of(out, head::kHeadCrc));
  return buffer;
}

bool decodeHead(const std::uint8_t* buffer, std::size_t size, ObjectLayout& out, std::wstring& problem) {
  if (!checkIdentity(buffer, size, problem)) return false;
  const auto kind = getLittleEndian<std::uint16_t>(buffer, head::kKind);
  if (!isObjectType(kind)) {
    problem = platform::formatWide(L"head, offset 10: unknown kind %u, expected 0, 28 or 33", unsigned{kind});
    return false;
  }
  ObjectLayout layout;
  layout.type = static_cast<QuorvelFileType>(kind);
  layout.tablesSize = getLittleEndian<std::uint32_t>(buffer, head::kTablesSize);
  layout.tablesCrc = getLittleEndian<std::uint32_t>(buffer, head::kTablesCrc);
  layout.recordCrc = getLittleEndian<std::uint32_t>(buffer, head::kRecordCrc);
  layout.contentSize = getLittleEndian<std::uint64_t>(buffer, head::kContentSize);
  layout.contentCrc = getLittleEndian<std::uint32_t>(buffer, head::kContentCrc);
  if (layout.tablesSize < tables::kFixedSize || layout.tablesSize > kTablesLimit) {
    problem = platform::formatWide(L"head, offset 24: size of the tables %u, expected 8 to %u", layout.tablesSize,
                                   kTablesLimit);
    return false;
  }
  if (layout.contentSize > kLargestContent) {
    problem = L"head, offset 56: impossible size of the content";
    return false;
  }
  const bool matches =
      expectField<std::uint32_t>(L"head", buffer, head::kHeadSizeField, kHeadSize, problem) &&
      expectField<std::uint64_t>(L"head", buffer, head::kTablesPosition, layout.tablesPosition(), problem) &&
      expectField<std::uint64_t>(L"head", buffer, head::kRecordPosition, layout.recordPosition(), problem) &&
      expectField<std::uint32_t>(L"head", buffer, head::kRecordSize, recordSize(layout.type), problem) &&
      expectField<std::uint64_t>(L"head", buffer, head::kContentPosition, layout.contentPosition(), problem);
  if (matches) out = layout;
  return matches;
}

std::vector<std::uint8_t> encodeTables(const std::vector<ContentEntry>& entries) {
  std::vector<std::uint8_t> image(tables::kFixedSize);
  std::memcpy(image.data(), kTablesMagic, sizeof kTablesMagic);
  putLittleEndian(image.data(), tables::kVersion, kTablesVersion);
  putLittleEndian(image.data(), tables::kCount, static_cast<std::uint16_t>(entries.size()));
  for (const ContentEntry& entry : entries) {
    const std::u16string name = platform::toUtf16(entry.name);
    const std::size_t start = image.size();
    const std::size_t end = start + tables::kEntryFixedSize + 2 * name.size();
    if (end > kTablesLimit) return {};
    image.resize(end);
    std::uint8_t* out = image.data() + start;
    putLittleEndian(out, tables::kEntryPosition, entry.position);
    putLittleEndian(out, tables::kEntrySize, entry.size);
    putLittleEndian(out, tables::kEntryCrc, entry.crc);
    putLittleEndian(out, tables::kEntryNameLength, static_cast<std::uint16_t>(name.size()));
    for (std::size_t i = 0; i < name.size(); ++i) {
      putLittleEndian(out, tables::kEntryFixedSize + 2 * i, static_cast<std::uint16_t>(name[i]));
    }
  }
  return image;
}

namespace {

/// Reads the entry at `offset` and moves `offset` behind it.
bool decodeEntry(const std::uint8_t* buffer, std::size_t size, std::size_t& offset, ContentEntry& out) {
  if (size - offset < tables::kEntryFixedSize) return false;
  const std::uint8_t* entry = buffer + offset;
  const std::size_t nameLength = getLittleEndian<std::uint16_t>(entry, tables::kEntryNameLength);
  if ((size - offset - tables::kEntryFixedSize) / 2 < nameLength) return false;
  out.position = getLittleEndian<std::uint64_t>(entry, tables::kEntryPosition);
  out.size = getLittleEndian<std::uint64_t>(entry, tables::kEntrySize);
  out.crc = getLittleEndian<std::uint32_t>(entry, tables::kEntryCrc);
  std::u16string name(nameLength, u'\0');
  for (std::size_t i = 0; i < nameLength; ++i) {
    name[i] = static_cast<char16_t>(getLittleEndian<std::uint16_t>(entry, tables::kEntryFixedSize + 2 * i));
  }
  out.name = platform::fromUtf16(name);
  offset += tables::kEntryFixedSize + 2 * nameLength;
  return true;
}

}  // namespace

bool decodeTables(const std::uint8_t* buffer, std::size_t size, std::uint64_t contentSize,
                  std::vector<ContentEntry>& out, std::wstring& problem) {
  if (size < tables::kFixedSize || std::memcmp(buffer, kTablesMagic, sizeof kTablesMagic) != 0) {
    problem = L"tables, offset 0: expected the mark \"QVTB\"";
    return false;
  }
  if (!expectField<std::uint16_t>(L"tables", buffer, tables::kVersion, kTablesVersion, problem)) return false;
  const unsigned count = getLittleEndian<std::uint16_t>(buffer, tables::kCount);
  std::vector<ContentEntry> entries;
  std::size_t offset = tables::kFixedSize;
  for (unsigned i = 0; i < count; ++i) {
    ContentEntry entry;
    if (!decodeEntry(buffer, size, offset, entry)) {
      problem = platform::formatWide(L"tables, entry %u of %u: reaches beyond the section", i + 1, count);
      return false;
    }
    if (entry.position > contentSize || entry.size > contentSize - entry.position) {
      problem = platform::formatWide(L"tables, entry %u of %u: reaches beyond the content", i + 1, count);
      return false;
    }
    entries.push_back(std::move(entry));
  }
  if (offset != size) {
    problem =
        platform::formatWide(L"tables: %llu bytes, expected %llu for %u entries", static_cast<unsigned long long>(size),
                             static_cast<unsigned long long>(offset), count);
    return false;
  }
  out = std::move(entries);
  return true;
}

}  // namespace workstation
