// push: sends what changed in the project, or chosen items, in one batch.
#include <CLI/CLI.hpp>
#include <map>
#include <memory>

#include "host/Project.h"
#include "platform/Paths.h"
#include "platform/Text.h"
#include "workstation/objects/ObjectNames.h"
#include "workstation/program/ChangesSnapshot.h"
#include "workstation/program/Commands.h"
#include "workstation/program/Context.h"
#include "workstation/program/Objects.h"
#include "workstation/program/PushPlan.h"
#include "workstation/program/Saving.h"
#include "workstation/program/SyncBase.h"
#include "zephor/NotUploadedFiles.h"

namespace workstation::program {

namespace {

using Quorvel::FileAccess::WGO_FileCompareInfo;

struct Arguments {
  std::vector<std::string> items;
  bool deletes = false;
};

/// An item of a push, from the decision to the result.
struct PushItem {
  ItemName name;
  PushDecision decision;
  bool isNew = false;                ///< the store has none yet
  std::optional<VersionStamp> sent;  ///< what was here when it was sent
};

ItemName itemOfFile(const std::wstring& fileName) {
  const auto object = parseObjectFileName(fileName);
  if (!object) return {std::nullopt, fileName};
  const ObjectName name{object->type, object->number};
  return {name, name.fileName()};
}

/// What the look found changed and others have a use for; everything when there is nothing yet to compare with.
std::vector<ItemName> changedItems(const ProjectLook& look) {
  std::vector<ItemName> items;
  const auto add = [&](const std::wstring& path) {
    const std::wstring name = nameInProject(look, path);
    if (!isPrivateFile(name)) items.push_back(itemOfFile(name));
  };
  for (const WGO_FileCompareInfo& change : look.changes) add(change.fileName);
  if (!look.isFirst) return items;
  for (const auto& file : look.now) add(file.first);
  return items;
}

/// One run of the command over the open project.
class Push {
 public:
  Push(Context& context, const PushChoice& choice)
      : context_(context), choice_(choice), look_(lookAtProject()), bases_(get_ActivePrj().GetOndrathProjectUuid()) {
    for (const auto& file : look_.now) paths_.emplace(keyOf(nameInProject(look_, file.first)), file.first);
  }

  ExitCode run(const std::vector<ItemName>& named) {
    decide(choice_.named ? named : changedItems(look_));
    if (!context_.options().dryRun) {
      const bool wentWell = send();
      tellResults(wentWell);
    }
    if (!choice_.named && tally_.doneCount() + tally_.failedCount() == 0) {
      context_.output().message(L"nothing has changed since the kept state; zephor status tells what was never saved");
    }
    return tally_.exitCode();
  }

 private:
  /// Whether nothing is left to send, by the key of the item.
  using Settled = std::map<std::wstring, bool>;

  static std::wstring keyOf(const std::wstring& fileName) { return platform::toLower(fileName); }

  void decide(const std::vector<ItemName>& names) {
    for (const ItemView& view : readItems(names)) {
      PushItem& item = items_.emplace_back();
      item.name = {view.object, view.fileName};
      item.isNew = !view.store;
      item.decision = decidePush(view, choice_, paths_.contains(keyOf(view.fileName)));
      tellDecision(view, item.decision);
    }
  }

  void tellDecision(const ItemView& view, const PushDecision& decision) {
    const bool dryRun = context_.options().dryRun;
    switch (decision.step) {
      case PushStep::Refuse:
        report(context_, view.label(), L"refused", decision.reason);
        return tally_.failed();
      case PushStep::RefuseLocked:
        report(context_, view.label(), L"refused", decision.reason);
        return tally_.locked();
      case PushStep::Leave:
        report(context_, view.label(), L"left in the store", decision.reason);
        return tally_.done();
      case PushStep::Nothing:
        if (!choice_.named) return;
        report(context_, view.label(), L"in step", L"nothing to send", &view);
        return tally_.done();
      case PushStep::Send:
        if (!dryRun) return;
        report(context_, view.label(), L"would be sent", stateName(view.state), &view);
        return tally_.done();
      case PushStep::Delete:
        if (!dryRun) return;
        report(context_, view.label(), L"would be deleted in the store", stateName(view.state));
        return tally_.done();
    }
  }

  WGO_FileCompareInfo changeOf(const PushItem& item) const {
    using namespace Quorvel::FileAccess;
    const auto found = paths_.find(keyOf(item.name.fileName));
    WGO_FileCompareInfo change(
        found != paths_.end() ? found->second : platform::joinPath(look_.directory, item.name.fileName),
        WIN32_FIND_DATAW(), WIN32_FIND_DATAW());
    change.state = item.isNew ? eFileChange_Created : eFileChange_Changed;
    if (item.decision.step == PushStep::Delete) change.state = eFileChange_Deleted;
    return change;
  }

