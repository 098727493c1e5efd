#include "toolkit/ZipReady.h"

#include <exception>

#include "platform/Files.h"
#include "platform/Time.h"
#include "toolkit/ZipLibrary.h"

namespace Quorvel::FileAccess {

namespace {

// More than a step of the system's write times.
constexpr DWORD kStepMilliseconds = 20;
constexpr std::uint64_t kStepTicks = std::uint64_t{kStepMilliseconds} * 10000;
constexpr int kMostReadings = 6;

bool isJustWritten(const FileState& state) {
  FILETIME now{};
  GetSystemTimeAsFileTime(&now);
  const std::uint64_t ticks = platform::toTicks(now);
  return state.exists && state.ticks + kStepTicks > ticks && state.ticks < ticks + kStepTicks;
}

std::wstring aboutFile(const ZipEntry& entry, const std::wstring& reason) {
  return L"file \"" + entry.path + L"\" " + reason;
}

/// @return null, with ready.failure or ready.isLarge
std::shared_ptr<CkByteData> readFile(const ZipEntry& entry, ReadyContent& ready) {
  for (int i = 0; i < kMostReadings; ++i) {
    const std::optional<FileState> before = settledStateOf(entry.path);
    if (!before) break;
    ready.isLarge = before->size > kStreamedFrom;
    if (ready.isLarge) return nullptr;
    auto content = std::make_shared<CkByteData>();
    if (!content->loadFile(entry.path)) {
      ready.failure = aboutFile(entry, L"can't be read: " + systemReason(GetLastError()));
      return nullptr;
    }
    ready.state = stateOf(entry.path);
    if (ready.state == *before && content->getSize() == before->size) return content;
  }
  ready.failure = aboutFile(entry, L"was written each time that it was read");
  return nullptr;
}

}  // namespace

FileState stateOf(const std::wstring& path) {
  const platform::FileStatus status = platform::fileStatus(path);
  return {status.exists, status.size, platform::toTicks(status.writeTime)};
}

std::optional<FileState> settledStateOf(const std::wstring& path) {
  for (int i = 0; i < kMostReadings; ++i) {
    const FileState state = stateOf(path);
    if (!isJustWritten(state)) return state;
    Sleep(kStepMilliseconds);
  }
  return std::nullopt;
}

bool isDatabase(std::string_view content) {
  constexpr std::string_view kMark("SQLite format 3\0", 16);
  return content.substr(0, kMark.size()) == kMark;
}

ReadyContent makeReady(const ZipEntry& entry, int level) try {
  ReadyContent ready;
  std::shared_ptr<const CkByteData> content = entry.data;
  if (entry.kind == ZipEntry::Kind::File) {
    content = readFile(entry, ready);
    if (!content) return ready;
    ready.isDatabase = isDatabase({reinterpret_cast<const char*>(content->getData()), content->getSize()});
  }
  ready.size = content->getSize();
  ready.crc = CkZipCrc::CalculateCrc(*content);
  if (level > 0) ready.block = deflateBlock(content->getData(), content->getSize(), level);
  if (!ready.block.bytes) ready.stored = std::move(content);
  return ready;
} catch (const std::exception&) {
  ReadyContent ready;
  ready.failure = L"out of memory";
  return ready;
}

}  // namespace Quorvel::FileAccess
