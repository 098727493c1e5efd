// What this workstation's cache of a project and the store had in common when files last moved between them.
//
// Without it nobody could tell a file that was changed here from one that is only old. Losing it loses no work: the
// next load is a full one, and what it replaces is copied to the project's backup directory before.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "workstation/Export.h"

namespace workstation {

class Connection;
struct StoredFile;

/// Content and time of a file, as far as one side tells them.
struct FileContent {
  std::int64_t size = -1;     ///< -1: none
  std::int64_t modified = 0;  ///< 100 ns since 1601, UTC
  std::string sha256 = {};    ///< empty where it was not read

  bool isKnown() const { return size >= 0; }
  /// Whether both have one size and time; the content is believed to be the same then.
  bool looksLike(const FileContent& other) const {
    return isKnown() && size == other.size && modified == other.modified;
  }
};
WORKSTATION_API FileContent contentOf(const StoredFile& file);

/// What the record knows of one file.
struct SeenFile {
  FileContent settled;    ///< what both sides had
  FileContent announced;  ///< what was on its way here; the process may have ended before or after it came
};

/// What a load does with one file that is not the same on both sides.
enum class LoadVerdict : std::uint8_t {
  Bring,
  BringAfterBackup,  ///< what is here may be somebody's work
  Leave,             ///< changed here alone
  KeepBoth,          ///< changed on both sides: what is here stays
};

/// @param mayKeep  a load that only brings news, on a cache that had everything before; otherwise the store wins
WORKSTATION_API LoadVerdict loadVerdict(const FileContent& here, const FileContent& stored, const SeenFile* seen,
                                        bool mayKeep);

/// One thread at a time; other processes of the workstation may have it open, too.
class WORKSTATION_API CacheRecord {
 public:
  using Files = std::vector<std::pair<std::wstring, FileContent>>;

  /// @return null when `directory` is not this workstation's cache of the project, or is not there
  static std::unique_ptr<CacheRecord> of(const std::wstring& project, const std::wstring& directory);
  ~CacheRecord();
  CacheRecord(const CacheRecord&) = delete;
  CacheRecord& operator=(const CacheRecord&) = delete;

  /// Whether a load has gone through since the cache's directory was made.
  bool isWhole() const { return whole_; }
  void setWhole();
  /// Null for a file that never was the same on both sides. The next settle() may take it away.
  const SeenFile* find(const std::wstring& name);
  /// The same for one file as it stands now, whoever of this workstation wrote it, without reading the others.
  std::optional<SeenFile> ask(const std::wstring& name);
  /// Files that neither side has any more, and that this workstation took from both.
  void forget(const std::vector<std::wstring>& names);
  /// Before files get their names, and after. A record that can't be written forgets that the cache is whole.
  void announce(const Files& files);
  /// What is noted outlives a loss of power before it is: an empty file in its place would count as changed here.
  void settle(const Files& files);

 private:
  CacheRecord(std::wstring directory, std::int64_t born);
  void open(const std::string& path);
  void load();
  void give(const char* sql, const Files& files);
  template <typename Work>
  void guarded(Work&& work);

  const std::wstring directory_;
  std::int64_t born_;  // when the directory was made: another one of its name has nothing of this record
  std::unique_ptr<Connection> connection_;
  bool whole_ = false;
  std::optional<std::unordered_map<std::wstring, SeenFile>> files_;  // by name in lower case
};

/// Whether `directory` is this workstation's cache of the project.
bool isCacheOf(const std::wstring& project, const std::wstring& directory);

/// Notes files that are the same on both sides since they were moved one by one. Objects are not noted: their headers
/// tell their versions. Does nothing outside of this workstation's cache.
void noteSettled(const std::wstring& project, const std::wstring& directory, const std::vector<StoredFile>& files);

}  // namespace workstation
