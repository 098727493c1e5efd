#include "workstation/objects/CompressedContent.h"

#include <zip.h>

#include <algorithm>
#include <cstring>
#include <memory>

#include "platform/Text.h"
#include "workstation/objects/ByteCodec.h"

namespace workstation {
namespace {

namespace packed {
constexpr std::size_t kFormat = 4;
constexpr std::size_t kExpandedSize = 24;
constexpr std::size_t kHeaderSize = 32;
constexpr std::size_t kRecordPosition = 34;
constexpr std::size_t kRecordSize = 36;
constexpr std::size_t kHeadPosition = 38;
constexpr std::size_t kHeadSize = 40;
constexpr std::size_t kTablesPosition = 42;
constexpr std::size_t kTablesSize = 44;
constexpr std::size_t kArchivePosition = 46;
}  // namespace packed

/// Nothing writes a longer archive, which would have to fit into memory.
constexpr std::uint64_t kLongestArchive = 0xFFFFFFFF;

std::uint64_t field(const OpenedObject& object, std::size_t offset) {
  return getLittleEndian<std::uint16_t>(object.compressedHeader.data(), offset);
}

std::uint64_t sectionsPosition() {
  return kCompressedRecordPosition + recordSize(eFileType_Teilbild);
}

DWORD refuse(const std::wstring& path, const std::wstring& problem, std::wstring& error) {
  return failure(ERROR_INVALID_DATA, path, problem, error);
}

bool expectField(const OpenedObject& object, std::size_t offset, std::uint64_t expected, std::wstring& problem) {
  const std::uint64_t found = field(object, offset);
  if (found != expected)
    problem = platform::formatWide(L"compressed head, offset %u: found %u, expected %u", static_cast<unsigned>(offset),
                                   static_cast<unsigned>(found), static_cast<unsigned>(expected));
  return found == expected;
}

/// The archive's one entry, read from its start to its end.
class PackedFile {
 public:
  /// @param archive  has to outlive this
  /// @return what is wrong with the archive; empty when its entry can be read
  std::wstring open(const std::vector<std::uint8_t>& archive, std::uint64_t expandedSize);
  DWORD read(void* buffer, std::size_t size, std::size_t& got) const {
    const zip_int64_t count = zip_fread(file_.get(), buffer, size);
    got = count < 0 ? 0 : static_cast<std::size_t>(count);
    return count < 0 ? ERROR_INVALID_DATA : ERROR_SUCCESS;
  }

