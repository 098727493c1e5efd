// create, import, export: making objects and getting files in and out of them.
#include <CLI/CLI.hpp>
#include <memory>
#include <set>

#include "host/Files.h"
#include "host/Locking.h"
#include "host/Project.h"
#include "host/Users.h"
#include "platform/Files.h"
#include "platform/Paths.h"
#include "platform/Text.h"
#include "workstation/Session.h"
#include "workstation/objects/ObjectFile.h"
#include "workstation/objects/ObjectNames.h"
#include "workstation/program/Agreement.h"
#include "workstation/program/Arguments.h"
#include "workstation/program/Commands.h"
#include "workstation/program/Context.h"
#include "workstation/program/Objects.h"
#include "workstation/program/Repacking.h"

namespace workstation::program {

namespace {

struct Arguments {
  std::vector<std::string> files;
  std::string type = "tb";
  std::string into;
  std::string name;
  std::string object;
  std::string target;
  int number = 0;
};

ObjectAuthor author() {
  return ObjectAuthor{lzbnum(), identity().user.name};
}

QuorvelFileType typeArgument(const std::string& text) {
  const auto type = parseObjectType(wide(text));
  if (!type) throw CommandFailure{ExitCode::Usage, wide(text) + L" is no kind of object (expected tb, pb or ze)"};
  return *type;
}

void reportObject(const Context& context, const ObjectName& object, const wchar_t* outcome,
                  const std::wstring& source) {
  const std::wstring text = object.shortName() + L": " + outcome + (source.empty() ? L"" : L" from " + source);
  context.output().result(text, {{"item", object.shortName()}, {"outcome", std::wstring(outcome)}, {"source", source}});
}

/// Numbers of a kind that this workstation or the store has an object under.
std::set<int> takenNumbers(QuorvelFileType type) {
  std::set<int> taken;
  for (const auto& view : readObjects()) {
    if (view.object && view.object->type == type) taken.insert(view.object->number);
  }
  return taken;
}

/// The lowest free number, 0 when there is none.
int freeNumber(QuorvelFileType type, const std::set<int>& taken) {
  for (int number = 1; isPossibleNumber(type, number); ++number) {
    if (!taken.contains(number)) return number;
  }
  return 0;
}

/// Makes one object under `number`, or the next free number of its kind when that is 0.
ObjectName makeObject(const Context& context, QuorvelFileType type, int number, const std::wstring& name,
                      const std::wstring& content, std::set<int>& taken) {
  const std::wstring directory = lfinigC(1);
  ObjectName object{type, number != 0 ? number : freeNumber(type, taken)};
  if (object.number == 0) {
    throw CommandFailure{ExitCode::Failure, L"the project has no free number for this kind of object"};
  }
  if (context.options().dryRun) {
    if (!isPossibleNumber(type, object.number)) throw CommandFailure{ExitCode::Failure, L"the number is not possible"};
    if (!taken.insert(object.number).second) {
      throw CommandFailure{ExitCode::Failure, object.fileName() + L" exists already"};
    }
    return object;
  }
  std::wstring path;
  std::wstring error;
  if (createObject(directory, type, object.number, name, content, author(), path, error) != 0) {
    throw CommandFailure{ExitCode::Failure, error};
  }
  taken.insert(object.number);
  noteInDatabase(object);
  return object;
}

ExitCode create(Context& context, const Arguments& arguments) {
  const QuorvelFileType type = typeArgument(arguments.type);
  context.startInProject();
  const ProjectGuard guard = context.guardProject();
  std::set<int> taken = takenNumbers(type);
  const ObjectName object = makeObject(context, type, arguments.number, wide(arguments.name), L"", taken);
  reportObject(context, object, context.options().dryRun ? L"would be made" : L"made", L"");
  return ExitCode::Done;
}

/// A warning only: what was changed without a lock stays here, and saving it is refused while somebody else holds the
/// lock.
void warnOfLock(const Context& context, const ObjectName& object) {
  FileLockInfo info;
  if (!getFileLockingManager().GetLockInfo(object.number, object.objectType(), info)) {
    context.output().message(object.shortName() + L" is not locked; lock it before you save it");
  } else if (!getFileLockingManager().IsLockedByCurrentUser(object.number, object.objectType())) {
    context.output().message(object.shortName() + L" is locked by " + holderOf(info) +
                             L"; it can't be saved while it is");
  }
}

ExitCode importInto(Context& context, const Arguments& arguments) {
  const auto object = parseObjectName(wide(arguments.into));
  if (!object)
    throw CommandFailure{ExitCode::Usage, wide(arguments.into) + L" names no object (expected tb12, pb3 or ze7)"};
  if (arguments.files.size() != 1) throw CommandFailure{ExitCode::Usage, L"--into takes exactly one file"};
  const std::wstring source = fileArgument(arguments.files.front());
  warnOfLock(context, *object);
  std::wstring error;
  ObjectFileInfo info;
  if (readObjectHeader(objectPath(*object), info, error) != 0) throw CommandFailure{ExitCode::Failure, error};
  if (!context.options().dryRun) {
    if (replaceContent(objectPath(*object), source, author(), error) != 0)
      throw CommandFailure{ExitCode::Failure, error};
    // A drawing that was compressed stays so, whoever changes it.
    if (info.compressed) {
      const Repacked result = repack(objectPath(*object), Packing::Compressed, false);
      if (!result.problem.empty())
        context.output().message(object->shortName() + L": is no longer compressed (" + result.problem + L")");
    }
    noteInDatabase(*object);
  }
  reportObject(context, *object, context.options().dryRun ? L"would be changed" : L"changed",
               wide(arguments.files.front()));
  return ExitCode::Done;
}

ExitCode import(Context& context, const Arguments& arguments) {
  context.startInProject();
  const ProjectGuard guard = context.guardProject();
  if (!arguments.into.empty()) return importInto(context, arguments);
  const QuorvelFileType type = typeArgument(arguments.type);
  if (arguments.files.size() > 1 && arguments.number != 0) {
    throw CommandFailure{ExitCode::Usage, L"--number takes exactly one file"};
  }
  Tally tally;
  std::set<int> taken = takenNumbers(type);
  for (const auto& file : arguments.files) {
    try {
      const std::wstring source = fileArgument(file);
      const std::wstring name = arguments.name.empty() ? platform::fileNameOf(source) : wide(arguments.name);
      ObjectName object = makeObject(context, type, arguments.number, name, source, taken);
      reportObject(context, object, context.options().dryRun ? L"would be made" : L"made", wide(file));
      tally.done();
    } catch (const CommandFailure& failure) {
      context.output().error(wide(file) + L": " + failure.message);
      if (context.output().json()) {
        context.output().result(
            {}, {{"item", {}}, {"outcome", L"failed"}, {"source", wide(file)}, {"detail", failure.message}});
      }
      tally.failed();
    }
  }
  return tally.exitCode();
}

/// The file that an export goes to, as the user would type it.
std::string exportTarget(const Arguments& arguments, const ObjectName& object, const ObjectFileInfo& info) {
  if (!arguments.target.empty()) return arguments.target;
  if (info.contentName.empty())
    throw CommandFailure{ExitCode::Failure, object.shortName() + L" has no content to write"};
  // The name comes out of the file: only its last component, and only where it is a harmless one.
  const std::wstring name = platform::fileNameOf(info.contentName);
  if (!platform::isSafeRelativeName(name))
    throw CommandFailure{ExitCode::Failure, L"the content's name can't be used here; name the file to write"};
  return platform::toUtf8(name);
}

/// Throws unless the export may write there. What lies in the project, or what an object of it is a link to, is never
/// a target: the raw content would stand where a drawing was.
void checkExportTarget(const Context& context, const ObjectName& object, const std::wstring& path,
                       const std::wstring& shown) {
  const bool isObject = platform::weaklyCanonical(path) == platform::weaklyCanonical(objectPath(object));
  if (isObject || !placeInProject(path).empty()) {
    throw CommandFailure{ExitCode::Failure, shown + L" lies in the project's directory; name a file outside of it"};
  }
  const platform::FileStatus status = platform::fileStatus(path);
  if (!status.exists) return;
  if (status.isDirectory) throw CommandFailure{ExitCode::Failure, shown + L" is a directory; expected a file"};
  const std::wstring question = shown + L" exists already. Replace it?";
  const bool isAllowed = context.options().dryRun || agrees(question);
  if (!isAllowed)
    throw CommandFailure{ExitCode::Failure, shown + L" exists already and stays as it is; --yes replaces it"};
}

ExitCode exportObject(Context& context, const Arguments& arguments) {
  const auto object = parseObjectName(wide(arguments.object));
  if (!object)
    throw CommandFailure{ExitCode::Usage, wide(arguments.object) + L" names no object (expected tb12, pb3 or ze7)"};
  context.startInProject();
  const std::wstring source = objectPath(*object);
  ObjectFileInfo info;
  std::wstring error;
  if (readObjectHeader(source, info, error) != 0)
    throw CommandFailure{ExitCode::Failure, renamedIn(error, source, object->shortName())};
  const std::string target = exportTarget(arguments, *object, info);
  const std::wstring shown = wide(target);
  const std::wstring path = platform::libraryPath(absolutePath(target));
  checkExportTarget(context, *object, path, shown);
  if (!context.options().dryRun && exportContent(source, path, error) != 0)
    throw CommandFailure{ExitCode::Failure, renamedIn(renamedIn(error, path, shown), source, object->shortName())};
  context.output().result(
      object->shortName() + (context.options().dryRun ? L": would be written to " : L": written to ") + shown,
      {{"item", object->shortName()}, {"file", shown}});
  return ExitCode::Done;
}

}  // namespace

void addObjectCommands(CLI::App& app, Action& selected) {
  auto arguments = std::make_shared<Arguments>();
  auto* createCommand = app.add_subcommand("create", "Make an empty object");
  createCommand->add_option("KIND", arguments->type, "tb (Teilbild), pb (Plan) or ze (Zeichnung)")->required();
  createCommand->add_option("NAME", arguments->name, "Name shown to people")->required();
  createCommand->add_option("--number", arguments->number, "Number (default: the next free one)")
      ->check(CLI::Range(1, 999999));
  createCommand->callback(
      [&selected, arguments] { selected = [arguments](Context& context) { return create(context, *arguments); }; });

  auto* importCommand = app.add_subcommand("import", "Make an object of each file, or give an object a new content");
  importCommand->add_option("FILE", arguments->files, "Files of any kind")->required();
  importCommand->add_option("--as", arguments->type, "Kind of object: tb, pb, ze")->capture_default_str();
  importCommand->add_option("--number", arguments->number, "Number (default: the next free one)")
      ->check(CLI::Range(1, 999999));
  importCommand->add_option("--name", arguments->name, "Name shown to people (default: the file's)");
  importCommand->add_option("--into", arguments->into, "Object that takes the file as its new content");
  importCommand->callback(
      [&selected, arguments] { selected = [arguments](Context& context) { return import(context, *arguments); }; });

  auto* exportCommand = app.add_subcommand("export", "Write an object's content to a file");
  exportCommand->add_option("OBJECT", arguments->object)->required();
  exportCommand->add_option("FILE", arguments->target, "Default: the name under which it was imported");
  exportCommand->callback([&selected, arguments] {
    selected = [arguments](Context& context) { return exportObject(context, *arguments); };
  });
}

}  // namespace workstation::program
