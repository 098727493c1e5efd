// A directory of this workstation to which files of a project are brought: finds their places without regard to letter
// case, keeps them inside, and replaces a file only by a whole one.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "host/Cloud.h"
#include "workstation/store/CacheRecord.h"

namespace workstation {

/// Where one file goes.
struct LocalPlace {
  std::string directory;  ///< path of the system
  std::string name;       ///< as it is on the disk already, or as the project has it
  std::wstring path;      ///< library path
  bool exists = false;
  bool isLink = false;
  std::int64_t size = 0;      ///< when the place was found; of a link its own
  std::int64_t modified = 0;  ///< the same, 100 ns since 1601

  std::string systemPath() const { return directory + "/" + name; }
};

/// Content of a file on the disk without its hash; none when there is no file.
FileContent contentAt(const LocalPlace& place);
/// Whether a place has what was seen there before; both may be none.
bool isAsSeen(const FileContent& now, const FileContent& seen);
[[noreturn]] void throwChangedHere(const LocalPlace& place);

/// Whether a load left a file of this name behind when it was killed, and of which file.
/// @param name  without directory
/// @param replaced  name of the file that it has taken the place of, without directory; empty when there was none
WORKSTATION_API bool isLeftoverOfLoad(std::string_view name, std::string& replaced);
/// Takes a leftover away: what may be somebody's work goes to the directory "Backup" of the tree.
/// @param name  relative, with backslashes
/// @param isKnown  asked with the content of one that took a file's place: whether it is surely nobody's work
/// @return its new name relative to the root; empty when it was removed, or was gone. Throws StoreError
WORKSTATION_API std::wstring clearLeftover(const std::wstring& root, const std::wstring& name,
                                           const std::function<bool(const FileContent&)>& isKnown);

/// One thread at a time. Failures are thrown as StoreError.
class LocalTree {
 public:
  explicit LocalTree(const std::wstring& root);

  /// Finds the place of a relative name (normalised) and makes its directory. Refuses, with kStoreAccessDenied, a place
  /// that a link takes out of the tree, a directory, and a read-only file.
  LocalPlace place(const std::wstring& relative);
  /// Path beside a place under a name that is not in use.
  static std::string besides(const LocalPlace& place);
  /// Puts a whole file, written beside, onto its place, which has to be closed everywhere: otherwise kStoreInUse. Where
  /// something else than what was judged has come to the place, that stays: kStoreChanged. Attributes of the file
  /// before it stay.
  /// @param judged  contentAt(place) when it was decided
  static void replace(const std::string& from, const LocalPlace& place, const FileContent& judged);

 private:
  struct Directory {
    std::string path;
    bool isListed = false;
    std::map<std::wstring, std::string> names;  // lower case to the name on the disk
  };
  Directory& directoryOf(const std::wstring& relative);
  const std::string* find(Directory& directory, const std::string& name);
  void keepTakenOut(const std::string& directory, const std::string& name) const;

  std::wstring root_;
  std::string canonicalRoot_;
  std::map<std::wstring, Directory> directories_;  // by relative path in lower case, "" the root
};

}  // namespace workstation
