#include "workstation/objects/ObjectReader.h"

#include <algorithm>
#include <array>
#include <cstring>

#include "platform/Paths.h"
#include "platform/Text.h"
#include "workstation/objects/ByteCodec.h"
#include "workstation/objects/ObjectNames.h"

namespace workstation {
namespace {

constexpr std::uint8_t kCompressedMagic[4] = {'Q', 'V', 'P', 'K'};

namespace packed {
constexpr std::size_t kHeaderSize = 48;
constexpr std::size_t kFormat = 4;
constexpr std::size_t kRecordPosition = 34;
constexpr std::size_t kRecordSize = 36;
constexpr std::size_t kArchivePosition = 46;
}  // namespace packed

DWORD failRead(DWORD code, const std::wstring& path, const wchar_t* section, std::uint64_t position, std::uint64_t size,
               std::wstring& error) {
  const DWORD answer = code == ERROR_HANDLE_EOF ? ERROR_INVALID_DATA : code;
  return failure(
      answer, path,
      platform::formatWide(L"%s: %llu bytes at %llu can't be read (error %u)", section,
                           static_cast<unsigned long long>(size), static_cast<unsigned long long>(position), code),
      error);
}

DWORD readCompressed(const std::wstring& path, OpenedObject& object, std::wstring& error) {
  std::array<std::uint8_t, packed::kHeaderSize> header{};
  if (const DWORD code = object.file.readAt(0, header.data(), header.size()))
    return failRead(code, path, L"compressed head", 0, header.size(), error);
  const std::uint8_t* bytes = header.data();
  if (bytes[packed::kFormat] != 1)
    return failure(
        ERROR_INVALID_DATA, path,
        platform::formatWide(L"compressed head, offset 4: format %u, expected 1; %s", unsigned{bytes[packed::kFormat]},
                             bytes[packed::kFormat] > 1 ? L"written by a newer program" : L"damaged"),
        error);
  const std::size_t size = recordSize(eFileType_Teilbild);
  const auto archive = getLittleEndian<std::uint16_t>(bytes, packed::kArchivePosition);
  if (getLittleEndian<std::uint16_t>(bytes, packed::kRecordPosition) != kCompressedRecordPosition ||
      getLittleEndian<std::uint16_t>(bytes, packed::kRecordSize) != size ||
      archive < kCompressedRecordPosition + size || archive > object.fileSize)
    return failure(
        ERROR_INVALID_DATA, path,
        platform::formatWide(L"compressed head, offset 34: expected the record at 48 with 1576 bytes and the "
                             L"archive behind it within %llu bytes",
                             static_cast<unsigned long long>(object.fileSize)),
        error);
  std::vector<std::uint8_t> image(size);
  if (const DWORD code = object.file.readAt(kCompressedRecordPosition, image.data(), size))
    return failRead(code, path, L"compressed record", kCompressedRecordPosition, size, error);
  object.info.type = eFileType_Teilbild;
  object.info.compressed = true;
  object.info.record = decodeRecord(eFileType_Teilbild, image.data());
  object.info.contentName = textOfMember(std::get<TeilbildHeader>(object.info.record).contentName);
  return ERROR_SUCCESS;
}

/// Reads a section and compares its checksum.
DWORD readSection(const std::wstring& path, const OpenedObject& object, const wchar_t* section, std::uint64_t position,
                  std::size_t size, std::uint32_t crc, std::vector<std::uint8_t>& out, std::wstring& error) {
  out.resize(size);
  if (const DWORD code = object.file.readAt(position, out.data(), size))
    return failRead(code, path, section, position, size, error);
  const std::uint32_t found = crc32Of(out.data(), size);
  if (found == crc) return ERROR_SUCCESS;
  return failure(ERROR_INVALID_DATA, path,
                 platform::formatWide(L"%s at %llu: CRC-32 %08x, expected %08x", section,
                                      static_cast<unsigned long long>(position), found, crc),
                 error);
}

DWORD readUncompressed(const std::wstring& path, OpenedObject& object, std::wstring& error) {
  std::array<std::uint8_t, kHeadSize> head{};
  const auto available = static_cast<std::size_t>(std::min<std::uint64_t>(object.fileSize, head.size()));
  if (const DWORD code = object.file.readAt(0, head.data(), available))
    return failRead(code, path, L"head", 0, available, error);
  std::wstring problem;
  ObjectLayout& layout = object.layout;
  if (!decodeHead(head.data(), available, layout, problem)) return failure(ERROR_INVALID_DATA, path, problem, error);
  if (layout.fileSize() != object.fileSize)
    return failure(
        ERROR_INVALID_DATA, path,
        platform::formatWide(L"%s at %llu bytes, expected %llu",
                             object.fileSize < layout.fileSize() ? L"cut" : L"something stands behind the end",
                             static_cast<unsigned long long>(object.fileSize),
                             static_cast<unsigned long long>(layout.fileSize())),
        error);
  std::vector<std::uint8_t> section;
  if (const DWORD code = readSection(path, object, L"tables", layout.tablesPosition(), layout.tablesSize,
                                     layout.tablesCrc, section, error))
    return code;
  std::vector<ContentEntry> entries;
  if (!decodeTables(section.data(), section.size(), layout.contentSize, entries, problem))
    return failure(ERROR_INVALID_DATA, path, problem, error);
  if (const DWORD code = readSection(path, object, L"record", layout.recordPosition(), recordSize(layout.type),
                                     layout.recordCrc, section, error))
    return code;
  object.info.type = layout.type;
  object.info.record = decodeRecord(layout.type, section.data());
  object.info.contentName = entries.empty() ? std::wstring() : entries.front().name;
  return ERROR_SUCCESS;
}

/// The name of a file decides its number: a file that was copied to another number is that object.
DWORD applyFileName(const std::wstring& path, ObjectFileInfo& info, std::wstring& error) {
  const auto name = parseObjectFileName(platform::fileNameOf(path));
  if (!name) return ERROR_SUCCESS;
  if (name->type != info.type)
    return failure(ERROR_INVALID_DATA, path,
                   platform::formatWide(L"head, offset 10: kind %d, expected %d by the file's name",
                                        static_cast<int>(info.type), static_cast<int>(name->type)),
                   error);
  std::visit([&](auto& header) { header.number = name->number; }, info.record);
  return ERROR_SUCCESS;
}

}  // namespace

DWORD failure(DWORD code, const std::wstring& path, const std::wstring& problem, std::wstring& error) {
  error = path + L": " + problem;
  return code;
}

DWORD openObject(const std::wstring& path, OpenedObject& out, std::wstring& error) {
  if (const DWORD code = out.file.openForReading(path))
    return failure(code, path, platform::formatWide(L"can't be opened (error %u)", code), error);
  if (const DWORD code = out.file.size(out.fileSize)) return failRead(code, path, L"file", 0, 0, error);
  std::uint8_t magic[sizeof kCompressedMagic] = {};
  if (out.fileSize >= packed::kHeaderSize) {
    if (const DWORD code = out.file.readAt(0, magic, sizeof magic))
      return failRead(code, path, L"head", 0, sizeof magic, error);
  }
  const bool compressed = std::memcmp(magic, kCompressedMagic, sizeof magic) == 0;
  const DWORD code = compressed ? readCompressed(path, out, error) : readUncompressed(path, out, error);
  return code != ERROR_SUCCESS ? code : applyFileName(path, out.info, error);
}

DWORD readContent(const std::wstring& path, const OpenedObject& object, const BlockFile* target, std::uint64_t position,
                  std::wstring& error) {
  const ObjectLayout& layout = object.layout;
  if (const DWORD code = object.file.seek(layout.contentPosition()))
    return failRead(code, path, L"content", layout.contentPosition(), 0, error);
  std::vector<std::uint8_t> block(kBlockSize);
  std::uint32_t crc = crc32Of(nullptr, 0);
  for (std::uint64_t done = 0; done < layout.contentSize;) {
    const auto wanted = static_cast<std::size_t>(std::min<std::uint64_t>(layout.contentSize - done, block.size()));
    std::size_t got = 0;
    DWORD code = object.file.readSome(block.data(), wanted, got);
    if (code == ERROR_SUCCESS && got == 0) code = ERROR_HANDLE_EOF;
    if (code != ERROR_SUCCESS) return failRead(code, path, L"content", layout.contentPosition() + done, wanted, error);
    crc = crc32Of(block.data(), got, crc);
    if (target != nullptr) {
      if (const DWORD failed = target->writeAt(position + done, block.data(), got))
        return failure(failed, path, platform::formatWide(L"content can't be written out (error %u)", failed), error);
    }
    done += got;
  }
  if (crc == layout.contentCrc) return ERROR_SUCCESS;
  return failure(
      ERROR_INVALID_DATA, path,
      platform::formatWide(L"content at %llu: CRC-32 %08x, expected %08x",
                           static_cast<unsigned long long>(layout.contentPosition()), crc, layout.contentCrc),
      error);
}

}  // namespace workstation
