#include "toolkit/ZipExtraction.h"

#include <algorithm>
#include <optional>

#include "platform/ExactNames.h"
#include "platform/Files.h"
#include "platform/Paths.h"
#include "platform/Text.h"
#include "platform/Time.h"
#include "toolkit/DirectoryListing.h"

namespace Quorvel::FileAccess {

namespace {

constexpr wchar_t kEnded[] = L"ended by the caller";

std::wstring aboutEntry(const ZipEntry& entry, const std::wstring& reason) {
  return L"entry \"" + entry.name + L"\": " + reason;
}

/// @return 0 when the directory is there afterwards
DWORD makeDirectory(const std::wstring& path) {
  const int error = SHCreateDirectoryExW(nullptr, path.c_str(), nullptr);
  return error == ERROR_ALREADY_EXISTS ? ERROR_SUCCESS : static_cast<DWORD>(error);
}

}  // namespace

ZipExtraction::ZipExtraction(const ZipContent& content, const wchar_t* directory, bool keepsTime)
    : content_(content), directory_(directory == nullptr ? L"" : directory), keepsTime_(keepsTime) {}

bool ZipExtraction::add(const ZipEntry& entry, const std::wstring& name, std::wstring& reason) {
  reason = nameRefusal(name);
  if (reason.empty()) reason = clashes_.add(name);
  if (reason.empty()) reason = content_.refusal(entry);
  if (!reason.empty()) {
    reason = aboutEntry(entry, reason);
    return false;
  }
  std::wstring below = name;
  std::replace(below.begin(), below.end(), L'/', L'\\');
  if (entry.isDirectory()) below.pop_back();
  items_.push_back({&entry, entry.name, platform::joinPath(directory_, below)});
  total_ += content_.size(entry);
  return true;
}

/// A link below the directory may lead to another place in it, and nowhere else.
std::wstring ZipExtraction::linkRefusal(const Item& item) const {
  const std::wstring place = platform::lexicallyRelative(platform::weaklyCanonical(item.path), canonical_);
  const bool isInside = !place.empty() && place != L".." && place.rfind(L"..\\", 0) != 0;
  return isInside ? std::wstring() : L"a link on the way to \"" + item.path + L"\" leads out of the directory";
}

bool ZipExtraction::prepare(std::wstring& reason) {
  canonical_ = platform::weaklyCanonical(directory_);
  for (const Item& item : items_) {
    reason = linkRefusal(item);
    if (reason.empty()) continue;
    reason = aboutEntry(*item.entry, reason);
    return false;
  }
  const DWORD error = makeDirectory(directory_);
  std::vector<DirectoryEntry> found;
  isFresh_ = listDirectory(directory_, L"*", Arriving::Shown, found) == ERROR_SUCCESS && found.empty();
  if (error != ERROR_SUCCESS) reason = L"directory \"" + directory_ + L"\" can't be made: " + systemReason(error);
  if (!reason.empty()) return false;
  const std::optional<std::uint64_t> room = platform::freeSpace(directory_);
  if (!room || total_ <= *room) return true;
  reason = platform::formatWide(L"directory \"%s\" has room for %llu bytes, the content has %llu", directory_, *room,
                                total_);
  return false;
}

bool ZipExtraction::run(CkZipProgressW* callback, std::wstring& reason) {
  if (!prepare(reason)) return false;
  ZipMeter meter(callback, total_);
  for (const Item& item : items_) {
    reason = extract(item, meter);
    if (reason.empty()) continue;
    reason = aboutEntry(*item.entry, reason);
    return false;
  }
  meter.finish();
  return true;
}

std::wstring ZipExtraction::extract(const Item& item, ZipMeter& meter) const {
  const bool isDirectory = item.entry->isDirectory();
  const std::wstring directory = isDirectory ? item.path : platform::directoryOf(item.path);
  const DWORD error = makeDirectory(directory);
  if (error != ERROR_SUCCESS) return L"directory \"" + directory + L"\" can't be made: " + systemReason(error);
  return isDirectory ? std::wstring() : writeFile(item, meter);
}

std::wstring ZipExtraction::writeFile(const Item& item, ZipMeter& meter) const {
  std::optional<platform::ScopedExactNames> exact;
  if (isFresh_) exact.emplace(platform::directoryOf(item.path));
  ArrivingFile file(item.path);
  std::wstring failure;
  const auto failed = [&item] {
    return L"file \"" + item.path + L"\" can't be written: " + systemReason(GetLastError());
  };
  if (!file.isOpen()) return failed();
  constexpr std::size_t kLargest = std::size_t{1} << 30U;
  std::wstring reason = content_.read(*item.entry, [&](const void* data, std::size_t size) {
    for (std::size_t done = 0; done < size && failure.empty();) {
      const std::size_t count = std::min(size - done, kLargest);
      if (!file.write(static_cast<const char*>(data) + done, static_cast<DWORD>(count))) failure = failed();
      done += count;
    }
    if (failure.empty() && !meter.add(size)) failure = kEnded;
    return failure.empty();
  });
  if (!failure.empty()) return failure;
  if (!reason.empty()) return reason;
  const FILETIME time = content_.time(*item.entry);
  if (keepsTime_ && platform::toTicks(time) != 0) file.setWriteTime(time);
  // Content that only the archive holds besides is there again after a power failure; what it replaces is not.
  return file.takePlace(file.isReplacement()) ? std::wstring() : failed();
}

}  // namespace Quorvel::FileAccess
