#include "workstation/program/WatchRun.h"

#include <malloc.h>

#include <algorithm>

#include "host/Project.h"
#include "platform/Files.h"
#include "platform/Paths.h"
#include "platform/Text.h"
#include "platform/Time.h"
#include "workstation/program/ChangesSnapshot.h"
#include "workstation/program/Context.h"
#include "workstation/program/ProjectSync.h"
#include "workstation/program/Saving.h"
#include "workstation/projects/DirChanges.h"
#include "zephor/BackgroundChanges.h"
#include "zephor/UploadFilters.h"

namespace workstation::program {

namespace {

using namespace std::chrono_literals;
constexpr auto kTurn = 200ms;
constexpr auto kBusyTurn = 20ms;
constexpr auto kBetweenQuestions = 250ms;
constexpr auto kBetweenPasses = 1s;
constexpr auto kGuardPause = 500ms;
constexpr auto kBetweenChecks = 1s;
/// The manager tries three times without a pause: what fails once may be there a moment later.
constexpr auto kUntilTold = 300ms;
/// Without an answer of the service until then an upload has ended before it.
constexpr auto kSilence = 3s;
constexpr auto kCandidatesQuiet = 500ms;
constexpr int kTriesOfBusyFile = 3;

constexpr const wchar_t* kNotAsked = L"it could not be read, or the service was not asked";
constexpr const wchar_t* kForSync = L"for the next sync";
constexpr const wchar_t* kRemovedHere =
    L"it was removed here; zephor sync brings it back, zephor push --delete deletes it in the store";
constexpr const wchar_t* kNextOne = L"the next watch or sync takes it up";

std::int64_t bornOf(const std::wstring& directory) {
  const platform::FileStatus status = platform::fileStatus(directory);
  return status.isDirectory ? static_cast<std::int64_t>(platform::toTicks(status.creationTime)) : 0;
}

bool isBusy() {
  const auto work = Quorvel::FileAccess::WGO_GetBackgroundWork();
  return work.uploads + work.deletions > 0;
}

}  // namespace

WatchRun::WatchRun(Context& context, bool receives)
    : context_(context),
      receives_(receives),
      project_(get_ActivePrj().GetOndrathProjectUuid()),
      container_(context),
      news_(context) {
  places_ = {get_ActivePrj().GetFullProjectPath(true), container_.cache()};
  while (!places_.project.empty() && places_.project.back() == L'\\') places_.project.pop_back();
  born_ = bornOf(places_.project);
  judge_ = std::make_shared<WatchJudge>(
      context_.store().directory(), project_, places_.project,
      [this](const std::wstring& name) { return served_.contain(name); },
      [this](TransferOutcome outcome) { events_.outcome(std::move(outcome)); });
}

WatchRun::~WatchRun() = default;

ExitCode WatchRun::plan() {
  ProjectSync sync(context_, SyncMode::Receive);
  const ExitCode code = sync.run();
  for (const ItemView& view : sync.left()) {
    const bool isSent = view.here && !view.object && served_.contain(view.fileName);
    report(context_, view.label(), isSent ? L"would be sent" : L"waits", isSent ? L"" : L"for the next sync");
  }
  return code;
}

ExitCode WatchRun::run(const std::atomic<int>& stops) {
  standing_.emplace(project_, judge_);
  Quorvel::FileAccess::WGO_SetBackgroundChangesManagerRunning(true, container_.isThere());
  takeDirectoryChanges();
  container_.begin();
  feed_ = std::make_unique<WatchFeed>(places_, served_, *judge_, events_);
  try {
    receive();
    context_.output().message(L"watching " + get_ActivePrj().GetProjectDisplayName() + L"; Ctrl-C ends");
    while (stops == 0) turn(pending_.empty() ? kTurn : kBusyTurn, true);
  } catch (...) {
    finish();  // uploads tell this run of their end
    throw;
  }
  finish();
  return result();
}

void WatchRun::turn(std::chrono::milliseconds limit, bool retries) {
  take(events_.take(limit));
  for (const DirectoryChange& change : takeDirectoryChanges()) {
    if (!platform::startsWithIgnoreCase(change.path, places_.project + L"\\")) continue;
    std::wstring name = change.path.substr(places_.project.size() + 1);
    // The manager gives back what it could not send, too, which is told as failing.
    if (served_.contain(name)) continue;
    candidates_.insert(std::move(name));
    lastCandidate_ = WatchClock::now();
  }
  noteSilent();
  tellFailures();
  container_.tellCommitted(false);
  if (unnoted_.size() > 500 || !isBusy()) flush();
  if (!retries) return;
  checkPlaces();
  handRemovalsOver(false);
  retry();
  receive();
}

void WatchRun::take(const WatchEvents::Batch& batch) {
  for (const std::wstring& name : batch.handedOver) pending_[name] = WatchClock::now();
  for (const TransferOutcome& outcome : batch.outcomes) takeOutcome(outcome);
  for (const std::wstring& text : batch.warnings) context_.output().message(text);
  container_.await(batch.container);
}

void WatchRun::takeOutcome(const TransferOutcome& outcome) {
  pending_.erase(outcome.name);
  if (outcome.isDeletion && outcome.status == kStoreNotFound) return;
  if (outcome.status != kStoreOk) {
    const bool isConflict = outcome.status == kStoreChanged;
    const bool isKept = outcome.status == kStoreInvalidName || (isConflict && !receives_);
    if (!isKept) noteFailure(outcome, isConflict);
    // A look at both sides tells what has happened there.
    if (isConflict && receives_) hurryPass();
    if (!isKept) return;
    failing_.erase(outcome.name);
    if (kept_.insert(outcome.name).second) report(context_, outcome.name, L"kept", outcome.reason);
    return;
  }
  news_.noteOwn(outcome);
  failing_.erase(outcome.name);
  unnoted_.push_back(outcome);
  if (outcome.isDeletion) {
    report(context_, outcome.name, L"deleted there", L"");
  } else if (outcome.stored.revision > 0) {
    report(context_, outcome.name, L"sent", L"");
    ++sent_;
  }
  kept_.erase(outcome.name);
  wakeFailing();
}

void WatchRun::noteFailure(const TransferOutcome& outcome, bool isConflict) {
  Failing& failing = failing_[outcome.name];
  failing.isDeletion = outcome.isDeletion;
  failing.isConflict = isConflict;
  failing.isInUse = outcome.status == kStoreInUse;
  failing.reason = outcome.reason;
  // The manager's next attempt at once.
  if (failing.isWaiting) return;
  failing.isWaiting = true;
  ++failing.attempts;
  failing.failed = WatchClock::now();
  failing.due = failing.failed + failing.backoff.next();
}

bool WatchRun::isStillToSend(const std::wstring& name) {
  const FileContent here = contentOnDisk(platform::joinPath(places_.project, name));
  return here.isKnown() && !judge_->isInStep(name, here);
}

/// An upload that ended before the service was asked: the file can't be opened, or there is no login any more.
void WatchRun::noteSilent() {
  if (pending_.empty() || isBusy() || feed_->isBusy()) return;
  const auto longAgo = WatchClock::now() - kSilence;
  std::erase_if(pending_, [&](const auto& entry) {
    if (entry.second > longAgo) return false;
    if (isStillToSend(entry.first)) noteFailure({entry.first, false, kStoreFailure, {}, kNotAsked}, false);
    return true;
  });
}

void WatchRun::tellFailures() {
  const auto now = WatchClock::now();
  for (auto& [name, failing] : failing_) {
    if (failing.isTold || failing.isConflict || !failing.isWaiting || now - failing.failed < kUntilTold) continue;
    if (failing.isInUse && failing.attempts < kTriesOfBusyFile) continue;
    failing.isTold = true;
    report(context_, name, L"failed", failing.reason + L"; it is tried again");
  }
}

void WatchRun::retry() {
  const auto now = WatchClock::now();
  for (auto entry = failing_.begin(); entry != failing_.end();) {
    const std::wstring name = entry->first;
    Failing& failing = entry->second;
    const bool isHere = contentOnDisk(platform::joinPath(places_.project, name)).isKnown();
    // Overtaken: what is here now has a notice of its own.
    if (isHere == failing.isDeletion) {
      entry = failing_.erase(entry);
      continue;
    }
    ++entry;
    if (!failing.isWaiting || failing.due > now || kept_.contains(name)) continue;
    failing.isWaiting = false;
    if (failing.isDeletion) {
      feed_->remove(name);
    } else if (isStillToSend(name)) {
      feed_->send(name);
    } else {
      failing_.erase(name);
    }
  }
}

/// One that went shows that the store is there: the others need not wait.
void WatchRun::wakeFailing() {
  for (auto& [name, failing] : failing_) {
    if (failing.isTold && !failing.isConflict) failing.due = WatchClock::now();
  }
}

void WatchRun::handRemovalsOver(bool all) {
  std::vector<std::wstring> removals = feed_->takeRemovals(all);
  if (removals.empty()) return;
  if (bornOf(places_.project) != born_) return;
  std::erase_if(removals, [this](const std::wstring& name) {
    if (contentOnDisk(platform::joinPath(places_.project, name)).isKnown()) return true;
    if (platform::isSafeRelativeName(name) && !isGoneThere(name)) return false;
    kept_.erase(name);
    return true;
  });
  flush();
  std::size_t served = 0;
  for (const std::string& key : judge_->known()) {
    if (served_.contain(platform::fromUtf8(key))) ++served;
  }
  if (looksLikeAccident(removals.size(), std::max(served, removals.size()))) return tellAccident(removals.size());
  for (const std::wstring& name : removals) {
    failing_.erase(name);
    feed_->remove(name);
  }
}

void WatchRun::tellAccident(std::size_t count) {
  report(context_, platform::formatWide(L"%llu files", static_cast<unsigned long long>(count)), L"kept",
         L"they vanished here all at once, and stay in the store; zephor sync brings them back, zephor push --delete "
         L"deletes them there, if that is meant");
  kept_.insert(L"?");
}

/// Also where nothing is told: the manager's attempt then tells.
bool WatchRun::isGoneThere(const std::wstring& name) {
  StoredFile stored;
  return context_.store().findFile(context_.actor(), project_, name, stored) == kStoreNotFound;
}

void WatchRun::tellWaiting() {
  if (candidates_.empty()) return;
  Quorvel::FileAccess::WGO_FileFilter filter;
  Quorvel::FileAccess::WGO_GetPrjDirUploadFilter(filter, true);
  std::vector<ItemName> items;
  for (const std::wstring& name : candidates_) {
    if (!isPrivateFile(name) && !isKeptOut(filter, name)) items.push_back(itemOfFile(name));
  }
  // They stay candidates when the store can't be asked.
  const std::vector<ItemView> views = items.empty() ? std::vector<ItemView>() : readItems(items);
  candidates_.clear();
  for (const ItemView& view : views) tellWaiting(view);
}

void WatchRun::tellWaiting(const ItemView& view) {
  const bool isOwn = view.state == ObjectState::ChangedHere || view.state == ObjectState::OnlyHere ||
                     view.state == ObjectState::RemovedHere;
  if (!isOwn) {
    waiting_.erase(view.label());
    return;
  }
  if (!waiting_.emplace(view.label(), ItemName{view.object, view.fileName}).second) return;
  report(context_, view.label(), L"waits", view.here ? kForSync : kRemovedHere, &view);
}

void WatchRun::receive() {
  const auto now = WatchClock::now();
  if (now < nextQuestion_) return;
  nextQuestion_ = now + kBetweenQuestions;
  try {
    if (now - lastCandidate_ > kCandidatesQuiet) tellWaiting();
    look();
    noteStore(nullptr);
  } catch (const CommandFailure& failure) {
    noteStore(&failure.message);
  }
}

/// Brings what is new, when something is; the first look also finds what was changed here while nobody watched.
void WatchRun::look() {
  if (receives_ && news_.hasCome()) hurryPass();
  if (isPassDue_ && WatchClock::now() >= nextPass_) {
    receives_ ? pass() : sendWhatDiffers();
  }
  if (receives_) container_.receive();
}

void WatchRun::hurryPass() {
  isPassDue_ = true;
  passPause_ = {};
  nextPass_ = std::min(nextPass_, WatchClock::now() + kBetweenPasses);
}

/// Where nothing is brought, two sides that differ are told apart by the judge alone.
void WatchRun::sendWhatDiffers() {
  flush();
  ProjectComparison comparison = compareProject(context_);
  // The same size and time are not the same content.
  for (ComparedFile& file : recordInStep(context_, comparison.unrecorded)) {
    comparison.differing.push_back(std::move(file));
  }
  for (const ComparedFile& file : comparison.differing) {
    if (file.here.isKnown() && served_.contain(file.name) && !failing_.contains(file.name)) feed_->send(file.name);
  }
  nextPass_ = WatchClock::now() + kBetweenPasses;
  isPassDue_ = false;
}

void WatchRun::pass() {
  const std::unique_ptr<ProjectGuard> guard = context_.tryGuardProject();
  if (!guard) {
    nextPass_ = WatchClock::now() + kGuardPause;
    return;
  }
  take(events_.take(0ms));
  flush();
  nextPass_ = WatchClock::now() + kBetweenPasses;
  isPassDue_ = false;
  const NotUploadedList unsent;
  if (!isBusy()) judge_->forgetMoving();
  ProjectSync sync(
      context_, SyncMode::Receive,
      [this](const std::wstring& item, const std::wstring& /*reason*/) { return kept_.insert(item).second; },
      [this](const std::wstring& name) { return judge_->isOnItsWay(name); });
  try {
    sync.run();
  } catch (const CommandFailure&) {
    isPassDue_ = true;
    throw;
  }
  fetched_ += sync.fetched();
  isPassDue_ = sync.isIncomplete() || sync.hasPassedOver();
  std::erase_if(kept_, [&](const std::wstring& item) { return item != L"?" && !sync.kept().contains(item); });
  std::erase_if(failing_, [](const auto& entry) { return entry.second.isConflict; });
  for (const ItemView& view : sync.left()) takeLeft(view);
  hasPassed_ = true;
  // What could not be brought is tried again, and not all the time: the disk may be full.
  if (!sync.isIncomplete()) passPause_ = {};
  nextPass_ = WatchClock::now() + (sync.isIncomplete() ? passPause_.next() : kBetweenPasses);
  // A look at a large project takes megabytes that nothing needs until the next one.
  malloc_trim(0);
}

void WatchRun::takeLeft(const ItemView& view) {
  const bool isServed = !view.object && served_.contain(view.fileName);
  // A removal that was noticed is on its way. What was removed while nobody watched is what the first pass finds.
  if (!isServed || (!view.here && !hasPassed_)) return tellWaiting(view);
  if (view.here && !pending_.contains(view.fileName) && !failing_.contains(view.fileName)) feed_->send(view.fileName);
}

void WatchRun::checkPlaces() {
  if (!judge_->isSameStore()) {
    throw CommandFailure{ExitCode::Failure,
                         L"another store lies in the place of the one that was watched: was it "
                         L"restored from a backup? zephor watch or sync goes on with it"};
  }
  if (WatchClock::now() < nextCheck_) return;
  nextCheck_ = WatchClock::now() + kBetweenChecks;
  if (bornOf(places_.project) == born_) return;
  throw CommandFailure{ExitCode::Failure, L"the project's directory " + places_.project +
                                              L" is gone or is another one; nothing was deleted in the store"};
}

void WatchRun::noteStore(const std::wstring* problem) {
  if (problem == nullptr) {
    if (!isStoreAway_) return;
    isStoreAway_ = false;
    hurryPass();
    storePause_ = {};
    wakeFailing();
    context_.output().message(L"the store is back");
    return;
  }
  nextQuestion_ = WatchClock::now() + storePause_.next();
  if (isStoreAway_) return;
  isStoreAway_ = true;
  context_.output().error(L"the store does not answer as it should: " + *problem + L"; it is asked again");
}

void WatchRun::flush() {
  if (!unnoted_.empty()) judge_->note(std::exchange(unnoted_, {}));
}

/// What was noticed goes up, what runs comes to its end; what failed is left to the next one.
void WatchRun::finish() {
  if (!feed_) return;
  feed_->stopWatching();
  if (bornOf(places_.project) == born_) handRemovalsOver(true);
  while (feed_->isBusy() || isBusy()) turn(kBusyTurn, false);
  Quorvel::FileAccess::WGO_SetBackgroundChangesManagerRunning(false, false);
  feed_.reset();
  take(events_.take(0ms));
  flush();
  container_.tellCommitted(true);
  for (const auto& [name, handedOver] : pending_) {
    if (isStillToSend(name)) noteFailure({name, false, kStoreFailure, {}, kNotAsked}, false);
  }
}

ExitCode WatchRun::result() {
  try {
    tellWaiting();
    std::vector<ItemName> items;
    for (const auto& [label, item] : waiting_) items.push_back(item);
    if (!items.empty()) {
      for (const ItemView& view : readItems(items)) tellWaiting(view);
    }
  } catch (const CommandFailure& failure) {
    noteStore(&failure.message);
  }
  for (const auto& [name, failing] : failing_) {
    if (!kept_.contains(name)) report(context_, name, L"stays", failing.reason + L"; " + kNextOne);
  }
  const auto part = [](std::size_t count, const wchar_t* what) {
    return count == 0 ? std::wstring()
                      : platform::formatWide(L", %llu %s", static_cast<unsigned long long>(count), what);
  };
  const std::size_t stays =
      kept_.size() + failing_.size() + waiting_.size() + candidates_.size() + container_.tellStaying();
  const std::wstring parts = part(sent_, L"sent") + part(fetched_, L"fetched") + part(stays, L"not in step");
  context_.output().message(L"watched " + get_ActivePrj().GetProjectDisplayName() + parts);
  return stays == 0 ? ExitCode::Done : ExitCode::PartlyDone;
}

}  // namespace workstation::program
