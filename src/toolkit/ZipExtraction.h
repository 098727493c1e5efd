// Entries on their way into a directory. Internal to the toolkit.
#pragma once

#include <string>
#include <vector>

#include "toolkit/ZipContent.h"
#include "toolkit/ZipMeter.h"
#include "toolkit/ZipNames.h"

namespace Quorvel::FileAccess {

/// All that can be told from names and claims is looked at before the first file is written; a refused entry leaves the
/// directory as it was.
class ZipExtraction {
 public:
  /// @param keepsTime  the files get the archive's write times
  ZipExtraction(const ZipContent& content, const wchar_t* directory, bool keepsTime = true);

  /// Takes an entry on. `entry` outlives the object.
  /// @param name    below the directory, with forward slashes
  /// @param reason  why it is refused; begins with the entry
  bool add(const ZipEntry& entry, const std::wstring& name, std::wstring& reason);
  /// @param reason  begins with the entry or the directory
  bool run(CkZipProgressW* callback, std::wstring& reason);

 private:
  struct Item {
    const ZipEntry* entry;
    std::wstring name;  // as in the archive, for texts
    std::wstring path;  // library path
  };
  std::wstring linkRefusal(const Item& item) const;
  bool prepare(std::wstring& reason);
  std::wstring extract(const Item& item, ZipMeter& meter) const;
  std::wstring writeFile(const Item& item, ZipMeter& meter) const;

  const ZipContent& content_;
  std::wstring directory_;
  bool keepsTime_;
  std::wstring canonical_;  // of the directory
  ZipNameClashes clashes_;
  std::vector<Item> items_;
  std::uint64_t total_ = 0;
  bool isFresh_ = false;  // the directory was empty: nothing but these entries is in it
};

}  // namespace Quorvel::FileAccess
