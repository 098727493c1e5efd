#include "toolkit/ZipExtraction.h"

#include <algorithm>
#include <optional>

#include "platform/ExactNames.h"
#include "platform/Files.h"
#include "platform/Paths.h"
#include "platform/Text.h"
#include "platform/Time.h"

namespace Quorvel::FileAccess {

namespace {

constexpr std::uint64_t kCluster = 4096;
// Less is done before a thread has started.
constexpr std::uint64_t kWorthThreads = std::uint64_t{256} << 10U;
constexpr wchar_t kEnded[] = L"ended by the caller";

std::wstring aboutEntry(const ZipEntry& entry, const std::wstring& reason) {
  return L"entry \"" + entry.name + L"\": " + reason;
}

}  // namespace

ZipExtraction::ZipExtraction(const ZipContent& content, const wchar_t* directory, const ZipExtractionOptions& options)
    : content_(content),
      directory_(directory == nullptr ? L"" : directory),
      options_(options),
      places_(directory_, options.isMany) {
  if (options_.threads == 0) options_.threads = suitableZipThreads();
}

bool ZipExtraction::add(const ZipEntry& entry, const std::wstring& name, std::wstring& reason) {
  std::wstring below = name;
  std::replace(below.begin(), below.end(), L'/', L'\\');
  reason = nameRefusal(name);
  if (reason.empty()) reason = clashes_.add(name);
  if (reason.empty()) reason = content_.refusal(entry);
  if (reason.empty()) reason = places_.add(below);
  if (!reason.empty()) {
    reason = aboutEntry(entry, reason);
    return false;
  }
  if (entry.isDirectory()) return true;
  const std::uint64_t size = content_.size(entry);
  files_.push_back({&entry, std::move(below), size, content_.time(entry)});
  total_ += size;
  room_ += (size + kCluster - 1) / kCluster * kCluster;
  return true;
}

std::wstring ZipExtraction::prepare() {
  const int error = SHCreateDirectoryExW(nullptr, directory_.c_str(), nullptr);
  if (error != ERROR_SUCCESS && error != ERROR_ALREADY_EXISTS) {
    return L"directory \"" + directory_ + L"\" can't be made: " + systemReason(static_cast<DWORD>(error));
  }
  const std::optional<std::uint64_t> room = platform::freeSpace(directory_);
  if (!room || room_ <= *room) return places_.make();
  return platform::formatWide(L"directory \"%s\" has room for %llu bytes, the content has %llu", directory_, *room,
                              total_);
}

bool ZipExtraction::run(CkZipProgressW* callback, std::wstring& reason) {
  reason = prepare();
  if (!reason.empty()) return false;
  ZipMeter meter(callback, total_);
  ZipTally tally(meter);
  std::vector<std::uint64_t> weights;
  for (const Item& item : files_) weights.push_back(std::min(item.size, kStreamedFrom));
  const auto work = [&](std::size_t number) {
    const Item& item = files_[number];
    const std::wstring failure = writeFile(item, tally);
    return failure.empty() ? failure : aboutEntry(*item.entry, failure);
  };
  reason = workTogether(weights, kStreamedFrom, total_ < kWorthThreads ? 1 : options_.threads, work, tally);
  if (reason.empty() && !tally.tell()) reason = kEnded;
  if (!reason.empty()) return false;
  meter.finish();
  return true;
}

std::wstring ZipExtraction::writeFile(const Item& item, ZipTally& tally) const {
  const std::wstring path = places_.pathOf(item.name);
  std::optional<platform::ScopedExactNames> exact;
  if (options_.isMany) exact.emplace(platform::directoryOf(path));
  ArrivingFile file(path);
  std::wstring failure;
  const auto failed = [&path] { return L"file \"" + path + L"\" can't be written: " + systemReason(GetLastError()); };
  if (!file.isOpen()) return failed();
  constexpr std::size_t kLargest = std::size_t{1} << 30U;
  std::wstring reason = content_.read(*item.entry, [&](const void* data, std::size_t size) {
    for (std::size_t done = 0; done < size && failure.empty();) {
      const std::size_t count = std::min(size - done, kLargest);
      if (!file.write(static_cast<const char*>(data) + done, static_cast<DWORD>(count))) failure = failed();
      done += count;
    }
    if (failure.empty() && !tally.add(size)) failure = kEnded;
    return failure.empty();
  });
  if (!failure.empty()) return failure;
  if (!reason.empty()) return reason;
  if (options_.keepsTime && platform::toTicks(item.time) != 0) file.setWriteTime(item.time);
  // Content that only the archive holds besides is there again after a power failure; what it replaces is not.
  return file.takePlace(file.isReplacement()) ? std::wstring() : failed();
}

}  // namespace Quorvel::FileAccess
