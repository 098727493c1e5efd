#include "workstation/store/LocalTree.h"

#include <filesystem>

#include "platform/Files.h"
#include "platform/Paths.h"
#include "platform/Text.h"
#include "workstation/store/Bodies.h"
#include "workstation/store/DiskFiles.h"
#include "workstation/store/StoreError.h"

namespace workstation {

namespace {

std::string canonical(const std::string& path) {
  std::error_code error;
  const std::filesystem::path found = std::filesystem::canonical(path, error);
  if (error) throw StoreError{kStoreNotFound, L"\"" + platform::fromUtf8(path) + L"\" can't be found"};
  return found.string();
}

/// A file that a process left beside its place when it was killed; see LocalTree::besides.
bool isOldLeftover(const DiskEntry& entry) {
  constexpr std::int64_t kGraceSeconds = 3600;
  return !entry.isDirectory && entry.name.size() == 21 && entry.name.starts_with("~") && entry.name.ends_with(".tmp") &&
         entry.name.find_first_not_of("0123456789abcdef", 1) == 17 &&
         entry.modifiedSeconds < nowSeconds() - kGraceSeconds;
}

[[noreturn]] void refuse(const std::wstring& path, const wchar_t* why) {
  throw StoreError{kStoreAccessDenied, L"\"" + path + L"\" can't be written: " + why};
}

}  // namespace

LocalTree::LocalTree(const std::wstring& root) : root_(root) {
  const std::string path = platform::systemPath(root);
  if (path.empty()) throw StoreError{kStoreInvalidName, L"\"" + root + L"\" is not a directory to bring files to"};
  makeDirectories(path);
  canonicalRoot_ = canonical(path);
  directories_[L""].path = path;
}

const std::string* LocalTree::find(Directory& directory, const std::string& name) {
  const auto [entry, added] = directory.names.try_emplace(platform::toLower(platform::fromUtf8(name)), name);
  if (!added) return &entry->second;
  // The exact name needs no listing, which costs more the more files there are.
  if (!directory.isListed && diskStatus(directory.path + "/" + name)) return &entry->second;
  directory.names.erase(entry);
  if (!directory.isListed) {
    for (const DiskEntry& found : listDirectory(directory.path)) {
      if (isOldLeftover(found) && removeFile(directory.path + "/" + found.name)) continue;
      const auto [known, fresh] =
          directory.names.try_emplace(platform::toLower(platform::fromUtf8(found.name)), found.name);
      if (!fresh && found.name < known->second) known->second = found.name;
    }
    directory.isListed = true;
  }
  const auto listed = directory.names.find(platform::toLower(platform::fromUtf8(name)));
  return listed == directory.names.end() ? nullptr : &listed->second;
}

LocalTree::Directory& LocalTree::directoryOf(const std::wstring& relative) {
  const std::wstring key = platform::toLower(relative);
  if (const auto known = directories_.find(key); known != directories_.end()) return known->second;
  Directory& parent = directoryOf(platform::directoryOf(relative));
  const std::string wanted = platform::toUtf8(platform::fileNameOf(relative));
  const std::string* const present = find(parent, wanted);
  Directory directory;
  directory.path = parent.path + "/" + (present != nullptr ? *present : wanted);
  if (present == nullptr) {
    makeDirectory(directory.path);
    parent.names.emplace(platform::toLower(platform::fromUtf8(wanted)), wanted);
  }
  if (!canonical(directory.path).starts_with(canonicalRoot_ + "/")) {
    refuse(platform::joinPath(root_, relative), L"a link leads out of the directory");
  }
  return directories_[key] = std::move(directory);
}

LocalPlace LocalTree::place(const std::wstring& relative) {
  Directory& directory = directoryOf(platform::directoryOf(relative));
  LocalPlace place;
  place.directory = directory.path;
  place.name = platform::toUtf8(platform::fileNameOf(relative));
  place.path = platform::joinPath(root_, relative);
  if (const std::string* const present = find(directory, place.name)) {
    const auto status = diskStatus(directory.path + "/" + *present);
    place.name = *present;
    place.exists = status.has_value();
    if (status) {
      place.isLink = status->isLink;
      place.size = static_cast<std::int64_t>(status->size);
      place.modified = status->modifiedTicks;
    }
    if (status && status->isDirectory) refuse(place.path, L"it is a directory");
    if (status && status->readOnly) refuse(place.path, L"it is read-only");
  }
  return place;
}

std::string LocalTree::besides(const LocalPlace& place) {
  return place.directory + "/~" + randomHex(8) + ".tmp";
}

void LocalTree::replace(const std::string& from, const LocalPlace& place) {
  if (place.exists) {
    const DWORD kept = GetFileAttributesW(place.path.c_str());
    constexpr DWORD kMarks = FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_SYSTEM;
    if (kept != INVALID_FILE_ATTRIBUTES && (kept & kMarks) != 0) {
      SetFileAttributesW(platform::libraryPath(from).c_str(), kept & kMarks);
    }
  }
  // A new name needs no look at the directory, which would cost a batch its square.
  if (!place.exists && renameWithoutReplacing(from, place.systemPath())) return;
  // Other processes may have the file open; they are asked by their share modes.
  const std::wstring source = platform::libraryPath(from);
  const std::wstring target = platform::libraryPath(place.systemPath());
  if (MoveFileExW(source.c_str(), target.c_str(), MOVEFILE_REPLACE_EXISTING) == FALSE) {
    const DWORD code = GetLastError();
    throw StoreError{statusOfError(code),
                     platform::formatWide(L"\"%s\" can't be replaced (error %u)", place.path, code)};
  }
}

}  // namespace workstation
