// Entries on their way into a directory. Internal to the toolkit.
#pragma once

#include <string>
#include <vector>

#include "toolkit/ZipContent.h"
#include "toolkit/ZipCrew.h"
#include "toolkit/ZipNames.h"
#include "toolkit/ZipPlaces.h"

namespace Quorvel::FileAccess {

struct ZipExtractionOptions {
  unsigned threads = 1;   ///< 0: as many as there are processors, but few
  bool isMany = false;    ///< more than one entry
  bool keepsTime = true;  ///< the files get the archive's write times
};

/// All that can be told from names and claims is looked at before the first file is written; a refused entry leaves the
/// directory as it was.
class ZipExtraction {
 public:
  ZipExtraction(const ZipContent& content, const wchar_t* directory, const ZipExtractionOptions& options);

  /// Takes an entry on. `entry` outlives the object.
  /// @param name    below the directory, with forward slashes
  /// @param reason  why it is refused; begins with the entry
  bool add(const ZipEntry& entry, const std::wstring& name, std::wstring& reason);
  /// @param reason  begins with the entry or the directory
  bool run(CkZipProgressW* callback, std::wstring& reason);

 private:
  struct Item {
    const ZipEntry* entry;
    std::wstring name;  // below the directory, with backslashes; a directory's ends with one
    std::uint64_t size;
    FILETIME time;
  };
  std::wstring prepare();
  std::wstring writeFile(const Item& item, ZipTally& tally) const;

  const ZipContent& content_;
  std::wstring directory_;
  ZipExtractionOptions options_;
  ZipPlaces places_;
  ZipNameClashes clashes_;
  std::vector<Item> files_;
  std::uint64_t total_ = 0;
  std::uint64_t room_ = 0;  // bytes that the files take on a volume
};

}  // namespace Quorvel::FileAccess
