#include "toolkit/ZipContent.h"

#include "platform/Text.h"
#include "platform/Time.h"

namespace Quorvel::FileAccess {

namespace {

constexpr std::size_t kPiece = std::size_t{1} << 20U;
constexpr std::int64_t kFirstDosTime = 315532800;  // 1 January 1980; an earlier one is none
constexpr unsigned kTypeMask = 0170000;
constexpr unsigned kTypeFile = 0100000;
constexpr unsigned kTypeDirectory = 0040000;
constexpr unsigned kTypeLink = 0120000;

std::wstring cantRead(const ZipEntry& entry) {
  return L"file \"" + entry.path + L"\" can't be read: " + systemReason(GetLastError());
}

std::wstring readFile(const ZipEntry& entry, const ZipSink& sink) {
  const OpenFile file(entry.path, GENERIC_READ, kShareAll, OPEN_EXISTING);
  if (!file.isOpen()) return cantRead(entry);
  std::vector<char> piece(kPiece);
  for (;;) {
    DWORD count = 0;
    if (!file.read(piece.data(), static_cast<DWORD>(piece.size()), count)) return cantRead(entry);
    if (count == 0) return {};
    if (!sink(piece.data(), count)) return L"ended";
  }
}

}  // namespace

std::wstring ZipContent::refusal(const ZipEntry& entry) const {
  if (entry.kind != ZipEntry::Kind::Stored) return {};
  const ZipClaim claim = reader_->claim(entry.index);
  const unsigned type = claim.unixMode & kTypeMask;
  if (type == kTypeLink) return L"it is a symbolic link";
  if (type != 0 && type != kTypeFile && type != kTypeDirectory) return L"it is neither file nor directory";
  if (entry.isDirectory() && claim.size > 0) return L"it is a directory with content";
  return reader_->refusal(claim);
}

std::uint64_t ZipContent::size(const ZipEntry& entry) const {
  return entry.kind == ZipEntry::Kind::Stored ? reader_->claim(entry.index).size : entry.size;
}

std::uint64_t ZipContent::storedSize(const ZipEntry& entry) const {
  return entry.kind == ZipEntry::Kind::Stored ? reader_->claim(entry.index).storedSize : 0;
}

FILETIME ZipContent::time(const ZipEntry& entry) const {
  if (entry.kind != ZipEntry::Kind::Stored) return entry.time;
  const std::int64_t seconds = reader_->claim(entry.index).time;
  return seconds < kFirstDosTime ? FILETIME{} : platform::fromUnixTime(seconds, 0);
}

std::wstring ZipContent::read(const ZipEntry& entry, CkByteData& out) const {
  if (entry.isDirectory()) return L"it is a directory";
  if (entry.kind == ZipEntry::Kind::Data) {
    out = *entry.data;
    return {};
  }
  if (entry.kind == ZipEntry::Kind::File) {
    CkByteData content;
    if (!content.loadFile(entry.path)) return cantRead(entry);
    out = std::move(content);
    return {};
  }
  std::vector<std::uint8_t> bytes;
  std::wstring reason = reader_->read(entry.index, bytes);
  if (reason.empty()) out = CkByteData(std::move(bytes));
  return reason;
}

std::wstring ZipContent::read(const ZipEntry& entry, const ZipSink& sink) const {
  const bool isLarge = size(entry) > kStreamedFrom;
  if (isLarge && entry.kind == ZipEntry::Kind::Stored) return reader_->readPieces(entry.index, sink);
  if (entry.kind == ZipEntry::Kind::File) return readFile(entry, sink);
  if (entry.kind == ZipEntry::Kind::Data) return sink(entry.data->getData(), entry.data->getSize()) ? L"" : L"ended";
  std::vector<std::uint8_t> bytes;
  std::wstring reason = reader_->read(entry.index, bytes);
  if (!reason.empty()) return reason;
  return sink(bytes.data(), bytes.size()) ? L"" : L"ended";
}

}  // namespace Quorvel::FileAccess
