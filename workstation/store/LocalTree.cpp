#include "workstation/store/LocalTree.h"

#include <filesystem>
#include <string_view>

#include "host/Trace.h"
#include "platform/FileSharing.h"
#include "platform/Files.h"
#include "platform/Paths.h"
#include "platform/Text.h"
#include "platform/Time.h"
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

constexpr std::string_view kEnding = ".tmp";
constexpr std::size_t kStemSize = 17;  // "~" and 16 hexadecimal digits

/// A file that a process left beside its place when it was killed; see LocalTree::besides and takenOutName.
bool isOldLeftover(const DiskEntry& entry) {
  constexpr std::int64_t kGraceSeconds = 3600;
  std::string replaced;
  return !entry.isDirectory && isLeftoverOfLoad(entry.name, replaced) &&
         entry.changedSeconds < nowSeconds() - kGraceSeconds;
}

/// Of a leftover by its name, without directory.
std::wstring nameInBackup(const std::string& name) {
  return L"Backup\\" + platform::fromUtf8(name.substr(kStemSize + 1) + "." + name.substr(1, 8));
}

void moveToBackup(const std::string& path, const std::wstring& root, const std::wstring& kept) {
  makeDirectories(platform::systemPath(platform::joinPath(root, L"Backup")));
  if (!renameWithoutReplacing(path, platform::systemPath(platform::joinPath(root, kept)))) {
    throw StoreError{kStoreAccessDenied, L"\"" + kept + L"\" is there already"};
  }
}

/// The name under which a file changes places with the one that it replaces. What is found under it may be somebody's
/// work, if the process was killed before it had looked at it.
std::string takenOutName(const std::string& from, const LocalPlace& place) {
  constexpr std::size_t kLongest = 200;
  const std::string stem = from.substr(0, from.size() - kEnding.size());
  return stem + "." + (place.name.size() <= kLongest ? place.name : "file") + std::string(kEnding);
}

FileContent contentAtPath(const std::string& path) {
  const auto status = diskStatus(path);
  if (!status) return {};
  if (!status->isLink) return {static_cast<std::int64_t>(status->size), status->modifiedTicks, {}};
  const platform::FileStatus target = platform::fileStatus(platform::libraryPath(path));
  if (!target.exists) return {};
  return {static_cast<std::int64_t>(target.size), static_cast<std::int64_t>(platform::toTicks(target.writeTime)), {}};
}

/// What was taken out is not what was judged: it gets its place back.
/// @param ours  content of the file that is at the place now, unless somebody has changed that, too
void putBack(const std::string& takenOut, const LocalPlace& place, const FileContent& ours) {
  const std::string target = place.systemPath();
  if (renameWithoutReplacing(takenOut, target)) return;
  exchangeNames(takenOut, target);
  if (isAsSeen(contentAtPath(takenOut), ours)) {
    removeFile(takenOut);
  } else {
    renameWithoutReplacing(takenOut, target + "." + randomHex(4));
  }
}

/// For file systems that can't exchange: what comes to the place between the look and the rename is lost.
void replaceDirectly(const std::string& from, const LocalPlace& place, const FileContent& judged) {
  if (!isAsSeen(contentAtPath(place.systemPath()), judged)) throwChangedHere(place);
  renameReplacing(from, place.systemPath());
}

void keepMarks(const std::string& from, const LocalPlace& place) {
  constexpr DWORD kMarks = FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_SYSTEM;
  const DWORD kept = GetFileAttributesW(place.path.c_str());
  if (kept != INVALID_FILE_ATTRIBUTES && (kept & kMarks) != 0) {
    SetFileAttributesW(platform::libraryPath(from).c_str(), kept & kMarks);
  }
}

[[noreturn]] void refuse(const std::wstring& path, const wchar_t* why) {
  throw StoreError{kStoreAccessDenied, L"\"" + path + L"\" can't be written: " + why};
}

}  // namespace

FileContent contentAt(const LocalPlace& place) {
  if (!place.exists || place.isLink) return place.exists ? contentAtPath(place.systemPath()) : FileContent{};
  return {place.size, place.modified, {}};
}

bool isAsSeen(const FileContent& now, const FileContent& seen) {
  return now.isKnown() ? now.looksLike(seen) : !seen.isKnown();
}