  /// Sends and deletes in one batch. @return false when something failed; what did is asked of the store
  bool send() {
    std::vector<WGO_FileCompareInfo> batch;
    for (PushItem& item : items_) {
      const bool isSent = item.decision.step == PushStep::Send;
      if (!isSent && item.decision.step != PushStep::Delete) continue;
      // The row of the database is the header that goes with an object.
      if (isSent && item.name.object) noteInDatabase(*item.name.object);
      if (isSent) item.sent = readLocal(item.name).here;
      batch.push_back(changeOf(item));
    }
    if (batch.empty()) return true;
    const PRJ project = get_ActivePrj();
    Quorvel::FileAccess::WGO_DirectoryChanges changes;
    changes.init(look_.directory.c_str(), nullptr, false);
    return changes.upload(batch, &project, choice_.deletes);
  }

  void tellResults(bool wentWell) {
    // Looked at before the items are read: what changes in between is then told once more, and not lost.
    std::optional<ProjectLook> look;
    try {
      look = lookAtProject();
    } catch (const CommandFailure& failure) {
      context_.output().error(L"what was sent will be told as a change once more: " + failure.message);
    }
    std::vector<ItemName> names;
    for (const PushItem& item : items_) names.push_back(item.name);
    const std::vector<ItemView> views = readItems(names);
    Settled settled;
    for (std::size_t i = 0; i < items_.size(); ++i) {
      settled[keyOf(items_[i].name.fileName)] = settle(items_[i], views[i], wentWell);
    }
    if (look) accept(*look, settled);
  }

  /// Tells how an item ended. @return true when nothing is left to send of it
  bool settle(const PushItem& item, const ItemView& view, bool wentWell) {
    const wchar_t* const seeBelow = L"what was wrong is told below";
    const wchar_t* const changed = L"it changed here or in the store meanwhile; see zephor status";
    if (item.decision.step == PushStep::Delete) {
      if (view.store) {
        report(context_, view.label(), L"not deleted in the store", wentWell ? changed : seeBelow);
        tally_.failed();
        return false;
      }
      bases_.forget(view.fileName);
      report(context_, view.label(), L"deleted in the store", {});
      tally_.done();
      return !view.here;
    }
    if (item.decision.step != PushStep::Send) {
      if (view.state == ObjectState::InStep) bases_.put(view.fileName, {*view.here, *view.store});
      return view.state == ObjectState::InStep || view.state == ObjectState::Nowhere;
    }
    if (!item.sent || !view.same || view.here != item.sent) {
      const bool waits = existsEntryInNotUploadedFilesList(view.fileName.c_str());
      const wchar_t* const waiting = L"it is in the list of what could not be sent; zephor not-uploaded retry";
      report(context_, view.label(), L"not sent", waits ? waiting : wentWell ? changed : seeBelow);
      tally_.failed();
      return false;
    }
    // An upload that went through at a second try leaves the list alone.
    removeEntryFromNotUploadedFilesList(view.fileName.c_str());
    bases_.put(view.fileName, {*view.here, *view.store});
    report(context_, view.label(), L"sent", view.object ? platform::formatWide(L"version %u", view.here->version) : L"",
           &view);
    tally_.done();
    return true;
  }

  /// Moves the base of later looks over what is settled; compressing has changed the files of the Teilbilder.
  void accept(const ProjectLook& look, const Settled& settled) const {
    if (look.isFirst) {
      const bool all = std::all_of(settled.begin(), settled.end(), [](const auto& entry) { return entry.second; });
      if (!choice_.named && all) acceptLook(look);
      return;
    }
    std::vector<WGO_FileCompareInfo> accepted;
    for (const WGO_FileCompareInfo& change : look.changes) {
      const std::wstring name = nameInProject(look, change.fileName);
      const auto found = settled.find(keyOf(name));
      if (isPrivateFile(name) || (found != settled.end() && found->second)) accepted.push_back(change);
    }
    acceptChanges(look, accepted);
  }

  Context& context_;
  PushChoice choice_;
  ProjectLook look_;
  SyncBase bases_;
  std::map<std::wstring, std::wstring> paths_;  ///< full path of each file that an upload takes, by its key
  std::vector<PushItem> items_;
  Tally tally_;
};

/// The list of what could not be sent, loaded with what earlier runs left and written at the end.
struct NotUploadedList {
  NotUploadedList() {
    std::vector<std::wstring> names;
    getNotUploadedFilesList(names);
  }
  ~NotUploadedList() { closeNotUploadedFilesList(); }
  NotUploadedList(const NotUploadedList&) = delete;
  NotUploadedList& operator=(const NotUploadedList&) = delete;
};

ExitCode push(Context& context, const Arguments& arguments) {
  const std::vector<ItemName> items = itemArguments(arguments.items);
  context.startInProject();
  const ProjectGuard guard = context.guardProject();
  const NotUploadedList waiting;
  return Push(context, {!items.empty(), arguments.deletes}).run(items);
}

}  // namespace

void addPushCommand(CLI::App& app, Action& selected) {
  auto arguments = std::make_shared<Arguments>();
  auto* command = app.add_subcommand("push", "Send what changed in the project, or chosen items, in one batch");
  command->add_option("ITEM", arguments->items,
                      "Objects, or files below the project's directory (default: all changes)");
  command->add_flag("--delete", arguments->deletes, "Delete in the store what was deleted here");
  command->callback(
      [&selected, arguments] { selected = [arguments](Context& context) { return push(context, *arguments); }; });
}

}  // namespace workstation::program
