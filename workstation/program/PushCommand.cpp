// push: sends what changed in the project, or chosen items, in one batch.
#include <CLI/CLI.hpp>
#include <memory>
#include <optional>

#include "platform/Text.h"
#include "workstation/program/ChangesSnapshot.h"
#include "workstation/program/Commands.h"
#include "workstation/program/Context.h"
#include "workstation/program/Objects.h"
#include "workstation/program/PushRun.h"
#include "workstation/program/Saving.h"

namespace workstation::program {

namespace {

struct Arguments {
  std::vector<std::string> items;
  bool deletes = false;
};

/// What the command says of an item, and whether it counts as done.
struct Wording {
  const wchar_t* outcome;
  bool isDone;
  bool tellsVersion = false;
};

Wording wordingOf(PushResult result) {
  switch (result) {
    case PushResult::Refused:
    case PushResult::RefusedLocked:
      break;
    case PushResult::Left:
      return {L"left in the store", true};
    case PushResult::InStep:
      return {L"in step", true, true};
    case PushResult::WouldSend:
      return {L"would be sent", true, true};
    case PushResult::WouldDelete:
      return {L"would be deleted in the store", true};
    case PushResult::Sent:
      return {L"sent", true, true};
    case PushResult::Deleted:
      return {L"deleted in the store", true};
    case PushResult::NotSent:
      return {L"not sent", false};
    case PushResult::NotDeleted:
      return {L"not deleted in the store", false};
  }
  return {L"refused", false};
}

/// One run of the command over the open project.
class Push {
 public:
  Push(Context& context, const PushChoice& choice)
      : context_(context),
        choice_(choice),
        look_(takeLook()),
        run_(context, look_, choice, [this](const ItemView& view, PushResult result, const std::wstring& detail) {
          tell(view, result, detail);
        }) {}

  ExitCode run(const std::vector<ItemName>& named) {
    if (choice_.deletes && !choice_.named && looksLost(look_)) {
      throw CommandFailure{
          ExitCode::Failure,
          platform::formatWide(L"of the %d files that the last look kept hardly any is in %s now; is it the right "
                               L"directory? Nothing was sent or deleted. To delete files all the same, name them",
                               look_.keptCount, look_.directory)};
    }
    run_.decide(choice_.named ? named : itemsToPush(look_, SyncBase(look_.projectUuid)));
    if (!context_.options().dryRun) {
      // Looked at before the items are read: what changes in between is then told once more, and not lost.
      std::optional<ProjectLook> look;
      run_.send([&] { look = lookAfterwards(); });
      if (look) accept(*look);
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

  void tell(const ItemView& view, PushResult result, const std::wstring& detail) {
    const Wording wording = wordingOf(result);
    report(context_, view.label(), wording.outcome, detail, wording.tellsVersion ? &view : nullptr);
    if (wording.isDone) return tally_.done();
    result == PushResult::RefusedLocked ? tally_.locked() : tally_.failed();
  }

  std::optional<ProjectLook> lookAfterwards() const {
    try {
      return lookAtProject();
    } catch (const CommandFailure& failure) {
      context_.output().error(L"what was sent will be told as a change once more: " + failure.message);
      return std::nullopt;
    }
  }

  /// Moves the base of later looks over what is settled; compressing has changed the files of the Teilbilder.
  void accept(const ProjectLook& look) const {
    if (look.isFirst && choice_.named) return;
    acceptSettled(look, [this](const std::wstring& name) { return isPrivateFile(name) || run_.isSettled(name); });
  }

  Context& context_;
  PushChoice choice_;
  Tally tally_;  // counts from the look on
  ProjectLook look_;
  PushRun run_;
};

ExitCode push(Context& context, const Arguments& arguments) {
  const std::vector<ItemName> items = itemArguments(arguments.items);
  context.startInProject();
  const ProjectGuard guard = context.guardProject();
  const NotUploadedList waiting;
  return Push(context, {!items.empty(), arguments.deletes}).run(items);
}

}  // namespace

ExitCode pushChanges(Context& context) {
  return Push(context, {}).run({});
}

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
