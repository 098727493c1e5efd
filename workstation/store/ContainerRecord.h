// What the cache of a resource container and the store had in common when files last moved between them: a small
// database in the cache's own directory ".cor", with which it goes when the cache goes.
//
// Losing it loses no work: what is here then counts as unknown, and what a download would replace is kept.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "workstation/store/CacheRecord.h"

namespace workstation {

/// Directory of the service in a cache, in lower case.
constexpr const char* kServiceDirectory = ".cor";
/// Path of the system of the record in a cache; `root` is one, too.
std::string containerRecordPath(const std::string& root);

/// What a process was about to do with a file, and may have done when it was killed.
enum class FileWay : std::uint8_t { None, Coming, Leaving, Sending };

/// One file that both sides had.
struct SettledFile {
  std::wstring name;
  FileContent content;         ///< with the time that the file here has
  std::int64_t revision = 0;   ///< of the file in the store
  FileContent announced = {};  ///< what is on its way; none for a file that goes
  FileWay way = FileWay::None;
};

/// By key: name in lower case, UTF-8.
using SettledFiles = std::map<std::string, SettledFile>;

/// One thread at a time; other processes may read at the same time. Failures are thrown as StoreError.
class ContainerRecord {
 public:
  /// Opens the record of a cache, whose directory ".cor" is there. A damaged one is made anew, and told.
  explicit ContainerRecord(const std::string& root);
  ~ContainerRecord();
  ContainerRecord(const ContainerRecord&) = delete;
  ContainerRecord& operator=(const ContainerRecord&) = delete;

  /// Of which container; empty for a new record.
  std::wstring container();
  /// Revision of the container when it was last brought or committed; 0 for never.
  std::int64_t revision();
  /// Forgets everything when the record is of another container.
  void bind(const std::wstring& container);
  /// Forgets every file: what is here counts as unknown.
  void forget();
  SettledFiles files();
  /// Changes whenever another process or thread has written the record.
  std::int64_t version();

  struct Announced {
    std::wstring name;
    FileContent content;  ///< none for a file that goes
    FileWay way;
  };
  /// Before files get their names, are removed, or are committed.
  void announce(const std::vector<Announced>& files);
  /// After it: what is the same now, and the names that neither side has.
  /// @param revision  of the container; 0 leaves it
  void settle(const std::vector<SettledFile>& files, const std::vector<std::wstring>& gone, std::int64_t revision);

 private:
  void open(const std::string& path);
  std::unique_ptr<Connection> connection_;
};

}  // namespace workstation
