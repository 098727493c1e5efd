#include <algorithm>
#include <iterator>
#include <set>

#include "cloud/Ondrath_Services.h"
#include "host/FileTypes.h"
#include "host/Project.h"
#include "host/ProjectDatabase.h"
#include "host/System.h"
#include "zephor/HeaderServices.h"

namespace Quorvel::FileAccess {
namespace {

/// The project whose database is read: the one that is open in the core, otherwise a temporary one for its lifetime.
class ScopedDatabaseUnit {
 public:
  explicit ScopedDatabaseUnit(const PRJ& prj) : unit_(kgunit()) {
    if (unit_ != -1) return;
    PRJ inCloud = prj;
    const std::wstring host = kOndrathHost;
    std::fill(std::begin(inCloud.host), std::end(inCloud.host), L'\0');
    std::copy(host.begin(), host.end(), std::begin(inCloud.host));
    ZP_Header_Project header;
    header.SetInfo(inCloud);
    unit_ = tempProjectOpen(header);
    temporary_ = unit_ != -1;
  }
  ~ScopedDatabaseUnit() {
    if (temporary_) tempProjectClose(unit_);
  }
  ScopedDatabaseUnit(const ScopedDatabaseUnit&) = delete;
  ScopedDatabaseUnit& operator=(const ScopedDatabaseUnit&) = delete;

  int unit() const { return unit_; }

 private:
  int unit_;
  bool temporary_ = false;
};

void readRows(int unit, std::vector<TeilbildHeader>& out) {
  ZP_ProjectDBTeilbildSets(unit).getTeilbildRecords(out, true);
}

void readRows(int unit, std::vector<PlanHeader>& out) {
  ZP_ProjectDBPlanSets(unit).getPlanRecords(out, true);
}

/// Records that a listing has handed over, freed at the end.
class OwnedRecords {
 public:
  explicit OwnedRecords(int type) : type_(type) {}
  ~OwnedRecords() { WGO_freeHeaders(type_, records_); }
  OwnedRecords(const OwnedRecords&) = delete;
  OwnedRecords& operator=(const OwnedRecords&) = delete;

  std::vector<void*>& list() { return records_; }

 private:
  int type_;
  std::vector<void*> records_;
};

template <typename Header>
bool headersOfProject(const PRJ& prj, int type, std::vector<Header>& server, std::vector<Header>& local) {
  server.clear();
  local.clear();
  if (!prj.IsOndrathProject()) return true;
  OwnedRecords records(type);
  if (!Ondrath_downloadAllHeaders(prj, type, records.list())) return false;
  std::transform(records.list().begin(), records.list().end(), std::back_inserter(server),
                 [](const void* record) { return *static_cast<const Header*>(record); });
  const ScopedDatabaseUnit database(prj);
  if (database.unit() != -1) readRows(database.unit(), local);
  return true;
}

}  // namespace

bool WGO_getTBHeaderInfoFromProject(PRJ& prj, std::vector<TeilbildHeader>& server, std::vector<TeilbildHeader>& local) {
  return headersOfProject(prj, eFileType_Teilbild, server, local);
}

bool WGO_getPLHeaderInfoFromProject(PRJ& prj, std::vector<PlanHeader>& server, std::vector<PlanHeader>& local) {
  return headersOfProject(prj, eFileType_Plan, server, local);
}

bool WGO_DownloadAllHeaders(const PRJ& prj, int type, std::vector<void*>& out) {
  return !prj.IsOndrathProject() || Ondrath_downloadAllHeaders(prj, type, out);
}

bool WGO_DownloadHeaders(std::vector<int>& numbers, int type, std::vector<void*>& out) {
  return ZSYST_IsOndrathConnection() &&
         Ondrath_downloadHeaders(get_ActivePrj(), std::set<int>(numbers.begin(), numbers.end()), type, out);
}

}  // namespace Quorvel::FileAccess
