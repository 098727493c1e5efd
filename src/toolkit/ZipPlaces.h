// The directories into which entries go: what is in them, and whether they are where they seem to be. Internal to the
// toolkit.
#pragma once

#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

namespace Quorvel::FileAccess {

/// For many names each directory is read once, so that a name is found in it without reading it again. Nobody else is
/// expected to add names that differ in letter case meanwhile.
class ZipPlaces {
 public:
  /// @param top     library path
  /// @param isMany  false for a single name, for which the system looks
  ZipPlaces(std::wstring top, bool isMany);

  /// Takes a file's name below the top on, with backslashes; a directory's ends with one. A link on the way may lead to
  /// another place below the top, and nowhere else.
  /// @return why it is refused; empty when it isn't
  std::wstring add(const std::wstring& name);
  /// Makes all directories. @return the reason on a failure
  std::wstring make();
  /// Where a file goes: with its directories as they are on the disk, and with its own name when it is there. After
  /// make(), any thread.
  std::wstring pathOf(const std::wstring& name) const;

 private:
  struct Place {
    std::wstring path;
    std::unordered_multimap<std::wstring, std::wstring> there;  // names by themselves in lower case
    std::unordered_set<std::wstring> links;                     // of them
  };
  std::wstring look(Place& place) const;
  std::wstring linkRefusal(const std::wstring& path) const;
  const std::wstring& nameIn(const Place& place, const std::wstring& leaf) const;

  std::wstring top_;
  bool isMany_;
  std::wstring canonical_;  // of the top
  std::vector<Place> places_;
  std::unordered_map<std::wstring, std::size_t> numbers_;  // of places, by their names below the top in lower case
};

}  // namespace Quorvel::FileAccess
