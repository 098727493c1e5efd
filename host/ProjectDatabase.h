// The host's project database: one row set for each kind of object, with the header as the row.
//
// A set is opened for the project that `kgunit()` named (or a handle of tempProjectOpen); one that could not be opened
// answers -1 everywhere. The counts that operations answer are rows; -1 is a failure. Sets may be used from any thread,
// each by one at a time.
#pragma once

#include <cstdint>
#include <cstring>
#include <memory>
#include <vector>

#include "host/Export.h"
#include "host/Records.h"

class PRJ;

/// Change states of a row, a bit set that apply...RecordChanges reads.
constexpr std::uint32_t kRowUnchanged = 0;
constexpr std::uint32_t kRowChanged = 1;
constexpr std::uint32_t kRowDeleted = 4;
constexpr std::uint32_t kRowNew = 8;

/// One row with its change state and the state before it.
template <typename Header>
class ProjectRow {
 public:
  ProjectRow() = default;
  explicit ProjectRow(const Header& header) : header_(header) {}

  int number() const { return header_.number; }
  const Header& header() const { return header_; }
  bool isEqual(const Header& header) const {
    // Bit for bit: the doubles among the members hold halves of a GUID.
    return std::memcmp(&header_, &header, sizeof header) == 0;  // NOLINT(bugprone-suspicious-memory-comparison)
  }
  void setNewRecord(const Header& header) {
    header_ = header;
    setState(state_ | kRowChanged);
  }
  void setDelete() { setState(kRowDeleted); }
  std::uint32_t state() const { return state_; }
  std::uint32_t previousState() const { return previousState_; }
  void setState(std::uint32_t state) {
    previousState_ = state_;
    state_ = state;
  }
  /// Cancels a pending change.
  void restorePreviousState() { state_ = previousState_; }

 private:
  Header header_ = clearedHeader<Header>();
  std::uint32_t state_ = kRowUnchanged;
  std::uint32_t previousState_ = kRowUnchanged;
};

using ZP_PrjDBTeilbildRecordData = ProjectRow<TeilbildHeader>;
using ZP_PrjDBPlanRecordData = ProjectRow<PlanHeader>;
using ZP_PrjDBZeichnungRecordData = ProjectRow<ZeichnungHeader>;

/// What the row sets share. All sets of a database in this process work through one connection, which stays open so
/// that the header cache sees changes of other processes.
class HOST_API ProjectRowSetBase {
 public:
  explicit ProjectRowSetBase(int unit);
  ~ProjectRowSetBase();
  ProjectRowSetBase(const ProjectRowSetBase&) = delete;
  ProjectRowSetBase& operator=(const ProjectRowSetBase&) = delete;

  bool isClientServer() const;
  bool requiresServerUpdates() const;
  /// Descriptor of the set's project, null when the set could not be opened.
  const PRJ* getProjectInfo() const;

 protected:
  struct Connection;
  std::unique_ptr<Connection> connection_;
};

class HOST_API ZP_ProjectDBTeilbildSets : public ProjectRowSetBase {
 public:
  using ProjectRowSetBase::ProjectRowSetBase;
  /// Rows found: 1, or 0. The cache is asked first; it is invalid as soon as the row changes in any process.
  int getTeilbildRecord(unsigned number, TeilbildHeader& out);
  int getTeilbildRecordFromCache(unsigned number, TeilbildHeader& out);
  int getTeilbildRecordFromDataBase(unsigned number, TeilbildHeader& out);
  /// Replaces `out` by the rows in ascending order; without `all` those with a pending state stay out. @return rows
  int getTeilbildRecords(std::vector<TeilbildHeader>& out, bool all);
  /// Appends rows of a range. @param limit  rows at most, negative for no limit
  int getTeilbildRecords(std::vector<ZP_PrjDBTeilbildRecordData>& out, int first, int last, int limit);
  /// Inserts or replaces a row. @return 1, or -1
  int setTeilbildRecord(unsigned number, const TeilbildHeader& header);
  /// Writes new and changed rows, removes deleted ones, in one transaction; the rows are then unchanged.
  /// @return rows written and removed
  int applyTeilbildRecordChanges(std::vector<ZP_PrjDBTeilbildRecordData>& rows);
  /// Removes the rows that setDelete marked. @return rows removed
  int deleteTeilbildRecords(const std::vector<ZP_PrjDBTeilbildRecordData>& rows);
};

