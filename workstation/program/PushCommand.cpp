// push: sends what changed in the project, or chosen items, in one batch.
#include <CLI/CLI.hpp>
#include <algorithm>
#include <functional>
#include <map>
#include <memory>

#include "platform/Text.h"
#include "platform/UserInterface.h"
#include "workstation/program/ChangesSnapshot.h"
#include "workstation/program/Commands.h"
#include "workstation/program/Context.h"
#include "workstation/program/Objects.h"
#include "workstation/program/PushItems.h"
#include "workstation/program/PushUpload.h"
#include "workstation/program/Saving.h"
#include "workstation/program/SyncBase.h"
#include "zephor/NotUploadedFiles.h"

namespace workstation::program {

namespace {

struct Arguments {
  std::vector<std::string> items;
  bool deletes = false;
};

/// One run of the command over the open project.
class Push {
 public:
  Push(Context& context, const PushChoice& choice)
      : context_(context), choice_(choice), look_(takeLook()), bases_(look_.projectUuid) {}

  ExitCode run(const std::vector<ItemName>& named) {
    if (choice_.deletes && !choice_.named && looksLost(look_)) {
      throw CommandFailure{
          ExitCode::Failure,
          platform::formatWide(L"of the %d files that the last look kept hardly any is in %s now; is it the right "
                               L"directory? Nothing was sent or deleted. To delete files all the same, name them",
                               look_.keptCount, look_.directory)};
    }
    decide(choice_.named ? named : itemsToPush(look_, bases_));
    if (!context_.options().dryRun) {
      confirmDeletions();
      prepare();
      errorsBefore_ = context_.errorCount();
      uploadItems(look_, items_, [this](PushItem& item, std::wstring reason) { refuse(item, std::move(reason)); });
      tellResults();
    }
    if (!choice_.named && tally_.doneCount() + tally_.failedCount() == 0) {
      context_.output().message(L"nothing to send: nothing has changed since it was last in step with the store");
    }
    return tally_.exitCode();
  }

 private:
  /// What the look passes over, a name that no workstation can hold for one, is told to the error log alone.
  ProjectLook takeLook() {
    const std::size_t known = context_.errorCount();
    ProjectLook look = lookAtProject();
    if (context_.errorCount() == known) return look;
    context_.output().error(L"zephor: not everything in the project's directory could be looked at; see below");
    // What is named is judged by itself.
    if (!choice_.named) tally_.failed();
    return look;
  }

  /// Whether nothing is left to send, by the key of the item.
  using Settled = std::map<std::wstring, bool>;

  void decide(const std::vector<ItemName>& names) {
    const PushFiles files(look_);
    for (ItemView& view : readItems(names)) {
      PushItem& item = items_.emplace_back();
      item.file = files.of(view.fileName);
      item.decision = decidePush(view, choice_, item.file);
      item.before = std::move(view);
      tellDecision(item.before, item.decision);
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

  void refuse(PushItem& item, std::wstring reason) {
    item.decision = {PushStep::Refuse, std::move(reason)};
    tellDecision(item.before, item.decision);
  }

  void confirmDeletions() {
    const auto count = std::count_if(items_.begin(), items_.end(), std::mem_fn(&PushItem::isToDelete));
    if (count == 0) return;
    const std::wstring question = platform::formatWide(
        L"Of what the store has, no longer here: %d. Delete that in the store too, for everybody?", count);
    if (platform::userInterface().messageBox({nullptr, question, L"zephor", MB_YESNO, {}, {}}) == IDYES) return;
    for (PushItem& item : items_) {
      if (item.isToDelete()) refuse(item, L"not deleted in the store: nobody said yes, --yes does");
    }
  }

  void prepare() {
    for (PushItem& item : items_) {
      if (!item.isToSend()) continue;
      std::wstring problem = prepareToSend(item);
      if (!problem.empty()) refuse(item, std::move(problem));
    }
  }

  void tellResults() {
    // Looked at before the items are read: what changes in between is then told once more, and not lost.
    std::optional<ProjectLook> look;
    try {
      look = lookAtProject();
    } catch (const CommandFailure& failure) {
      context_.output().error(L"what was sent will be told as a change once more: " + failure.message);
    }
    std::vector<ItemName> names;
    for (const PushItem& item : items_) names.push_back(item.name());
    const std::vector<ItemView> views = readItems(names);
    Settled settled;
    for (std::size_t i = 0; i < items_.size(); ++i) {
      settled[itemKey(items_[i].before.fileName)] = settle(items_[i], views[i]);
    }
    if (look) accept(*look, settled);
  }

  /// Tells how an item ended. @return true when nothing is left to send of it
  bool settle(const PushItem& item, const ItemView& view) {
    if (!item.isToSend() && !item.isToDelete()) {
      if (view.state == ObjectState::InStep) bases_.put(view.fileName, {*view.here, *view.store});
      const bool isLeft = item.decision.step == PushStep::Nothing && view.isUnchangedHere();
      return isLeft || view.state == ObjectState::InStep || view.state == ObjectState::Nowhere;
    }
    if (!item.isDoneBy(view)) {
      report(context_, view.label(), item.isToDelete() ? L"not deleted in the store" : L"not sent",
             failureReason(item));
      tally_.failed();
      return false;
    }
    tally_.done();
    if (item.isToDelete()) {
      bases_.forget(view.fileName);
      report(context_, view.label(), L"deleted in the store", giveBackLock(item));
      return !view.here;
    }
    // An upload that went through at a second try leaves the list alone.
    removeEntryFromNotUploadedFilesList(view.fileName.c_str());
    bases_.put(view.fileName, {*view.here, *view.store});
    report(context_, view.label(), L"sent", view.object ? platform::formatWide(L"version %u", view.here->version) : L"",
           &view);
    return true;
  }

  std::wstring failureReason(const PushItem& item) const {
    if (!item.isTried) return L"not tried after the failure of other files; push again";
    if (item.isToSend() && existsEntryInNotUploadedFilesList(item.before.fileName.c_str())) {
      return L"it is in the list of what could not be sent; zephor not-uploaded retry";
    }
    if (context_.errorCount() > errorsBefore_) return L"what was wrong is told below";
    return L"it changed here or in the store meanwhile; see zephor status";
  }

  /// Moves the base of later looks over what is settled; compressing has changed the files of the Teilbilder.
  void accept(const ProjectLook& look, const Settled& settled) const {
    if (look.isFirst && choice_.named) return;
    acceptSettled(look, [&](const std::wstring& name) {
      const auto found = settled.find(itemKey(name));
      return isPrivateFile(name) || (found != settled.end() && found->second);
    });
  }

  Context& context_;
  PushChoice choice_;
  Tally tally_;  // counts from the look on
  ProjectLook look_;
  SyncBase bases_;
  std::vector<PushItem> items_;
  std::size_t errorsBefore_ = 0;  // told before anything was sent
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
  command->add_flag("--delete", arguments->deletes,
                    "Delete in the store what was deleted here; asks before (see --yes)");
  command->callback(
      [&selected, arguments] { selected = [arguments](Context& context) { return push(context, *arguments); }; });
}

}  // namespace workstation::program
