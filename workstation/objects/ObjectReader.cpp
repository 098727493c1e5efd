#include "workstation/objects/ObjectReader.h"

#include <algorithm>
#include <array>
#include <cstring>

#include "platform/Paths.h"
#include "platform/Text.h"
#include "workstation/objects/CompressedContent.h"
#include "workstation/objects/ObjectNames.h"

namespace workstation {
namespace {

constexpr std::uint8_t kCompressedMagic[4] = {'Q', 'V', 'P', 'K'};

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
  object.info.expandedSize = object.fileSize;
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

DWORD failRead(DWORD code, const std::wstring& path, const wchar_t* section, std::uint64_t position, std::uint64_t size,
               std::wstring& error) {
  const DWORD answer = code == ERROR_HANDLE_EOF ? ERROR_INVALID_DATA : code;
  return failure(
      answer, path,
      platform::formatWide(L"%s: %llu bytes at %llu can't be read (error %u)", section,
                           static_cast<unsigned long long>(size), static_cast<unsigned long long>(position), code),
      error);
}

DWORD openObject(const std::wstring& path, OpenedObject& out, std::wstring& error) {
  if (const DWORD code = out.file.openForReading(path))
    return failure(code, path, platform::formatWide(L"can't be opened (error %u)", code), error);
  if (const DWORD code = out.file.size(out.fileSize)) return failRead(code, path, L"file", 0, 0, error);
  std::uint8_t magic[sizeof kCompressedMagic] = {};
  if (out.fileSize >= out.compressedHeader.size()) {
    if (const DWORD code = out.file.readAt(0, magic, sizeof magic))
      return failRead(code, path, L"head", 0, sizeof magic, error);
  }
  out.info.fileSize = out.fileSize;
  const bool compressed = std::memcmp(magic, kCompressedMagic, sizeof magic) == 0;
  const DWORD code = compressed ? readCompressedRecord(path, out, error) : readUncompressed(path, out, error);
  return code != ERROR_SUCCESS ? code : applyFileName(path, out.info, error);
}

DWORD openContent(const std::wstring& path, OpenedObject& out, std::wstring& error) {
  if (const DWORD code = openObject(path, out, error)) return code;
  return out.info.compressed ? readCompressedSections(path, out, error) : ERROR_SUCCESS;
}

DWORD takeContent(const std::wstring& path, const ObjectLayout& layout, const BlockReader& read,
                  const BlockFile* target, std::uint64_t position, std::wstring& error) {
  std::vector<std::uint8_t> block(static_cast<std::size_t>(std::min<std::uint64_t>(layout.contentSize, kBlockSize)));
  std::uint32_t crc = crc32Of(nullptr, 0);
  for (std::uint64_t done = 0; done < layout.contentSize;) {
    const auto wanted = static_cast<std::size_t>(std::min<std::uint64_t>(layout.contentSize - done, block.size()));
    std::size_t got = 0;
    DWORD code = read(block.data(), wanted, got);
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

DWORD readContent(const std::wstring& path, const OpenedObject& object, const BlockFile* target, std::uint64_t position,
                  std::wstring& error) {
  if (object.info.compressed) return readCompressedContent(path, object, target, position, error);
  const std::uint64_t start = object.layout.contentPosition();
  if (const DWORD code = object.file.seek(start)) return failRead(code, path, L"content", start, 0, error);
  const auto read = [&object](void* buffer, std::size_t wanted, std::size_t& got) {
    return object.file.readSome(buffer, wanted, got);
  };
  return takeContent(path, object.layout, read, target, position, error);
}

}  // namespace workstation
