// Compressed Teilbilder: the fixed header and the record, as the library and the host read them.

#include <algorithm>
#include <cstring>

#include "archives/CompressedFormat.h"
#include "fuzz/Support.h"
#include "workstation/objects/ObjectReader.h"
#include "zephor/Archives.h"

using namespace Quorvel::FileAccess;
using fuzz::require;

namespace {

void checkHeader(const CompressedHeaderBytes& bytes, std::size_t size) {
  CompressedHeader header;
  CompressedHeader again;
  std::wstring problem;
  if (!decodeCompressedHeader(bytes, size, header, problem)) {
    require(!problem.empty(), "a refusal has a reason");
    return;
  }
  require(header.archivePosition() < size && header.uncompressedSize >= 0, "an accepted header's archive is there");
  require(fitsCompressedFormat(header), "an accepted header can be written");
  const CompressedHeaderBytes written = encodeCompressedHeader(header);
  require(decodeCompressedHeader(written, size, again, problem) && encodeCompressedHeader(again) == written,
          "a header is read as it was written");
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::wstring path = fuzz::fileOf(fuzz::textOf(data, size));
  long long uncompressedSize = -2;
  TeilbildHeader record;
  const bool isCompressed = WGO_isZipFile(path.c_str(), &uncompressedSize);
  const bool hasRecord = WGO_getTBHeaderFromZipFile(path.c_str(), &record);
  const auto cleared = clearedHeader<TeilbildHeader>();
  require(hasRecord == (isCompressed && size >= kPlainSectionsPosition), "a compressed file gives its record");
  require(hasRecord || std::memcmp(&record, &cleared, sizeof record) == 0, "a record that is not there stays cleared");
  CompressedHeaderBytes bytes{};
  if (size >= bytes.size()) {
    std::copy_n(data, bytes.size(), bytes.begin());
    require(uncompressedSize == uncompressedSizeOf(bytes), "the size is told in any case");
    if (isCompressed) checkHeader(bytes, size);
  }
  workstation::OpenedObject object;
  std::wstring error;
  if (workstation::openObject(path, object, error) != ERROR_SUCCESS || !object.info.compressed) return 0;
  const auto image = workstation::encodeRecord(
      workstation::decodeRecord(eFileType_Teilbild, reinterpret_cast<const std::uint8_t*>(&record)));
  require(hasRecord && workstation::encodeRecord(object.info.record) == image, "host and library read one record");
  return 0;
}