void throwChangedHere(const LocalPlace& place) {
  throw StoreError{kStoreChanged, L"\"" + place.path + L"\" was changed here meanwhile and stays"};
}

bool isLeftoverOfLoad(std::string_view name, std::string& replaced) {
  if (!name.starts_with("~") || !name.ends_with(kEnding) ||
      name.find_first_not_of("0123456789abcdef", 1) != kStemSize || name[kStemSize] != '.') {
    return false;
  }
  const std::size_t begin = kStemSize + 1;
  replaced = name.size() > begin + kEnding.size() ? name.substr(begin, name.size() - begin - kEnding.size()) : "";
  return true;
}

std::wstring clearLeftover(const std::wstring& root, const std::wstring& name,
                           const std::function<bool(const FileContent&)>& isKnown) {
  const std::string path = platform::systemPath(platform::joinPath(root, name));
  const std::string leaf = platform::toUtf8(platform::fileNameOf(name));
  std::string replaced;
  const auto status = diskStatus(path);
  if (!status || status->isDirectory || !isLeftoverOfLoad(leaf, replaced)) return {};
  if (!replaced.empty() && !status->isLink) {
    FileContent content = contentAtPath(path);
    content.sha256 = sha256OfFile(path);
    if (!isKnown(content)) {
      moveToBackup(path, root, nameInBackup(leaf));
      return nameInBackup(leaf);
    }
  }
  removeFile(path);
  return {};
}

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
      if (isOldLeftover(found)) {
        keepTakenOut(directory.path, found.name);
        continue;
      }
      const auto [known, fresh] =
          directory.names.try_emplace(platform::toLower(platform::fromUtf8(found.name)), found.name);
      if (!fresh && found.name < known->second) known->second = found.name;
    }
    directory.isListed = true;
  }
  const auto listed = directory.names.find(platform::toLower(platform::fromUtf8(name)));
  return listed == directory.names.end() ? nullptr : &listed->second;
}

/// Removes a leftover; one that may be somebody's work goes to the backup directory.
void LocalTree::keepTakenOut(const std::string& directory, const std::string& name) const {
  const std::string path = directory + "/" + name;
  if (name.size() == kStemSize + kEnding.size()) {
    removeFile(path);
    return;
  }
  const std::wstring kept = nameInBackup(name);
  const CloudStatus status = answerOf([&] { moveToBackup(path, root_, kept); });
  lfperrC(L"\"%s\", left by a load that was killed, %s\n", platform::fromUtf8(path),
          status == kStoreOk ? L"is kept as \"" + kept + L"\"" : std::wstring(L"can't be brought to safety"));
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

void LocalTree::replace(const std::string& from, const LocalPlace& place, const FileContent& judged) {
  const std::string target = place.systemPath();
  if (!place.exists) {
    if (!renameWithoutReplacing(from, target)) throwChangedHere(place);
    return;
  }
  const auto status = diskStatus(target);
  if (!status || !isAsSeen(contentAtPath(target), judged)) throwChangedHere(place);
  if (status->readOnly) refuse(place.path, L"it is read-only");
  // Other processes may have the file open; they are asked by their share modes.
  if (platform::isDeletingDenied(target)) throw StoreError{kStoreInUse, L"\"" + place.path + L"\" is open elsewhere"};
  // What its writer writes behind the exchange would go with the old file.
  if (isOpenForWriting(target)) {
    throw StoreError{kStoreInUse, L"\"" + place.path + L"\" is open for writing in another program"};
  }
  keepMarks(from, place);
  const FileContent ours = contentAtPath(from);
  const std::string takenOut = takenOutName(from, place);
  renameReplacing(from, takenOut);
  try {
    if (!exchangeNames(takenOut, target)) return replaceDirectly(takenOut, place, judged);
  } catch (const StoreError& error) {
    removeFile(takenOut);
    if (error.status == kStoreNotFound) throwChangedHere(place);
    throw;
  }
  if (isAsSeen(contentAtPath(takenOut), judged)) {
    removeFile(takenOut);
    return;
  }
  putBack(takenOut, place, ours);
  throwChangedHere(place);
}

}  // namespace workstation
