#include "toolkit/ZipReader.h"

#include <libdeflate.h>

#include <algorithm>

#include "platform/Text.h"
#include "toolkit/Deflate.h"

namespace Quorvel::FileAccess {

namespace {

constexpr std::uint64_t kSmallestArchive = 22;  // an end record alone
constexpr std::size_t kPiece = std::size_t{1} << 20U;

std::wstring wrongCheckSum(std::uint32_t expected, std::uint32_t found) {
  return platform::formatWide(L"CRC-32 %08x expected, %08x found", expected, found);
}

std::wstring wrongContent(std::uint64_t size) {
  return platform::formatWide(L"a deflate stream of %llu bytes expected, other data found", size);
}

}  // namespace

std::unique_ptr<ZipReader> ZipReader::open(std::unique_ptr<IZipInput> input, std::wstring& reason) {
  std::unique_ptr<ZipReader> reader(new ZipReader(std::move(input)));
  if (reader->input_->size() < kSmallestArchive) {
    reason = platform::formatWide(L"no zip archive: %llu bytes", reader->input_->size());
    return nullptr;
  }
  ZipErrorScope scope;
  ZipSourceHandle source = makeArchiveSource(reader->input_.get(), nullptr, reader->run_);
  if (source) reader->archive_.reset(zip_open_from_source(source.get(), ZIP_RDONLY, &scope.error));
  if (!reader->archive_) {
    reason = source ? reader->failed(&scope.error) : L"out of memory";
    return nullptr;
  }
  static_cast<void>(source.release());  // the archive's by now
  return reader;
}

std::uint64_t ZipReader::count() const {
  return static_cast<std::uint64_t>(std::max<zip_int64_t>(0, zip_get_num_entries(archive_.get(), 0)));
}

std::wstring ZipReader::name(std::uint64_t index) const {
  const char* name = zip_get_name(archive_.get(), index, ZIP_FL_ENC_GUESS);
  std::wstring text = name == nullptr ? std::wstring() : platform::fromUtf8(name);
  std::replace(text.begin(), text.end(), L'\\', L'/');
  return text;
}

ZipClaim ZipReader::claim(std::uint64_t index) const {
  const std::lock_guard lock(mutex_);
  return claimOf(index);
}

ZipClaim ZipReader::claimOf(std::uint64_t index) const {
  zip_stat_t stat;
  zip_stat_init(&stat);
  ZipClaim claim;
  if (zip_stat_index(archive_.get(), index, 0, &stat) != 0) return claim;
  claim.size = stat.size;
  claim.storedSize = stat.comp_size;
  claim.crc = stat.crc;
  claim.method = stat.comp_method;
  claim.isEncrypted = stat.encryption_method != ZIP_EM_NONE;
  if ((stat.valid & ZIP_STAT_MTIME) != 0) claim.time = stat.mtime;
  zip_uint8_t system = 0;
  zip_uint32_t attributes = 0;
  zip_file_get_external_attributes(archive_.get(), index, 0, &system, &attributes);
  claim.unixMode = attributes >> 16U;
  return claim;
}

std::wstring ZipReader::refusal(const ZipClaim& claim) const {
  if (claim.isEncrypted) return L"it is encrypted";
  if (claim.method != ZIP_CM_STORE && claim.method != ZIP_CM_DEFLATE) {
    return platform::formatWide(L"method 0 or 8 expected, method %d found", claim.method);
  }
  const bool isPossible =
      claim.method == ZIP_CM_STORE ? claim.size == claim.storedSize : canInflateTo(claim.storedSize, claim.size);
  if (claim.storedSize <= input_->size() && isPossible) return {};
  return platform::formatWide(L"a size of %llu bytes in %llu can't be, in an archive of %llu", claim.size,
                              claim.storedSize, input_->size());
}

std::wstring ZipReader::read(std::uint64_t index, std::vector<std::uint8_t>& out) {
  std::unique_lock lock(mutex_);
  const ZipClaim claim = claimOf(index);
  std::wstring reason = refusal(claim);
  if (!reason.empty()) return reason;
  std::vector<std::uint8_t> content(claim.size);
  if (claim.method == ZIP_CM_STORE) {
    reason = readStored(index, content.data(), content.size());
    lock.unlock();
  } else {
    const std::unique_ptr<std::uint8_t[]> stored(new std::uint8_t[claim.storedSize]);
    reason = readStored(index, stored.get(), claim.storedSize);
    lock.unlock();
    const bool isGood = reason.empty() && inflateBlock(stored.get(), claim.storedSize, content.data(), content.size());
    if (reason.empty() && !isGood) reason = wrongContent(claim.size);
  }
  if (!reason.empty()) return reason;
  const std::uint32_t crc = content.empty() ? 0 : libdeflate_crc32(0, content.data(), content.size());
  if (crc != claim.crc) return wrongCheckSum(claim.crc, crc);
  out = std::move(content);
  return {};
}

std::wstring ZipReader::readStored(std::uint64_t index, void* out, std::size_t size) {
  const ZipFileHandle file(zip_fopen_index(archive_.get(), index, ZIP_FL_COMPRESSED));
  if (!file) return failed(zip_get_error(archive_.get()));
  std::size_t done = 0;
  while (done < size) {
    const zip_int64_t count = zip_fread(file.get(), static_cast<char*>(out) + done, size - done);
    if (count < 0) return failed(zip_file_get_error(file.get()));
    if (count == 0) return platform::formatWide(L"%zu bytes expected, the archive ends after %zu", size, done);
    done += static_cast<std::size_t>(count);
  }
  return {};
}

std::wstring ZipReader::readPieces(std::uint64_t index, const ZipSink& sink) {
  const std::lock_guard lock(mutex_);
  const ZipClaim claim = claimOf(index);
  std::wstring reason = refusal(claim);
  if (!reason.empty()) return reason;
  const ZipFileHandle file(zip_fopen_index(archive_.get(), index, 0));
  if (!file) return failed(zip_get_error(archive_.get()));
  std::vector<std::uint8_t> piece(kPiece);
  std::uint64_t done = 0;
  std::uint32_t crc = 0;
  for (;;) {
    const zip_int64_t count = zip_fread(file.get(), piece.data(), piece.size());
    if (count < 0) return failed(zip_file_get_error(file.get()));
    if (count == 0) break;
    done += static_cast<std::uint64_t>(count);
    if (done > claim.size) return wrongContent(claim.size);
    crc = libdeflate_crc32(crc, piece.data(), static_cast<std::size_t>(count));
    if (!sink(piece.data(), static_cast<std::size_t>(count))) return L"ended";
  }
  if (done != claim.size) return wrongContent(claim.size);
  return crc == claim.crc ? std::wstring() : wrongCheckSum(claim.crc, crc);
}

std::wstring ZipReader::failed(zip_error_t* error) {
  // What the storage said is plainer than libzip's number for it, and told once.
  const std::wstring failure = std::exchange(run_.failure, {});
  return failure.empty() ? zipReason(error) : failure;
}

}  // namespace Quorvel::FileAccess
