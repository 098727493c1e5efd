#include "toolkit/ZipWriter.h"

#include "platform/Text.h"

namespace Quorvel::FileAccess {

namespace {

constexpr std::size_t kPiece = std::size_t{1} << 20U;

std::wstring aboutEntry(const ZipEntry& entry, const std::wstring& reason) {
  return reason.empty() ? reason : L"entry \"" + entry.name + L"\": " + reason;
}

/// libzip writes no archive without entries: this is its end record.
std::wstring writeEmpty(IZipOutput& output) {
  constexpr char kEnd[22] = {'P', 'K', 5, 6};
  if (output.begin() && output.write(kEnd, sizeof kEnd) && output.commit()) return {};
  const DWORD error = GetLastError();
  output.rollBack();
  return systemReason(error);
}

/// libzip writes nothing when nothing changed.
std::wstring writeUnchanged(IZipInput& input, IZipOutput& output) {
  std::vector<char> piece(kPiece);
  bool isGood = output.begin();
  bool isCut = false;
  for (std::uint64_t done = 0; isGood && done < input.size();) {
    std::size_t count = 0;
    isGood = input.read(done, piece.data(), piece.size(), count);
    isCut = isGood && count == 0;
    isGood = isGood && !isCut && output.write(piece.data(), count);
    done += count;
  }
  input.release();
  if (isGood && output.commit()) return {};
  const DWORD error = isCut ? ERROR_HANDLE_EOF : GetLastError();
  output.rollBack();
  return systemReason(error);
}

bool isChanged(const ZipEntries& entries, const ZipReader& reader) {
  if (entries.all().size() != reader.count()) return true;
  for (const auto& [id, entry] : entries.all()) {
    if (entry.kind != ZipEntry::Kind::Stored || entry.isRenamed) return true;
  }
  return false;
}

std::wstring addDirectory(zip_t* archive, const ZipEntry& entry, const char* name) {
  const zip_int64_t index = zip_dir_add(archive, name, ZIP_FL_ENC_UTF_8);
  const bool isDone =
      index >= 0 && zip_file_set_mtime(archive, static_cast<zip_uint64_t>(index), archiveTime(entry.time), 0) == 0;
  return isDone ? std::wstring() : zipReason(zip_get_error(archive));
}

std::wstring applyEntry(zip_t* archive, const ZipEntry& entry, ZipRun& run) {
  const std::string name = platform::toUtf8(entry.name);
  switch (entry.kind) {
    case ZipEntry::Kind::Stored:
      if (!entry.isRenamed || zip_file_rename(archive, entry.index, name.c_str(), ZIP_FL_ENC_UTF_8) == 0) return {};
      return zipReason(zip_get_error(archive));
    case ZipEntry::Kind::Directory:
      return addDirectory(archive, entry, name.c_str());
    default:
      return addContent(archive, entry, name.c_str(), run);
  }
}

std::wstring apply(zip_t* archive, const ZipEntries& entries, std::uint64_t stored, ZipRun& run) {
  std::vector<bool> isKept(stored, false);
  for (const auto& [id, entry] : entries.all()) {
    if (entry.kind == ZipEntry::Kind::Stored) isKept.at(entry.index) = true;
  }
  for (std::uint64_t index = 0; index < stored; ++index) {
    if (!isKept[index] && zip_delete(archive, index) != 0) return zipReason(zip_get_error(archive));
  }
  for (const auto& [id, entry] : entries.all()) {
    std::wstring reason = aboutEntry(entry, applyEntry(archive, entry, run));
    if (!reason.empty()) return reason;
  }
  return {};
}

}  // namespace

std::wstring writeArchive(const ZipEntries& entries, ZipReader* reader, IZipOutput& output, ZipRun& run) {
  if (entries.all().empty()) {
    if (reader != nullptr) reader->input().release();
    return writeEmpty(output);
  }
  if (reader != nullptr && !isChanged(entries, *reader)) return writeUnchanged(reader->input(), output);
  ZipErrorScope scope;
  ZipSourceHandle source = makeArchiveSource(reader == nullptr ? nullptr : &reader->input(), &output, run);
  if (!source) return L"out of memory";
  const int flags = reader == nullptr ? ZIP_CREATE | ZIP_TRUNCATE : 0;
  ZipHandle archive(zip_open_from_source(source.get(), flags, &scope.error));
  if (!archive) return zipReason(&scope.error);
  static_cast<void>(source.release());  // the archive's by now
  std::wstring reason = apply(archive.get(), entries, reader == nullptr ? 0 : reader->count(), run);
  if (!reason.empty()) return reason;
  if (zip_close(archive.get()) != 0) {
    return run.failure.empty() ? zipReason(zip_get_error(archive.get())) : run.failure;
  }
  static_cast<void>(archive.release());  // gone with zip_close
  return {};
}

}  // namespace Quorvel::FileAccess
