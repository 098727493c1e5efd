// What both sides of an item had when they were last in step, kept per project on this workstation. Without it nobody
// could tell a local change from an older version. Losing it loses no work: differences then count as changes on both
// sides.
#pragma once

#include <optional>
#include <string>
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
  void put(const std::wstring& name, const SyncPoint& point);
  /// Of all items that it remembers, in lower case.
  std::vector<std::wstring> names() const;
  void forget(const std::wstring& name);

 private:
  Database database_;
};

}  // namespace workstation::program
