// Object files: head, tables and record.

#include <algorithm>

#include "fuzz/Support.h"
#include "workstation/objects/ByteCodec.h"
#include "workstation/objects/ObjectReader.h"

using namespace workstation;
using fuzz::require;

namespace {

constexpr std::size_t kHeadCrc = 124;

/// Gives the head the size and the checksums of what stands behind it, which no search would ever guess.
void mend(std::vector<std::uint8_t>& bytes, ObjectLayout layout) {
  if (layout.contentPosition() > bytes.size()) return;
  const std::uint8_t* const data = bytes.data();
  layout.contentSize = bytes.size() - layout.contentPosition();
  layout.tablesCrc = crc32Of(data + layout.tablesPosition(), layout.tablesSize);
  layout.recordCrc = crc32Of(data + layout.recordPosition(), recordSize(layout.type));
  layout.contentCrc = crc32Of(data + layout.contentPosition(), layout.contentSize);
  std::ranges::copy(encodeHead(layout), bytes.begin());
}

void checkTables(const std::vector<std::uint8_t>& bytes, const ObjectLayout& layout) {
  const std::uint64_t contentSize = bytes.size() - layout.contentPosition();
  std::vector<ContentEntry> entries;
  std::wstring problem;
  if (!decodeTables(bytes.data() + kHeadSize, layout.tablesSize, contentSize, entries, problem)) return;
  for (const ContentEntry& entry : entries) {
    require(entry.position <= contentSize && entry.size <= contentSize - entry.position,
            "an entry lies in the content");
  }
  require(encodeTables(entries).size() == layout.tablesSize, "the tables are written as long as they were");
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  std::vector<std::uint8_t> bytes(data, data + size);
  if (size >= kHeadSize) putLittleEndian(bytes.data(), kHeadCrc, crc32Of(data, kHeadCrc));
  ObjectLayout layout;
  std::wstring problem;
  const bool isHead = decodeHead(bytes.data(), size, layout, problem);
  if (isHead) {
    require(layout.contentPosition() >= kHeadSize + recordSize(layout.type), "the sections lie one behind the other");
    require(layout.fileSize() >= layout.contentSize, "the sizes stay within 64 bits");
    mend(bytes, layout);
    if (layout.contentPosition() <= size) checkTables(bytes, layout);
  }
  const std::wstring path = fuzz::fileOf(fuzz::textOf(bytes.data(), size));
  OpenedObject object;
  if (openObject(path, object, problem) != ERROR_SUCCESS) {
    require(problem.starts_with(path), "a refusal names the file");
    return 0;
  }
  require(object.info.compressed || object.layout.fileSize() == size, "an accepted file is as long as its head says");
  if (!object.info.compressed) {
    require(readContent(path, object, nullptr, 0, problem) == ERROR_SUCCESS, "mended content is accepted");
  }
  const auto image = encodeRecord(object.info.record);
  require(encodeRecord(decodeRecord(object.info.type, image.data())) == image, "a record is read as it was written");
  nameOf(object.info.record);
  return 0;
}
