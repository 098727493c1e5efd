#include "workstation/objects/OpenFiles.h"

#include <algorithm>
#include <map>
#include <vector>

#include "platform/Files.h"
#include "platform/Paths.h"
#include "platform/Text.h"
#include "workstation/objects/ObjectFile.h"
#include "workstation/objects/ObjectNames.h"

namespace workstation {
namespace {

struct Table {
  std::mutex mutex;
  std::map<int, std::shared_ptr<OpenFile>> files;
  int lastHandle = 0;
};

Table& table() {
  static Table instance;
  return instance;
}

std::wstring keyOf(const std::wstring& path) {
  return platform::toLower(platform::weaklyCanonical(path));
}

template <typename Predicate>
std::shared_ptr<OpenFile> findWhere(const Predicate& predicate) {
  const std::lock_guard lock(table().mutex);
  for (const auto& [handle, open] : table().files)
    if (predicate(*open)) return open;
  return nullptr;
}

bool isEmpty() {
  const std::lock_guard lock(table().mutex);
  return table().files.empty();
}

/// Takes the file away from those who still hold the entry, when none of them is at work with it.
void closeEntry(OpenFile& open) {
  const std::lock_guard lock(open.mutex);
  CloseHandle(open.file.exchange(INVALID_HANDLE_VALUE));
}

}  // namespace

int openInCore(const std::wstring& path, std::wstring& error) {
  recoverInterruptedReplace(path);
  ObjectFileInfo info;
  if (readObjectHeader(path, info, error) != ERROR_SUCCESS) return 0;
  auto open = std::make_shared<OpenFile>();
  open->path = path;
  open->key = keyOf(path);
  open->type = info.type;
  open->number = numberOf(info.record);
  open->compressed = info.compressed;
  if (findWhere([&](const OpenFile& other) { return other.key == open->key; })) {
    error = path + L": is open in the core already";
    return 0;
  }
  open->file = CreateFileW(path.c_str(), GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ, nullptr, OPEN_EXISTING,
                           FILE_ATTRIBUTE_NORMAL, nullptr);
  if (open->file == INVALID_HANDLE_VALUE) {
    error = platform::formatWide(L"%s: can't be opened for writing (error %u)", path, GetLastError());
    return 0;
  }
  const std::lock_guard lock(table().mutex);
  open->handle = ++table().lastHandle;
  table().files.emplace(open->handle, open);
  return open->handle;
}

void closeInCore(int handle) {
  std::shared_ptr<OpenFile> open;
  {
    const std::lock_guard lock(table().mutex);
    const auto found = table().files.find(handle);
    if (found == table().files.end()) return;
    open = found->second;
    table().files.erase(found);
  }
  closeEntry(*open);
}

void closeAllInCore() {
  std::map<int, std::shared_ptr<OpenFile>> files;
  {
    const std::lock_guard lock(table().mutex);
    files.swap(table().files);
  }
  for (const auto& [handle, open] : files) closeEntry(*open);
}

bool markModified(int handle, bool modified) {
  const auto open = findOpenFile(handle);
  if (!open) return false;
  open->modified = modified;
  return true;
}

std::shared_ptr<OpenFile> findOpenFile(int handle) {
  return findWhere([handle](const OpenFile& open) { return open.handle == handle; });
}

std::shared_ptr<OpenFile> findOpenFile(const std::wstring& path) {
  // Most files are not open, and most programs have none open: the canonical path is asked of the disk only then.
  if (isEmpty()) return nullptr;
  const std::wstring key = keyOf(path);
  return findWhere([&key](const OpenFile& open) { return open.key == key; });
}

std::shared_ptr<OpenFile> findOpenFile(HANDLE file) {
  if (file == nullptr || file == INVALID_HANDLE_VALUE) return nullptr;
  return findWhere([file](const OpenFile& open) { return open.file == file; });
}

QuiescedFile::QuiescedFile(const std::wstring& path) : open_(findOpenFile(path)) {
  if (open_) lock_ = std::unique_lock(open_->mutex);
}

}  // namespace workstation
