// The entries of an archive, in their order, found by number and by name. Internal to the toolkit.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <unordered_map>

#include "platform/WindowsTypes.h"
#include "toolkit/ByteData.h"

namespace Quorvel::FileAccess {

struct ZipEntry {
  enum class Kind : std::uint8_t { Stored, Data, File, Directory };

  std::wstring name;  ///< with forward slashes; a directory's ends with one
  Kind kind = Kind::Stored;
  std::uint64_t index = 0;                 ///< Stored: position in the archive that was opened
  bool isRenamed = false;                  ///< Stored: under another name than in that archive
  std::shared_ptr<const CkByteData> data;  ///< Data
  std::wstring path;                       ///< File: library path
  bool isOfDatabase = false;               ///< File: a log or journal that stands beside a file of its name
  std::uint64_t size = 0;                  ///< bytes of work that the entry is when the archive is written
  FILETIME time{};                         ///< last write of what was appended

  bool isDirectory() const { return !name.empty() && name.back() == L'/'; }
};

class ZipEntries {
 public:
  using Map = std::map<std::uint64_t, ZipEntry>;

  /// @return the entry's number, which is never given twice
  std::uint64_t add(ZipEntry entry);
  void remove(std::uint64_t id);
  void rename(std::uint64_t id, const std::wstring& name);
  void clear();
  /// @return null when there is none
  const ZipEntry* find(std::uint64_t id) const;
  /// The number of the first entry with exactly this name; 0 when there is none.
  std::uint64_t idOf(const std::wstring& name) const;
  /// The number of an entry with this name without regard to case; 0 when there is none.
  std::uint64_t similarTo(const std::wstring& name) const;
  const Map& all() const { return entries_; }

 private:
  Map entries_;
  std::unordered_multimap<std::wstring, std::uint64_t> names_;  // in lower case
  std::uint64_t lastId_ = 0;
};

}  // namespace Quorvel::FileAccess
