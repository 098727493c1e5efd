// The databases that `doctor` looks at: whether they are damaged, which is not the same as out of reach.
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <filesystem>
#include <mutex>
#include <thread>

#include "platform/Files.h"
#include "platform/Paths.h"
#include "platform/Text.h"
#include "workstation/program/CacheContent.h"
#include "workstation/program/DoctorChecks.h"
#include "workstation/program/ProjectRecord.h"

namespace workstation::program {

namespace {

namespace fs = std::filesystem;

constexpr const wchar_t* kStateDirectory = L"C:\\State";
/// A store on a network disk can't be written while it is read; its writers wait for longer than this.
constexpr std::chrono::seconds kLongestLook{3};
/// Shorter, so that a look that never began does not pass for one that was broken off.
constexpr int kBusyMilliseconds = 2000;

enum class Soundness : std::uint8_t { Sound, SoundSoFar, Damaged, OutOfReach };

struct Diagnosis {
  Soundness soundness = Soundness::Sound;
  std::wstring text{};  ///< what is wrong
};

/// Breaks off what a connection does when its time is over.
class Deadline {
 public:
  explicit Deadline(sqlite3* database)
      : watcher_([this, database](const std::stop_token& stop) {
          std::unique_lock lock(mutex_);
          changed_.wait_for(lock, stop, kLongestLook, [] { return false; });
          if (stop.stop_requested()) return;
          hasPassed_ = true;
          sqlite3_interrupt(database);
        }) {}
  /// What was read until then tells nothing, the last answer included.
  bool hasPassed() {
    const std::lock_guard lock(mutex_);
    return hasPassed_;
  }

 private:
  std::mutex mutex_;
  std::condition_variable_any changed_;
  bool hasPassed_ = false;
  std::jthread watcher_;
};

Diagnosis failureOf(sqlite3* database, int code) {
  const bool isDamage = code == SQLITE_CORRUPT || code == SQLITE_NOTADB;
  return {isDamage ? Soundness::Damaged : Soundness::OutOfReach,
          platform::fromUtf8(database != nullptr ? sqlite3_errmsg(database) : "out of memory")};
}

Diagnosis diagnose(const std::string& path) {
  sqlite3* raw = nullptr;
  const int opened = sqlite3_open_v2(path.c_str(), &raw, SQLITE_OPEN_READONLY, nullptr);
  const Database database(raw);
  if (opened != SQLITE_OK) return failureOf(raw, opened);
  sqlite3_busy_timeout(raw, kBusyMilliseconds);
  sqlite3_stmt* query = nullptr;
  const int prepared = sqlite3_prepare_v2(raw, "PRAGMA quick_check(1)", -1, &query, nullptr);
  if (prepared != SQLITE_OK) return failureOf(raw, prepared);
  const Statement statement(query);
  Deadline deadline(raw);
  const int answered = sqlite3_step(query);
  if (deadline.hasPassed()) return {Soundness::SoundSoFar};
  if (answered != SQLITE_ROW) return failureOf(raw, answered);
  std::wstring answer = platform::fromUtf8(reinterpret_cast<const char*>(sqlite3_column_text(query, 0)));
  if (answer == L"ok") return {};
  std::replace(answer.begin(), answer.end(), L'\n', L' ');
  return {Soundness::Damaged, answer};
}

Finding findingOf(const std::wstring& check, const std::string& path, const std::wstring& remedy) {
  const Diagnosis diagnosis = diagnose(path);
  const std::wstring shown = platform::fromUtf8(path);
  switch (diagnosis.soundness) {
    case Soundness::Sound:
      return {check, Health::Ok, L"in order"};
    case Soundness::SoundSoFar:
      return {check, Health::Ok,
              platform::formatWide(L"%s: nothing wrong in the %d s that it was looked at", shown,
                                   static_cast<int>(kLongestLook.count()))};
    case Soundness::Damaged:
      return {check, Health::Problem, shown + L" is damaged: " + diagnosis.text, remedy};
    case Soundness::OutOfReach:
      break;
  }
  return {check, Health::Warning, shown + L" can't be looked at: " + diagnosis.text,
          L"give your user the right to read and write there, or try again when nobody writes to it"};
}

}  // namespace

void checkDatabase(Findings& findings, const std::wstring& check, const std::string& path, const std::wstring& remedy) {
  if (::access(path.c_str(), F_OK) == 0) findings.push_back(findingOf(check, path, remedy));
}

void checkStoreDatabase(Findings& findings, const std::string& directory) {
  checkDatabase(
      findings, L"store database", directory + "/store.db",
      L"let nobody save, copy the whole store aside, and put store.db back from a backup; what is newer at the "
      L"workstations stays there, and zephor status tells it");
}

void checkRecords(Findings& findings) {
  std::error_code none;
  std::size_t good = 0;
  for (const auto& entry : fs::directory_iterator(platform::systemPath(kStateDirectory), none)) {
    if (entry.path().extension() == ".aside") {
      findings.push_back({L"records", Health::Warning,
                          platform::fromUtf8(entry.path().string()) + L" was set aside by a removal that was killed",
                          L"delete it when no removal is running"});
    }
    if (entry.path().extension() != ".db3") continue;
    Finding finding = findingOf(L"records", entry.path().string(),
                                L"delete it; no work is in it, and the next sync compares everything anew");
    if (finding.health == Health::Ok) {
      ++good;
    } else {
      findings.push_back(std::move(finding));
    }
  }
  findings.push_back({L"records", Health::Ok, counted(good, L"record", L"records") + L" in order"});
}

}  // namespace workstation::program
