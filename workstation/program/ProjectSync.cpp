#include "workstation/program/ProjectSync.h"

#include <algorithm>
#include <memory>

#include "host/Files.h"
#include "host/ObjectFiles.h"
#include "host/Project.h"
#include "platform/Files.h"
#include "platform/Paths.h"
#include "platform/Text.h"
#include "platform/Time.h"
#include "workstation/program/ChangesSnapshot.h"
#include "workstation/program/Context.h"
#include "workstation/program/ProgressLine.h"
#include "workstation/program/Saving.h"
#include "workstation/program/StoreDeletions.h"
#include "workstation/program/StoredContent.h"
#include "workstation/program/SyncBase.h"
#include "workstation/program/UserListState.h"
#include "workstation/program/WatchJudge.h"
#include "workstation/store/DiskFiles.h"
#include "workstation/store/StoreContext.h"
#include "workstation/store/TransferConditions.h"
#include "workstation/ui/Terminal.h"
#include "zephor/FileLists.h"
#include "zephor/FileServices.h"
#include "zephor/NotUploadedFiles.h"
#include "zephor/ProjectCache.h"
#include "zephor/UploadRules.h"

namespace workstation::program {

namespace {

/// Up to so many files come one by one, each with its own answer.
constexpr std::size_t kSingly = 8;

constexpr const wchar_t* kToldBelow = L"what was wrong is told below";

/// Shows the bulk transfers of this process while it lives, where a line can be redrawn.
class WatchedTransfers {
 public:
  WatchedTransfers(const Context& context, const wchar_t* title, const ProgressCount& all) {
    if (context.output().json() || !standardTerminal().canRedraw()) return;
    setTransferProgress([line = std::make_shared<ProgressLine>(title, all)](std::uint32_t done, std::uint32_t total,
                                                                            std::uint64_t bytes, const std::wstring&) {
      line->step({done, bytes}, total);
    });
  }
  ~WatchedTransfers() { setTransferProgress({}); }
  WatchedTransfers(const WatchedTransfers&) = delete;
  WatchedTransfers& operator=(const WatchedTransfers&) = delete;
};

/// An object by its number, where the file has the object's own name.
ItemName itemOf(const ComparedFile& file) {
  ItemName item = itemOfFile(file.name);
  return itemKey(item.fileName) == itemKey(file.name) ? item : ItemName{std::nullopt, file.name};
}

std::set<std::wstring> keysOf(const std::vector<ComparedFile>& files) {
  std::set<std::wstring> keys;
  for (const ComparedFile& file : files) keys.insert(itemKey(file.name));
  return keys;
}

bool isBaseClass(const ComparedFile& file) {
  return file.store && (file.store->fileClass == FileClass::Ordinary || file.store->fileClass == FileClass::Resource);
}

/// An object by the library's verdict, which goes by counters alone: what it leaves is brought all the same.
unsigned long fetchSingly(const ItemView& view, const std::wstring& path) {
  const bool isDone =
      hasStoredHeader(view) && view.store &&
      Quorvel::FileAccess::WGO_CheckLockAndDownloadFile(view.object->number, view.object->type, false) &&
      readLocal({view.object, view.fileName}).here == view.store;
  return isDone ? ERROR_SUCCESS : Quorvel::FileAccess::WGO_downloadFile(get_ActivePrj(), path.c_str(), false);
}

std::wstring fileCount(std::uint64_t files) {
  return platform::formatWide(files == 1 ? L"%llu file" : L"%llu files", static_cast<unsigned long long>(files));
}

}  // namespace

ProjectSync::ProjectSync(Context& context, SyncMode mode, KeptFilter isNews, SendingFilter isOnItsWay)
    : context_(context),
      dryRun_(context.options().dryRun),
      receives_(mode == SyncMode::Receive),
      isNews_(std::move(isNews)),
      isOnItsWay_(std::move(isOnItsWay)) {}

ExitCode ProjectSync::run() {
  if (!receives_) tellSwitchedOff();
  comparison_ = compareProject(context_);
  if (!dryRun_) rescued_ = rescueLeftovers(context_, comparison_);
  if (!receives_) tellNeverSent(context_, comparison_);
  if (!dryRun_) {
    loadIfFresh();
    recordSame();
    forgetGone();
    areUsersDue_ = isUserListDue(context_);
  }
  move();
  return finish();
}

void ProjectSync::move() {
  for (const std::wstring& name : comparison_.passedOver)
    keep(name, L"no other workstation can hold a file of this name");
  if (comparison_.differing.empty() && !areUsersDue_ && (dryRun_ || comparison_.isWhole)) return;
  judge();
  if (dryRun_) {
    tellPlan();
    send();
    return;
  }
  const bool moves = areUsersDue_ || !itemsTo(SyncStep::Fetch).empty() || !itemsTo(SyncStep::Trash).empty() ||
                     !itemsTo(SyncStep::Record).empty();
  fetch();
  trash();
  if (send() || moves) {
    settle();
  } else {
    tellSettled(keysOf(comparison_.differing));
  }
}

/// The library's loads then bring nothing, and say that all went well.
void ProjectSync::tellSwitchedOff() const {
  for (const auto& rule : WGO_describeUploadRules(Quorvel::FileAccess::UploadRoad::Synchronisation)) {
    if (!turnsSynchronisationOff(rule)) continue;
    const std::wstring place = platform::formatWide(L"%s line %d", platform::fileNameOf(rule.origin), rule.line);
    context_.output().message(place +
                              L" switches this project's synchronisation off: the library loads nothing, and "
                              L"zephor brings the files by name");
  }
}

/// What neither side has any more is not remembered: a new file of its name is new.
void ProjectSync::forgetGone() const {
  const std::size_t gone = comparison_.gone.size();
  if (gone == 0 || looksLikeLostStore(gone, comparison_.files + gone)) return;
  SyncBase(comparison_.projectUuid).forget(comparison_.gone);
}

/// Notes what this run has moved, or one that ended before it could. What is not the same in spite of size and time is
/// judged as a difference.
void ProjectSync::recordSame() {
  for (const ComparedFile& file : comparison_.unrecorded) {
    const ItemName item = itemOf(file);
    if (item.object) noteInDatabase(*item.object);
  }
  for (ComparedFile& file : recordInStep(context_, comparison_.unrecorded)) {
    comparison_.differing.push_back(std::move(file));
  }
}

/// A cache that never had everything is filled by name first; what is unsent in it stays and is judged.
void ProjectSync::loadIfFresh() {
  if (comparison_.isWhole) return;
  try {
    if (!loadFreshCache(context_)) return;
  } catch (const CommandFailure& failure) {
    // What came stays, and what did not is tried by itself.
    context_.output().message(failure.message);
  }
  const std::vector<ComparedFile> before = std::move(comparison_.differing);
  comparison_ = compareProject(context_);
  const std::set<std::wstring> differing = keysOf(comparison_.differing);
  for (const ComparedFile& file : before) {
    if (file.store && !differing.contains(itemKey(file.name))) tellFetched(itemOf(file));
  }
}

void ProjectSync::judge() {
  std::vector<ItemName> names;
  for (const ComparedFile& file : comparison_.differing) names.push_back(itemOf(file));
  std::vector<ItemView> views = readItems(names);
  std::optional<StoreDeletions> deletions;
  for (std::size_t i = 0; i < views.size(); ++i) {
    Item& item = items_.emplace_back(Item{comparison_.differing[i], std::move(views[i]), {}});
    SyncCircumstances circumstances;
    circumstances.hasTwin = item.file.hasTwin;
    circumstances.isNameSafe = platform::isSafeRelativeName(item.file.name);
    circumstances.isOpen = cfgethandle(pathOf(item), 0) != -1;
    if (item.view.state == ObjectState::RemovedFromStore) {
      if (!deletions) deletions.emplace(context_);
      circumstances.isDeletionTold = deletions->isTold(item.view);
    }
    item.decision =
        item.lacksHeader() ? decideWithoutHeader(item, circumstances.isOpen) : decideSync(item.view, circumstances);
    if (receives_) leave(item);
  }
  keepAllOfLostStore();
}

/// A removal here may be on its way to the store: bringing the file back would undo it.
void ProjectSync::leave(Item& item) {
  if (isOnItsWay_ && isOnItsWay_(item.file.name)) {
    item.decision = {SyncStep::Nothing, {}};
    hasPassedOver_ = true;
    return;
  }
  const bool isRemovedHere = item.view.state == ObjectState::RemovedHere;
  if (item.decision.step != SyncStep::Send && !isRemovedHere) return;
  item.decision = {SyncStep::Nothing, {}};
  left_.push_back(item.view);
}

/// The store can't tell such an object's version: its content is all there is to go by.
SyncDecision ProjectSync::decideWithoutHeader(const Item& item, bool isOpen) {
  if (!item.file.here.isKnown()) return {SyncStep::Fetch, {}};
  if (item.file.hasTwin) return {SyncStep::Keep, L"two files here differ only in letter case; rename one of them"};
  if (isContentStored(item.file.name)) {
    return {SyncStep::Keep,
            L"the same here and in the store, but the store can't tell its version; zephor lock and zephor save "
            L"send it anew"};
  }
  if (item.view.isUnchangedHere() && !isOpen) return {SyncStep::Fetch, {}};
  return {SyncStep::Keep,
          L"different here and in the store, and the store can't tell its version; zephor save --force sends yours, or "
          L"delete it here to have the store's"};
}

void ProjectSync::keepAllOfLostStore() {
  const std::vector<Item*> gone = itemsTo(SyncStep::Trash);
  if (!looksLikeLostStore(gone.size(), comparison_.files)) return;
  for (Item* item : gone) {
    item->decision = {SyncStep::Keep,
                      L"the store has lost nearly all that is here; zephor deleted --remove, if that is meant"};
  }
}

void ProjectSync::tellPlan() {
  for (const Item& item : items_) {
    const std::wstring label = item.view.label();
    if (item.decision.step == SyncStep::Fetch) {
      report(context_, label, L"would be fetched", stateName(item.view.state));
      ++fetched_;
    } else if (item.decision.step == SyncStep::Trash) {
      report(context_, label, L"would be moved to the trash", stateName(item.view.state));
      ++trashed_;
    } else if (item.decision.step == SyncStep::Keep) {
      keep(label, item.decision.reason);
    }
  }
}

void ProjectSync::fetch() {
  std::vector<Item*> wanted = itemsTo(SyncStep::Fetch);
  if (wanted.empty() && !areUsersDue_ && comparison_.isWhole) return;
  ProgressCount all{wanted.size(), 0};
  for (const Item* item : wanted) all.bytes += static_cast<std::uint64_t>(item->file.store->size);
  std::vector<TransferCondition> conditions;
  for (const Item& item : items_) {
    if (!item.file.store) continue;
    const bool stays = item.decision.step != SyncStep::Fetch;
    conditions.push_back({item.file.name, item.file.here, item.file.store->revision, stays});
  }
  const ScopedTransferConditions judged(comparison_.projectUuid, conditions);
  std::optional<WatchedTransfers> watched;
  if (!receives_) watched.emplace(context_, L"fetching", all);
  fetchItems(wanted);
  completeCache();
}

void ProjectSync::fetchItems(std::vector<Item*> wanted) {
  // A receiving run goes by name: the load would bring back what is removed here meanwhile.
  const bool hasBase = areUsersDue_ || (!receives_ && std::any_of(wanted.begin(), wanted.end(), [](const Item* item) {
                         return isBaseClass(item->file);
                       }));
  if (comparison_.isWhole && hasBase) {
    // Leaves what was changed here, and brings the user list in step. Files that it did not bring are tried again
    // below, and told by themselves.
    PRJ project = get_ActivePrj();
    if (Quorvel::FileAccess::WGO_refreshProjectCacheFromServer(project) == 0) noteUserList(context_);
    std::erase_if(wanted, [this](const Item* item) { return isBrought(*item); });
  }
  if (wanted.size() > kSingly) {
    fetchTogether(wanted);
    std::erase_if(wanted, [this](const Item* item) { return isBrought(*item); });
  }
  if (wanted.size() > kSingly) return;
  for (Item* item : wanted) {
    const unsigned long result = fetchSingly(item->view, pathOf(*item));
    if (result != ERROR_SUCCESS) item->problem = L"it could not be fetched: " + failureText(result);
  }
}

/// When all that was missing has come by name the cache counts as whole. A light load does what it does beside.
void ProjectSync::completeCache() {
  const std::vector<Item*> wanted = itemsTo(SyncStep::Fetch);
  const auto isHere = [this](const Item* item) { return contentOnDisk(pathOf(*item)).isKnown(); };
  if (comparison_.isWhole || !std::all_of(wanted.begin(), wanted.end(), isHere)) return;
  PRJ project = get_ActivePrj();
  Quorvel::FileAccess::WGO_refreshProjectCacheFromServer(project);
  markCacheWhole(comparison_);
}

void ProjectSync::fetchTogether(const std::vector<Item*>& wanted) {
  std::set<std::wstring> paths;
  for (Item* item : wanted) {
    paths.insert(pathOf(*item));
    item->problem = std::wstring(L"it could not be fetched; ") + kToldBelow;
  }
  // One that fails keeps no other back; which came is seen on the disk.
  Quorvel::FileAccess::WGO_DownloadFiles(get_ActivePrj(), paths);
}

void ProjectSync::trash() {
  const std::vector<Item*> gone = itemsTo(SyncStep::Trash);
  if (gone.empty()) return;
  SyncBase bases(comparison_.projectUuid);
  for (const Item* item : gone) moveToTrash(*item, bases);
}

void ProjectSync::moveToTrash(const Item& item, SyncBase& bases) {
  const std::wstring path = pathOf(item);
  const std::wstring label = item.view.label();
  StoredFile stored;
  const CloudStatus status =
      context_.store().findFile(context_.actor(), comparison_.projectUuid, item.file.name, stored);
  if (status != kStoreNotFound) return keep(label, L"the store has it again; sync again");
  if (!contentOnDisk(path).looksLike(item.file.here)) return keep(label, L"it is being changed; sync again");
  if (isOpenForWriting(platform::systemPath(path))) return keep(label, L"it is open for writing in another program");
  std::string thrown;
  if (platform::moveToTrash(path, nullptr, &thrown) != ERROR_SUCCESS) {
    return keep(label, L"somebody deleted it in the store, but it could not be moved to the trash");
  }
  // What somebody saved behind the last look went there, too.
  if (!contentOnDisk(platform::libraryPath(thrown)).looksLike(item.file.here)) {
    return keep(label,
                platform::takeFromTrash(thrown, path)
                    ? std::wstring(L"it is being changed; sync again")
                    : L"it was changed meanwhile; what was saved is in the trash as " + platform::fromUtf8(thrown));
  }
  // A run that ends here leaves a base without files, which the next one forgets. A new file of this name that is made
  // before that is told as changed here, and not as new: it is kept until it is pushed by its name.
  bases.forget(item.view.fileName);
  report(context_, label, L"moved to the trash", L"");
  told_.insert(itemKey(item.file.name));
  ++trashed_;
}

/// @return whether something was to go
bool ProjectSync::send() {
  const std::vector<Item*> own = itemsTo(SyncStep::Send);
  if (own.empty()) return false;
  std::vector<ItemName> names;
  ProgressCount all{own.size(), 0};
  for (const Item* item : own) {
    names.push_back({item->view.object, item->view.fileName});
    all.bytes += static_cast<std::uint64_t>(item->file.here.size);
  }
  const ProjectLook look = lookAtProject();
  PushRun run(
      context_, look, PushChoice{},
      [this](const ItemView& view, PushResult result, const std::wstring& detail) { tellSent(view, result, detail); });
  run.decide(names);
  if (dryRun_ || !run.hasWork()) return false;
  const WatchedTransfers watched(context_, L"sending", all);
  run.send();
  return true;
}

void ProjectSync::tellSent(const ItemView& view, PushResult result, const std::wstring& detail) {
  const bool isDone = result == PushResult::Sent || result == PushResult::WouldSend;
  if (!isDone) return keep(view.label(), detail);
  report(context_, view.label(), result == PushResult::Sent ? L"sent" : L"would be sent", detail, &view);
  told_.insert(itemKey(view.fileName));
  ++sent_;
}

/// What both sides have now decides what is told and recorded, not what the transfers answered.
void ProjectSync::settle() {
  // Looked at before the sides are compared: what changes in between is told by `changes` once more, and not lost.
  const ProjectLook look = lookAtProject();
  comparison_ = compareProject(context_);
  const std::vector<ComparedFile> same = comparison_.unrecorded;
  recordSame();
  std::set<std::wstring> differing = keysOf(comparison_.differing);
  std::vector<std::pair<std::wstring, SyncPoint>> inStep;
  for (const Item* item : itemsTo(SyncStep::Record)) {
    inStep.emplace_back(item->view.fileName, SyncPoint{*item->view.here, *item->view.store});
    differing.erase(itemKey(item->file.name));
  }
  SyncBase(comparison_.projectUuid).put(inStep);
  for (const Item& item : items_) told_.insert(itemKey(item.file.name));
  tellSettled(differing);
  tellOthersFetched(same, differing);
  clearWaiting(differing);
  acceptSettled(look, [&](const std::wstring& name) { return !differing.contains(itemKey(name)); });
}

void ProjectSync::tellSettled(const std::set<std::wstring>& differing) {
  std::set<std::wstring> open = differing;
  for (const Item& item : items_) {
    const bool differs = open.erase(itemKey(item.file.name)) > 0;
    // One whose version the store can't tell stays different.
    const bool isOpen = differs && !(item.lacksHeader() && isContentStored(item.file.name));
    if (item.decision.step == SyncStep::Fetch && !isOpen) {
      tellFetched({item.view.object, item.view.fileName});
    } else if (item.decision.step == SyncStep::Fetch) {
      isIncomplete_ = true;
      if (receives_ && item.problem.empty()) continue;
      keep(item.view.label(),
           item.problem.empty() ? L"it changed here or in the store meanwhile; sync again" : item.problem);
    } else if (item.decision.step == SyncStep::Keep && differs) {
      keep(item.view.label(), item.decision.reason);
    }
  }
  if (receives_) return;  // the others are being changed now, or sent
  for (const ComparedFile& file : comparison_.differing) {
    if (!open.contains(itemKey(file.name)) || told_.contains(itemKey(file.name))) continue;
    keep(itemOf(file).object ? itemOf(file).object->shortName() : file.name,
         L"it changed while this sync ran; sync again");
  }
}

/// Takes out of the list of what could not be sent what both sides have now.
void ProjectSync::clearWaiting(const std::set<std::wstring>& differing) const {
  std::vector<std::wstring> waiting;
  getNotUploadedFilesList(waiting);
  for (const std::wstring& name : waiting) {
    const ItemName item = itemOfFile(platform::fileNameOf(name));
    if (item.object && !differing.contains(itemKey(item.fileName))) removeEntryFromNotUploadedFilesList(name.c_str());
  }
}

/// A load may bring more than was judged: what was saved since.
void ProjectSync::tellOthersFetched(const std::vector<ComparedFile>& same, const std::set<std::wstring>& differing) {
  for (const ComparedFile& file : same) {
    const std::wstring key = itemKey(file.name);
    if (told_.contains(key) || differing.contains(key) || (isOnItsWay_ && isOnItsWay_(file.name))) continue;
    tellFetched(itemOf(file));
  }
}

ExitCode ProjectSync::finish() const {
  const auto part = [](std::size_t count, const wchar_t* what) {
    return count == 0 ? std::wstring()
                      : platform::formatWide(L", %llu %s", static_cast<unsigned long long>(count), what);
  };
  if (receives_) return kept_ + rescued_ == 0 ? ExitCode::Done : ExitCode::PartlyDone;
  const std::wstring parts = part(fetched_, dryRun_ ? L"to fetch" : L"fetched") +
                             part(sent_, dryRun_ ? L"to send" : L"sent") + part(trashed_, L"to the trash") +
                             part(rescued_, L"rescued") + part(kept_, kept_ == 1 ? L"stays" : L"stay");
  context_.output().message(parts.empty() ? L"in step: " + fileCount(comparison_.files) : parts.substr(2));
  return kept_ + rescued_ == 0 ? ExitCode::Done : ExitCode::PartlyDone;
}

std::vector<ProjectSync::Item*> ProjectSync::itemsTo(SyncStep step) {
  std::vector<Item*> found;
  for (Item& item : items_) {
    if (item.decision.step == step) found.push_back(&item);
  }
  return found;
}

std::wstring ProjectSync::pathOf(const Item& item) const {
  return platform::joinPath(comparison_.directory, item.file.name);
}

bool ProjectSync::isBrought(const Item& item) const {
  const FileContent stored = contentOf(*item.file.store);
  // What looked like the store's before it came says nothing now.
  return !item.file.here.looksLike(stored) && contentOnDisk(pathOf(item)).looksLike(stored);
}

void ProjectSync::tellFetched(const ItemName& item) {
  const ItemView now = readLocal(item);
  const bool hasVersion = hasStoredHeader(now) && now.here;
  report(context_, now.label(), L"fetched", hasVersion ? platform::formatWide(L"version %u", now.here->version) : L"",
         &now);
  told_.insert(itemKey(item.fileName));
  ++fetched_;
}

void ProjectSync::keep(const std::wstring& item, const std::wstring& reason) {
  keptLabels_.insert(item);
  if (!isNews_ || isNews_(item, reason)) report(context_, item, L"kept", reason);
  told_.insert(itemKey(item));
  ++kept_;
}

}  // namespace workstation::program
