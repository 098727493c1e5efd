// What both sides of an item had when they were last in step, kept per project on this workstation. Without it nobody
// could tell a local change from an older version. Losing it loses no work: differences then count as changes on both
// sides.
#pragma once

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "workstation/program/ObjectState.h"
#include "workstation/program/ProjectRecord.h"

namespace workstation::program {

class SyncBase {
 public:
  /// Opens (or makes) the record of a project. A record that can't be opened remembers nothing and says so on stderr.
  explicit SyncBase(const std::wstring& projectUuid);
  /// @param name  of the file relative to the project, in any letter case
  std::optional<SyncPoint> get(const std::wstring& name) const;
  /// Everything that is noted, by the lower-case names in UTF-8 in the order of bytes. Nothing when it can't be read to
  /// its end.
  std::optional<std::vector<std::pair<std::string, SyncPoint>>> all() const;
  /// Makes the file here outlive a loss of power first: an empty one in its place would count as changed here.
  void put(const std::wstring& name, const SyncPoint& point);
  /// The same for many, in one transaction.
  void put(const std::vector<std::pair<std::wstring, SyncPoint>>& points);
  void forget(const std::wstring& name);
  /// The same for many, by their keys (all()), in one transaction.
  void forget(const std::vector<std::string>& keys);

 private:
  template <typename Write>
  void writeTogether(const char* sql, const Write& write);

  const std::wstring projectUuid_;

  Database database_;
};

}  // namespace workstation::program
