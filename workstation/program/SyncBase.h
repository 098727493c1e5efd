// What both sides of an object had when they were last in step, kept per project on this workstation. Without it nobody
// could tell a local change from an older version. Losing it loses no work: the states then fall back to the version
// counters.
#pragma once

#include <memory>
#include <optional>
#include <string>

#include "workstation/program/ObjectName.h"
#include "workstation/program/ObjectState.h"

struct sqlite3;

namespace workstation::program {

class SyncBase {
 public:
  /// Opens (or makes) the record of a project. A record that can't be opened remembers nothing and says so once on
  /// stderr.
  explicit SyncBase(const std::wstring& projectUuid);
  std::optional<VersionStamp> get(const ObjectName& object) const;
  void put(const ObjectName& object, const VersionStamp& stamp);
  void forget(const ObjectName& object);

 private:
  struct Closer {
    void operator()(sqlite3* database) const;
  };
  std::unique_ptr<sqlite3, Closer> database_;
};

}  // namespace workstation::program
