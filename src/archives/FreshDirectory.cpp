#include "archives/FreshDirectory.h"

#include <array>

#include "host/Guid.h"
#include "host/Trace.h"
#include "platform/Durable.h"
#include "platform/Files.h"
#include "platform/Paths.h"
#include "platform/Text.h"
#include "platform/Time.h"
#include "toolkit/DirectoryListing.h"

namespace Quorvel::FileAccess {

namespace {

constexpr const wchar_t* kOperation = L"Quorvel::FileAccess::FreshDirectory";
constexpr const wchar_t* kMark = L".zephor-unfinished";
constexpr std::wstring_view kEnding = L".tmp";
// Longer than any unpacking: where locks do not reach another machine, its directories are safe all the same.
constexpr std::uint64_t kDayTicks = std::uint64_t{24} * 60 * 60 * 10'000'000;

/// Whether a directory has the name of one of these: the GUID makes it nobody's else.
bool isNameOfOne(const std::wstring& name) {
  if (name.empty() || name.front() != L'.' || !platform::endsWithIgnoreCase(name, kEnding)) return false;
  const std::wstring rest = name.substr(0, name.size() - kEnding.size());
  const std::wstring guid = rest.substr(rest.rfind(L'.') + 1);
  const std::wstring one = Cad::Service::ZP_GUIDValueProvider::printGUID(GUID());
  return guid.size() == one.size() && guid.find_first_not_of(L"0123456789abcdefABCDEF-{}") == std::wstring::npos;
}

/// Whether its owner is gone.
bool isLeft(const std::wstring& directory) {
  const std::wstring mark = platform::joinPath(directory, kMark);
  const platform::FileStatus status = platform::fileStatus(mark);
  FILETIME now{};
  GetSystemTimeAsFileTime(&now);
  if (!status.exists || platform::toTicks(status.writeTime) + kDayTicks > platform::toTicks(now)) return false;
  return OpenFile(mark, GENERIC_READ | GENERIC_WRITE, 0, OPEN_EXISTING).isOpen();
}

void removeLeft(const std::wstring& parent) {
  std::vector<DirectoryEntry> found;
  if (listDirectory(parent, L".*.tmp", Arriving::Shown, found) != ERROR_SUCCESS) return;
  for (const DirectoryEntry& entry : found) {
    const std::wstring path = platform::joinPath(parent, entry.name);
    if (!entry.isDirectory || entry.isLink || !isNameOfOne(entry.name) || !isLeft(path)) continue;
    lfperrC(L"%s: %s: left unfinished, removed\n", kOperation, path);
    platform::removeTree(path);
  }
}

}  // namespace

FreshDirectory::FreshDirectory(const std::wstring& parent, const std::wstring& name) {
  const std::wstring random = Cad::Service::ZP_GUIDValueProvider::printGUID(GetGUID());
  path_ = platform::joinPath(parent, platform::formatWide(L".%s.%s.tmp", name, random));
  for (std::wstring above = parent; !above.empty() && !platform::fileStatus(above).exists;) {
    parents_.push_back(above);
    above = platform::directoryOf(above);
  }
  removeLeft(parent);
  error_ = static_cast<DWORD>(SHCreateDirectoryExW(nullptr, path_.c_str(), nullptr));
  if (error_ == ERROR_SUCCESS) mark_.emplace(platform::joinPath(path_, kMark), GENERIC_WRITE, 0, CREATE_NEW);
}

FreshDirectory::FreshDirectory(const std::wstring& target)
    : FreshDirectory(platform::directoryOf(target), platform::fileNameOf(target)) {}

FreshDirectory::~FreshDirectory() {
  if (isPlaced_) return;
  mark_.reset();
  platform::removeTree(path_);
  for (const std::wstring& parent : parents_) RemoveDirectoryW(parent.c_str());
}

DWORD FreshDirectory::takePlace(const std::wstring& target) {
  mark_.reset();
  if (DeleteFileW(platform::joinPath(path_, kMark).c_str()) == FALSE && GetLastError() != ERROR_FILE_NOT_FOUND) {
    return GetLastError();
  }
  if (const DWORD error = platform::makeDurable(path_)) return error;
  isPlaced_ = MoveFileExW(path_.c_str(), target.c_str(), 0) != FALSE;
  if (!isPlaced_) return GetLastError();
  // It is whole either way, so that a failure here is none.
  platform::makeDurable(platform::directoryOf(target), {platform::fileNameOf(target)});
  return ERROR_SUCCESS;
}

std::wstring temporaryDirectory() {
  std::array<wchar_t, MAX_PATH + 1> directory{};
  const DWORD length = GetTempPathW(static_cast<DWORD>(directory.size()), directory.data());
  return length < directory.size() ? std::wstring(directory.data(), length) : std::wstring();
}

}  // namespace Quorvel::FileAccess
