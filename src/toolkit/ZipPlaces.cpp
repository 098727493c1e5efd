#include "toolkit/ZipPlaces.h"

#include <utility>

#include "platform/Files.h"
#include "platform/Paths.h"
#include "platform/Text.h"
#include "toolkit/DirectoryListing.h"
#include "toolkit/ZipLibrary.h"

namespace Quorvel::FileAccess {

namespace {

/// Directory, without a separator at its end, and leaf.
std::pair<std::wstring, std::wstring> split(const std::wstring& name) {
  const std::size_t end = name.rfind(L'\\');
  if (end == std::wstring::npos) return {L"", name};
  return {name.substr(0, end), name.substr(end + 1)};
}

}  // namespace

ZipPlaces::ZipPlaces(std::wstring top, bool isMany)
    : top_(std::move(top)), isMany_(isMany), canonical_(platform::weaklyCanonical(top_)) {}

std::wstring ZipPlaces::add(const std::wstring& name) {
  const auto [directory, leaf] = split(name);
  const auto [number, isNew] = numbers_.emplace(platform::toLower(directory), places_.size());
  if (isNew) {
    Place& place = places_.emplace_back();
    place.path = directory.empty() ? top_ : platform::joinPath(top_, directory);
    std::wstring reason = directory.empty() ? std::wstring() : linkRefusal(place.path);
    if (reason.empty() && isMany_) reason = look(place);
    if (!reason.empty()) return reason;
  }
  const Place& place = places_[number->second];
  if (!isMany_) return leaf.empty() ? std::wstring() : linkRefusal(platform::joinPath(place.path, leaf));
  const std::wstring& found = nameIn(place, leaf);
  return place.links.count(found) > 0 ? linkRefusal(platform::joinPath(place.path, found)) : std::wstring();
}

std::wstring ZipPlaces::look(Place& place) const {
  if (!platform::fileStatus(place.path).isDirectory) return {};
  std::vector<DirectoryEntry> found;
  const DWORD error = listDirectory(place.path, L"*", Arriving::Shown, found);
  if (error != ERROR_SUCCESS) return L"directory \"" + place.path + L"\" can't be read: " + systemReason(error);
  for (const DirectoryEntry& entry : found) {
    place.there.emplace(platform::toLower(entry.name), entry.name);
    if (entry.isLink) place.links.insert(entry.name);
  }
  return {};
}

std::wstring ZipPlaces::linkRefusal(const std::wstring& path) const {
  const std::wstring place = platform::lexicallyRelative(platform::weaklyCanonical(path), canonical_);
  const bool isInside = !place.empty() && place != L".." && place.rfind(L"..\\", 0) != 0;
  return isInside ? std::wstring() : L"a link on the way to \"" + path + L"\" leads out of the directory";
}

/// As the disk has it: exactly so, or the first in order that differs in letter case only, or new.
const std::wstring& ZipPlaces::nameIn(const Place& place, const std::wstring& leaf) const {
  const std::wstring* found = &leaf;
  const auto [first, last] = place.there.equal_range(platform::toLower(leaf));
  for (auto name = first; name != last; ++name) {
    if (name->second == leaf) return leaf;
    if (found == &leaf || name->second < *found) found = &name->second;
  }
  return *found;
}

std::wstring ZipPlaces::make() {
  for (Place& place : places_) {
    const int error = SHCreateDirectoryExW(nullptr, place.path.c_str(), nullptr);
    if (error != ERROR_SUCCESS && error != ERROR_ALREADY_EXISTS) {
      return L"directory \"" + place.path + L"\" can't be made: " + systemReason(static_cast<DWORD>(error));
    }
    if (isMany_) place.path = platform::libraryPath(platform::systemPath(place.path));
  }
  return {};
}

std::wstring ZipPlaces::pathOf(const std::wstring& name) const {
  const auto [directory, leaf] = split(name);
  const Place& place = places_[numbers_.at(platform::toLower(directory))];
  return platform::joinPath(place.path, nameIn(place, leaf));
}

}  // namespace Quorvel::FileAccess