 private:
  struct Closer {
    void operator()(zip_t* archive) const { zip_discard(archive); }
    void operator()(zip_file_t* file) const { zip_fclose(file); }
  };
  std::unique_ptr<zip_t, Closer> archive_;
  std::unique_ptr<zip_file_t, Closer> file_;
};

/// The library expands the entry under the file's own name, whatever number it was packed under: so does this.
bool isTeilbildName(const char* name) {
  const std::wstring text = platform::fromUtf8(name == nullptr ? "" : name);
  return platform::endsWithIgnoreCase(text, L".zdw") && text.find_first_of(L"\\/:") == std::wstring::npos;
}

std::wstring PackedFile::open(const std::vector<std::uint8_t>& archive, std::uint64_t expandedSize) {
  zip_error_t problem{};
  zip_error_init(&problem);
  zip_source_t* const source = zip_source_buffer_create(archive.data(), archive.size(), 0, &problem);
  if (source != nullptr) {
    archive_.reset(zip_open_from_source(source, ZIP_RDONLY | ZIP_CHECKCONS, &problem));
    if (!archive_) zip_source_free(source);
  }
  const std::wstring text = platform::fromUtf8(zip_error_strerror(&problem));
  zip_error_fini(&problem);
  if (!archive_) return L"no zip archive can be read (" + text + L")";
  const zip_int64_t count = zip_get_num_entries(archive_.get(), 0);
  if (count != 1)
    return platform::formatWide(L"an archive of %lld entries, expected exactly one", static_cast<long long>(count));
  zip_stat_t entry{};
  constexpr zip_uint64_t kWanted = ZIP_STAT_NAME | ZIP_STAT_SIZE | ZIP_STAT_COMP_METHOD | ZIP_STAT_ENCRYPTION_METHOD;
  if (zip_stat_index(archive_.get(), 0, 0, &entry) != 0 || (entry.valid & kWanted) != kWanted)
    return L"an entry that tells neither name nor size";
  if (!isTeilbildName(entry.name)) return L"an entry that is no Teilbild, expected one file that ends in .zdw";
  zip_uint8_t system = 0;
  zip_uint32_t attributes = 0;
  zip_file_get_external_attributes(archive_.get(), 0, 0, &system, &attributes);
  constexpr zip_uint32_t kTypeMask = 0170000;
  constexpr zip_uint32_t kTypeFile = 0100000;
  const zip_uint32_t type = (attributes >> 16U) & kTypeMask;
  if (type != 0 && type != kTypeFile) return L"an entry that is a link or a device, expected a file";
  if (entry.encryption_method != ZIP_EM_NONE ||
      (entry.comp_method != ZIP_CM_STORE && entry.comp_method != ZIP_CM_DEFLATE))
    return L"an entry that is encrypted or packed in a foreign way, expected deflate";
  if (entry.size != expandedSize)
    return platform::formatWide(L"an entry of %llu bytes, expected %llu", static_cast<unsigned long long>(entry.size),
                                static_cast<unsigned long long>(expandedSize));
  file_.reset(zip_fopen_index(archive_.get(), 0, 0));
  return file_ ? std::wstring() : L"the entry can't be opened";
}

/// Takes exactly `size` bytes from the entry.
bool readWhole(const PackedFile& file, std::uint8_t* buffer, std::size_t size) {
  for (std::size_t done = 0, got = 0; done < size; done += got) {
    if (file.read(buffer + done, size - done, got) != ERROR_SUCCESS || got == 0) return false;
  }
  return true;
}

/// True when the record in front of the archive is that of the packed file. The number is told by the file's name.
bool isSameRecord(const ObjectRecord& plain, const ObjectRecord& inPackedFile) {
  auto outer = std::get<TeilbildHeader>(plain);
  const auto inner = std::get<TeilbildHeader>(inPackedFile);
  outer.number = inner.number;
  outer.compressedMark = inner.compressedMark;
  return encodeRecord(outer) == encodeRecord(inner);
}

/// Reads what stands before the content and compares it with what the compressed file has in plain form.
/// @param withRecord  the record too
/// @return what is wrong; empty when all is as told
std::wstring checkLeading(const PackedFile& file, const OpenedObject& object, bool withRecord) {
  std::vector<std::uint8_t> leading(static_cast<std::size_t>(object.layout.contentPosition()));
  if (!readWhole(file, leading.data(), leading.size())) return L"the packed file is damaged or cut before its content";
  if (!std::equal(object.sections.begin(), object.sections.end(), leading.begin()))
    return L"the packed file begins in another way than the sections at 1624, expected the same";
  const auto recordPosition = static_cast<std::size_t>(object.layout.recordPosition());
  const std::size_t size = recordSize(eFileType_Teilbild);
  const std::uint32_t crc = crc32Of(leading.data() + recordPosition, size);
  if (crc != object.layout.recordCrc)
    return platform::formatWide(L"record in the packed file: CRC-32 %08x, expected %08x", crc, object.layout.recordCrc);
  if (withRecord &&
      !isSameRecord(object.info.record, decodeRecord(eFileType_Teilbild, leading.data() + recordPosition)))
    return L"the record at 48 is another than that of the packed file";
  return {};
}

}  // namespace

DWORD readCompressedRecord(const std::wstring& path, OpenedObject& object, std::wstring& error) {
  if (const DWORD code = object.file.readAt(0, object.compressedHeader.data(), object.compressedHeader.size()))
    return failRead(code, path, L"compressed head", 0, object.compressedHeader.size(), error);
  const unsigned format = object.compressedHeader[packed::kFormat];
  if (format != 1)
    return refuse(path,
                  platform::formatWide(L"compressed head, offset 4: format %u, expected 1; %s", format,
                                       format > 1 ? L"written by a newer program" : L"damaged"),
                  error);
  const std::size_t size = recordSize(eFileType_Teilbild);
  const std::uint64_t archive = field(object, packed::kArchivePosition);
  if (field(object, packed::kRecordPosition) != kCompressedRecordPosition ||
      field(object, packed::kRecordSize) != size || archive < sectionsPosition() || archive > object.fileSize)
    return refuse(path,
                  platform::formatWide(L"compressed head, offset 34: expected the record at 48 with 1576 bytes and the "
                                       L"archive behind it within %llu bytes",
                                       static_cast<unsigned long long>(object.fileSize)),
                  error);
  std::vector<std::uint8_t> image(size);
  if (const DWORD code = object.file.readAt(kCompressedRecordPosition, image.data(), size))
    return failRead(code, path, L"compressed record", kCompressedRecordPosition, size, error);
  object.info.type = eFileType_Teilbild;
  object.info.compressed = true;
  object.info.expandedSize = getLittleEndian<std::uint64_t>(object.compressedHeader.data(), packed::kExpandedSize);
  object.info.record = decodeRecord(eFileType_Teilbild, image.data());
  object.info.contentName = textOfMember(std::get<TeilbildHeader>(object.info.record).contentName);
  return ERROR_SUCCESS;
}

DWORD readCompressedSections(const std::wstring& path, OpenedObject& object, std::wstring& error) {
  const std::uint64_t tablesSize = field(object, packed::kTablesSize);
  const std::uint64_t tablesPosition = sectionsPosition() + kHeadSize;
  std::wstring problem;
  if (!expectField(object, packed::kHeaderSize, object.compressedHeader.size(), problem) ||
      !expectField(object, packed::kHeadPosition, sectionsPosition(), problem) ||
      !expectField(object, packed::kHeadSize, kHeadSize, problem) ||
      !expectField(object, packed::kTablesPosition, tablesPosition, problem) ||
      !expectField(object, packed::kArchivePosition, tablesPosition + tablesSize, problem))
    return refuse(path, problem, error);
  object.sections.resize(static_cast<std::size_t>(kHeadSize + tablesSize));
  if (const DWORD code = object.file.readAt(sectionsPosition(), object.sections.data(), object.sections.size()))
    return failRead(code, path, L"plain sections", sectionsPosition(), object.sections.size(), error);
  ObjectLayout& layout = object.layout;
  if (!decodeHead(object.sections.data(), kHeadSize, layout, problem)) return refuse(path, problem, error);
  const std::uint8_t* const tables = object.sections.data() + kHeadSize;
  if (layout.type != eFileType_Teilbild || layout.tablesSize != tablesSize ||
      crc32Of(tables, layout.tablesSize) != layout.tablesCrc)
    return refuse(path, L"plain sections at 1624: expected a Teilbild's head with the tables that follow it", error);
  std::vector<ContentEntry> entries;
  if (!decodeTables(tables, layout.tablesSize, layout.contentSize, entries, problem))
    return refuse(path, problem, error);
  if (object.info.expandedSize != layout.fileSize())
    return refuse(path,
                  platform::formatWide(L"compressed head, offset 24: %llu bytes uncompressed, expected %llu",
                                       static_cast<unsigned long long>(object.info.expandedSize),
                                       static_cast<unsigned long long>(layout.fileSize())),
                  error);
  object.info.contentName = entries.empty() ? std::wstring() : entries.front().name;
  return ERROR_SUCCESS;
}

DWORD readCompressedContent(const std::wstring& path, const OpenedObject& object, const BlockFile* target,
                            std::uint64_t position, std::wstring& error) {
  const std::uint64_t start = field(object, packed::kArchivePosition);
  const std::uint64_t size = object.fileSize - start;
  const std::wstring place = platform::formatWide(L"archive at %llu: ", static_cast<unsigned long long>(start));
  if (size > kLongestArchive) return refuse(path, place + L"expected less than 4 GiB", error);
  std::vector<std::uint8_t> archive(static_cast<std::size_t>(size));
  if (const DWORD code = object.file.readAt(start, archive.data(), archive.size()))
    return failRead(code, path, L"archive", start, size, error);
  PackedFile file;
  std::wstring problem = file.open(archive, object.layout.fileSize());
  if (problem.empty()) problem = checkLeading(file, object, target == nullptr);
  if (!problem.empty()) return refuse(path, place + problem, error);
  const auto read = [&file](void* buffer, std::size_t wanted, std::size_t& got) {
    return file.read(buffer, wanted, got);
  };
  if (const DWORD code = takeContent(path, object.layout, read, target, position, error)) return code;
  std::uint8_t more = 0;
  std::size_t got = 0;
  // The reading that finds the end is the one that compares the entry's own checksum.
  if (file.read(&more, 1, got) == ERROR_SUCCESS && got == 0) return ERROR_SUCCESS;
  return refuse(path, place + L"the packed file does not end where its content does, or its CRC-32 differs", error);
}

}  // namespace workstation
