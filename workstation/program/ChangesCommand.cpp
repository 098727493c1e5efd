// changes: what was created, changed and deleted in the project's directory since the kept state.
#include <CLI/CLI.hpp>
#include <memory>

#include "platform/Text.h"
#include "workstation/program/ChangesSnapshot.h"
#include "workstation/program/Commands.h"
#include "workstation/program/Context.h"

namespace workstation::program {

namespace {

using Quorvel::FileAccess::WGO_FileCompareInfo;

constexpr const char* kExplanation =
    "A file counts as changed when its time of creation or of writing differs. Files that an upload of the project\n"
    "leaves out are not looked at. Looking keeps nothing: the same changes are listed until --accept takes them over,\n"
    "or a push has sent them. The first call has nothing to compare with; it keeps the state that it finds.\n"
    "A push goes by what was last in step with the store: what was never sent goes, whatever state is kept here.";

const wchar_t* wordOf(const WGO_FileCompareInfo& change) {
  if (change.state == Quorvel::FileAccess::eFileChange_Created) return L"created";
  return change.state == Quorvel::FileAccess::eFileChange_Deleted ? L"deleted" : L"changed";
}

std::int64_t sizeOf(const WIN32_FIND_DATAW& file) {
  return static_cast<std::int64_t>((static_cast<std::uint64_t>(file.nFileSizeHigh) << 32U) | file.nFileSizeLow);
}

ProjectLook acceptedLook(const Context& context) {
  // A command that is at work on the project ends before its half is taken for a state.
  const ProjectGuard guard = context.guardProject();
  ProjectLook look = lookAtProject();
  if (!context.options().dryRun) acceptLook(look);
  return look;
}

ExitCode changes(Context& context, bool accepts) {
  context.startInProject();
  const bool dryRun = context.options().dryRun;
  const ProjectLook look = accepts ? acceptedLook(context) : lookAtProject();
  if (look.isFirst && !accepts && !dryRun) acceptLook(look);
  if (look.isFirst) {
    const wchar_t* const format = !dryRun ? L"this was the first look: the state of %d files is kept, and later calls "
                                            L"tell what changed since; what was "
                                            L"never sent, a push sends all the same"
                                          : L"this would be the first look, at %d files";
    context.output().message(platform::formatWide(format, look.now.size()));
    return ExitCode::Done;
  }
  Table table({{"change", L"CHANGE"}, {"file", L"FILE"}, {"size", L"SIZE"}, {"size_before", L"BEFORE"}});
  for (const WGO_FileCompareInfo& change : look.changes) {
    const auto size = [](const WIN32_FIND_DATAW& file) {
      return file.cFileName[0] == L'\0' ? Value(std::monostate()) : Value(sizeOf(file));
    };
    table.row({std::wstring(wordOf(change)), nameInProject(look, change.fileName), size(change.newData),
               size(change.oldData)});
  }
  if (table.empty()) context.output().message(L"nothing has changed");
  table.print(context.output());
  return ExitCode::Done;
}

}  // namespace

void addChangesCommand(CLI::App& app, Action& selected) {
  auto* command = app.add_subcommand("changes", "List what was created, changed or deleted in the project's directory");
  command->footer(kExplanation);
  auto accepts = std::make_shared<bool>(false);
  command->add_flag("--accept", *accepts, "Take over the present state: later calls tell what changed since now");
  command->callback(
      [&selected, accepts] { selected = [accepts](Context& context) { return changes(context, *accepts); }; });
}

}  // namespace workstation::program
