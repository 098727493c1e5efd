#include "workstation/program/UserListState.h"

#include <algorithm>
#include <optional>

#include "host/Project.h"
#include "platform/Files.h"
#include "platform/Paths.h"
#include "platform/Text.h"
#include "platform/Time.h"
#include "workstation/program/Context.h"
#include "workstation/program/People.h"
#include "workstation/program/ProjectRecord.h"
#include "workstation/store/CacheRecord.h"
#include "workstation/store/CloudStore.h"

namespace workstation::program {

namespace {

constexpr const wchar_t* kList = L"Net\\user.cfg";
constexpr const char* kSchema =
    "CREATE TABLE IF NOT EXISTS user_list (moment TEXT PRIMARY KEY, members TEXT, revision INTEGER) WITHOUT ROWID";
/// What isUserListDue saw, and what was so when the library had brought the list in step.
constexpr const char* kSeen = "seen";
constexpr const char* kNoted = "noted";

struct ListState {
  std::string members;
  std::int64_t revision = 0;
  bool operator==(const ListState&) const = default;
};

/// The store's side, with the stored list.
ListState stateOf(Context& context, StoredFile& stored) {
  const std::wstring project = get_ActivePrj().GetOndrathProjectUuid();
  std::vector<StoreMember> members;
  check(context.store().members(context.actor(), project, members));
  std::sort(members.begin(), members.end(),
            [](const StoreMember& a, const StoreMember& b) { return a.user.uuid < b.user.uuid; });
  std::wstring text;
  for (const StoreMember& member : members) {
    text +=
        member.user.uuid + L'\t' + member.user.email + L'\t' + member.user.name + L'\t' + roleName(member.role) + L'\n';
  }
  const CloudStatus status = context.store().findFile(context.actor(), project, kList, stored);
  if (status != kStoreNotFound) check(status);
  return {platform::toUtf8(text), status == kStoreOk ? stored.revision : 0};
}

class NotedStates {
 public:
  NotedStates() {
    std::string path;
    std::string error;
    database_ = openProjectRecord(get_ActivePrj().GetOndrathProjectUuid(), kSchema, path, error);
  }

  std::optional<ListState> get(const char* moment) const {
    const Statement row = prepare("SELECT members, revision FROM user_list WHERE moment = ?1", moment);
    if (!row || sqlite3_step(row.get()) != SQLITE_ROW) return std::nullopt;
    const auto* const members = reinterpret_cast<const char*>(sqlite3_column_text(row.get(), 0));
    return ListState{members != nullptr ? members : "", sqlite3_column_int64(row.get(), 1)};
  }

  /// What can't be noted is due once more.
  void put(const char* moment, const ListState& state) const {
    const Statement row = prepare("INSERT OR REPLACE INTO user_list VALUES (?1, ?2, ?3)", moment);
    if (!row) return;
    sqlite3_bind_text(row.get(), 2, state.members.data(), static_cast<int>(state.members.size()), SQLITE_STATIC);
    sqlite3_bind_int64(row.get(), 3, state.revision);
    sqlite3_step(row.get());
  }

 private:
  Statement prepare(const char* sql, const char* moment) const {
    sqlite3_stmt* raw = nullptr;
    if (!database_ || sqlite3_prepare_v2(database_.get(), sql, -1, &raw, nullptr) != SQLITE_OK) return nullptr;
    sqlite3_bind_text(raw, 1, moment, -1, SQLITE_STATIC);
    return Statement(raw);
  }

  Database database_;
};

FileContent listHere() {
  const std::wstring path = platform::joinPath(get_ActivePrj().GetFullProjectPath(true), kList);
  const platform::FileStatus status = platform::fileStatus(path);
  if (!status.exists) return {};
  return {static_cast<std::int64_t>(status.size), static_cast<std::int64_t>(platform::toTicks(status.writeTime)), {}};
}

}  // namespace

bool isUserListDue(Context& context) {
  const PRJ project = get_ActivePrj();
  const auto record = CacheRecord::of(project.GetOndrathProjectUuid(), project.GetFullProjectPath(true));
  if (record == nullptr || !record->isWhole()) return false;
  StoredFile stored;
  const ListState now = stateOf(context, stored);
  const NotedStates states;
  if (states.get(kNoted) == now && listHere().size > 0) return false;
  if (!context.options().dryRun) states.put(kSeen, now);
  return true;
}

void noteUserList(Context& context) {
  StoredFile stored;
  const ListState now = stateOf(context, stored);
  const NotedStates states;
  const std::optional<ListState> seen = states.get(kSeen);
  // The refresh may have sent the list itself, which then is the one that is here.
  const bool isOwn = seen && (seen->revision == now.revision || listHere().looksLike(contentOf(stored)));
  if (isOwn && seen->members == now.members) states.put(kNoted, now);
}

}  // namespace workstation::program