class HOST_API ZP_ProjectDBPlanSets : public ProjectRowSetBase {
 public:
  using ProjectRowSetBase::ProjectRowSetBase;
  int getPlanRecord(unsigned number, PlanHeader& out);
  /// Replaces `out` by the rows in ascending order; without `all` those with a pending state stay out. @return rows
  int getPlanRecords(std::vector<PlanHeader>& out, bool all);
  /// Appends rows of a range. @param limit  rows at most, negative for no limit
  int getPlanRecords(std::vector<ZP_PrjDBPlanRecordData>& out, int first, int last, int limit);
  /// Inserts or replaces a row. @return 1, or -1
  int setPlanRecord(unsigned number, const PlanHeader& header);
  /// Writes new and changed rows, removes deleted ones, in one transaction; the rows are then unchanged.
  /// @return rows written and removed
  int applyPlanRecordChanges(std::vector<ZP_PrjDBPlanRecordData>& rows);
  /// Removes the rows that setDelete marked. @return rows removed
  int deletePlanRecords(const std::vector<ZP_PrjDBPlanRecordData>& rows);
};

class HOST_API ZP_ProjectDBZeichnungSets : public ProjectRowSetBase {
 public:
  using ProjectRowSetBase::ProjectRowSetBase;
  int getZeichnungRecord(unsigned number, ZeichnungHeader& out);
  /// Replaces `out` by the rows in ascending order; without `all` those with a pending state stay out. @return rows
  int getZeichnungRecords(std::vector<ZeichnungHeader>& out, bool all);
  /// Appends rows of a range. @param limit  rows at most, negative for no limit
  int getZeichnungRecords(std::vector<ZP_PrjDBZeichnungRecordData>& out, int first, int last, int limit);
  /// Inserts or replaces a row. @return 1, or -1
  int setZeichnungRecord(unsigned number, const ZeichnungHeader& header);
  /// Writes new and changed rows, removes deleted ones, in one transaction; the rows are then unchanged.
  /// @return rows written and removed
  int applyZeichnungRecordChanges(std::vector<ZP_PrjDBZeichnungRecordData>& rows);
  /// Removes the rows that setDelete marked. @return rows removed
  int deleteZeichnungRecords(const std::vector<ZP_PrjDBZeichnungRecordData>& rows);
};

/// A query of rows, limited to a range of numbers. Flags are the host's and are kept.
template <typename Sets, typename Row>
class ProjectRowQuery {
 public:
  ProjectRowQuery(Sets& sets, std::vector<Row>& out, int flags, int limit)
      : sets_(sets), out_(out), flags_(flags), limit_(limit) {}
  void setRangeFilter(int first, int last) {
    first_ = first;
    last_ = last;
  }
  Sets& sets() const { return sets_; }
  std::vector<Row>& rows() const { return out_; }
  int flags() const { return flags_; }
  int limit() const { return limit_; }
  int first() const { return first_; }
  int last() const { return last_; }

 private:
  Sets& sets_;
  std::vector<Row>& out_;
  int flags_;
  int limit_;
  int first_ = INT32_MIN;
  int last_ = INT32_MAX;
};

using ZP_PrjDBTeilbildRecordQuery = ProjectRowQuery<ZP_ProjectDBTeilbildSets, ZP_PrjDBTeilbildRecordData>;
using ZP_PrjDBPlanRecordQuery = ProjectRowQuery<ZP_ProjectDBPlanSets, ZP_PrjDBPlanRecordData>;
using ZP_PrjDBZeichnungRecordQuery = ProjectRowQuery<ZP_ProjectDBZeichnungSets, ZP_PrjDBZeichnungRecordData>;

/// Runs a query: rows are appended in ascending order of their numbers. @return rows found, or -1
HOST_API int getTeilbildRecords(ZP_PrjDBTeilbildRecordQuery& query);
HOST_API int getPlanRecords(ZP_PrjDBPlanRecordQuery& query);
HOST_API int getZeichnungRecords(ZP_PrjDBZeichnungRecordQuery& query);
