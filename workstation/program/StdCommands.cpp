// std: standard resources that a team shares, in containers that one person changes at a time.
#include <CLI/CLI.hpp>
#include <algorithm>
#include <filesystem>
#include <memory>
#include <set>

#include "host/Files.h"
#include "platform/Files.h"
#include "platform/Paths.h"
#include "platform/Text.h"
#include "workstation/Session.h"
#include "workstation/program/Agreement.h"
#include "workstation/program/Arguments.h"
#include "workstation/program/CacheContent.h"
#include "workstation/program/Commands.h"
#include "workstation/program/Context.h"
#include "workstation/program/People.h"
#include "workstation/program/StdEditing.h"
#include "workstation/program/StdState.h"
#include "workstation/program/StdSubscription.h"
#include "workstation/system/StandardResources.h"
#include "zephor/ResourceContainers.h"

namespace workstation::program {

namespace {

using namespace Quorvel::FileAccess;

constexpr int kNoFlag = 0;
constexpr const wchar_t* kLocalResources = L"00000000-0000-0000-0000-000000000000";

struct Arguments {
  std::string name;
  std::string newName;
  std::string team;
  std::string from;
  bool fromLocal = false;
  bool force = false;
};

ExitCode listContainers(Context& context) {
  context.startOnline();
  const std::wstring subscribed = subscribedContainer();
  Table table({{"container", L"NAME"},
               {"team", L"TEAM"},
               {"role", L"ROLE"},
               {"files", L"FILES"},
               {"bytes", L"SIZE"},
               {"changed", L"CHANGED (UTC)"},
               {"changedBy", L"BY"},
               {"lockedBy", L"LOCKED BY"},
               {"subscribed", L"SUBSCRIBED"},
               {"uuid", L"UUID"}});
  for (const StoreContainer& container : readContainers(context)) {
    table.row({container.name, container.teamName, roleName(container.role), container.files, container.bytes,
               storeDateText(container.changed), container.changerName, holderOf(container),
               container.uuid == subscribed, container.uuid});
  }
  if (table.empty()) context.output().message(L"your teams have no containers");
  table.print(context.output());
  return ExitCode::Done;
}

/// What a command has begun to make. Its cache has copies alone, which nobody misses.
bool takeBack(const std::wstring& container) {
  ldirrmc(WGO_BuildCloudStdLocalCachePath(container));
  return WGO_DeleteSTD(container);
}

/// What a command makes: takes itself back when not all of it came about.
class NewContainer {
 public:
  NewContainer(Context& context, const std::string& name, const std::string& team)
      : context_(context), team_(findTeam(context, wide(team))), name_(wide(name)) {
    for (const StoreContainer& container : readContainers(context)) known_.insert(container.uuid);
  }

  const std::wstring& name() const { return name_; }
  const StoreTeam& team() const { return team_; }

  ExitCode wouldBeMade() const {
    StoreContainer planned;
    planned.name = name_;
    planned.teamName = team_.name;
    planned.role = team_.role;
    requireRole(planned, StoreRole::Admin);
    context_.output().result(L"would make the container " + name_ + L" in the team " + team_.name, fields(planned));
    return ExitCode::Done;
  }
  /// @param isWhole  false: the reason is the store's last text
  ExitCode finish(bool isWhole) const {
    const std::wstring reason = CloudStore::lastText();
    const std::vector<StoreContainer> containers = readContainers(context_);
    const auto made = std::find_if(containers.begin(), containers.end(), [&](const StoreContainer& container) {
      return container.teamUuid == team_.uuid && container.name == name_ && !known_.contains(container.uuid);
    });
    if (isWhole && made != containers.end()) {
      context_.output().result(L"made the container " + name_ + L" in the team " + team_.name + L": " +
                                   counted(static_cast<std::uint64_t>(made->files), L"file", L"files"),
                               fields(*made));
      return ExitCode::Done;
    }
    // One that somebody else has made in the same moment, or begun to change, stays.
    const bool isOwn = made != containers.end() && made->changerName == identity().user.name;
    const bool isLeft = isOwn && made->revision == 0 && !made->lock && !takeBack(made->uuid);
    throw CommandFailure{ExitCode::Failure,
                         L"the container " + name_ + L" was not made: " + reason +
                             (isLeft ? L"; an empty one is left: zephor std delete " + name_ : std::wstring())};
  }

 private:
  std::vector<Field> fields(const StoreContainer& made) const {
    return {{"container", name_}, {"team", team_.name}, {"uuid", made.uuid}, {"files", made.files}};
  }

  Context& context_;
  const StoreTeam team_;
  const std::wstring name_;
  std::set<std::wstring> known_;
};

bool makeFrom(const NewContainer& container, const std::wstring& directory, bool quiet) {
  const std::wstring uuid = WGO_CreateSTD(container.team().uuid, container.name());
  if (uuid == kLocalResources || directory.empty()) return uuid != kLocalResources;
  const std::wstring cache = WGO_BuildCloudStdLocalCachePath(uuid);
  if (const int error = ldircpRAW(directory, cache, 0); error != 0) {
    takeBack(uuid);
    throw CommandFailure{ExitCode::Failure, platform::formatWide(L"the container %s was not made: %s can't be copied "
                                                                 L"to %s (error %d)",
                                                                 container.name(), directory, cache, error)};
  }
  return WGO_ConnectResourcesContainerwithLocalPath(uuid, cache) && WGO_UploadResourcesContainer(uuid, kNoFlag, quiet);
}

std::wstring directoryArgument(const std::string& argument) {
  if (argument.empty()) return {};
  std::wstring directory = platform::libraryPath(absolutePath(argument));
  if (platform::fileStatus(directory).isDirectory) return directory;
  throw CommandFailure{ExitCode::Usage, wide(argument) + L" is no directory"};
}

/// All that is below a directory would come into the container, or be missed there in silence.
void requireFilesAlone(const std::filesystem::path& directory) {
  namespace fs = std::filesystem;
  std::error_code error;
  auto entry = fs::recursive_directory_iterator(directory, error);
  for (; !error && entry != fs::recursive_directory_iterator(); entry.increment(error)) {
    std::error_code unknown;
    const bool isPlain = entry->is_regular_file(unknown) || (entry->is_directory(unknown) && !entry->is_symlink());
    const std::wstring name = platform::fromUtf8(entry->path().lexically_relative(directory).string());
    const bool isNameGood = name.find(L'\\') == std::wstring::npos && platform::isSafeRelativeName(name);
    if (isPlain && isNameGood) continue;
    const wchar_t* const why = isPlain ? L" has a name that not every workstation can hold"
                                       : L" is no file: a container has plain files and directories alone";
    throw CommandFailure{ExitCode::Failure, platform::fromUtf8(entry->path().string()) + why};
  }
  if (error) {
    throw CommandFailure{ExitCode::Failure, platform::fromUtf8(directory.string()) + L" can't be read: " +
                                                platform::fromUtf8(error.message())};
  }
}

ExitCode createContainer(Context& context, const Arguments& arguments) {
  context.startOnline();
  const std::wstring directory = directoryArgument(arguments.from);
  if (!directory.empty()) requireFilesAlone(platform::systemPath(directory));
  const NewContainer container(context, arguments.name, arguments.team);
  if (context.options().dryRun) return container.wouldBeMade();
  return container.finish(arguments.fromLocal ? WGO_CopySTD(kLocalResources, container.team().uuid, container.name())
                                              : makeFrom(container, directory, context.options().quiet));
}

ExitCode copyContainer(Context& context, const Arguments& arguments) {
  context.startOnline();
  const std::wstring source = arguments.name == "local" ? kLocalResources : findContainer(context, arguments.name).uuid;
  const NewContainer container(context, arguments.newName, arguments.team);
  if (context.options().dryRun) return container.wouldBeMade();
  return container.finish(WGO_CopySTD(source, container.team().uuid, container.name()));
}

/// What everybody loses, and what only this workstation has.
std::wstring lossOf(const StoreContainer& container, const ContainerCacheState& state) {
  std::wstring text = platform::formatWide(L"%s/%s, %s", container.teamName, container.name,
                                           counted(static_cast<std::uint64_t>(container.files), L"file", L"files"));
  if (const std::size_t changes = state.changes.size() + state.obstacles.size(); changes > 0)
    text += L", and " + counted(changes, L"change", L"changes") + L" here that were never committed";
  if (!state.keptCopies.empty())
    text += L", and " + counted(state.keptCopies.size(), L"kept copy", L"kept copies") + L" here";
  return text;
}

/// Tells where the service has put a cache that has what the store never had.
void tellWhereItIs(const Context& context, const StoreContainer& container) {
  const std::filesystem::path cache = platform::toUtf8(shownCache(container));
  std::wstring place = L"in the trash";
  std::error_code error;
  for (const auto& entry : std::filesystem::directory_iterator(cache.parent_path(), error)) {
    const std::string name = entry.path().filename().string();
    if (name.starts_with(cache.filename().string() + ".")) place = platform::fromUtf8(entry.path().string());
  }
  context.output().message(L"the directory with what was only here is " + place);
}

ExitCode deleteContainer(Context& context, const Arguments& arguments) {
  context.startOnline();
  const StoreContainer container = findContainer(context, arguments.name);
  requireRole(container, StoreRole::Admin);
  if (container.lock && !isHeldHere(container)) return reportLocked(context, container);
  const ContainerCacheState state = readContainerCache(context, container);
  const std::wstring loss = lossOf(container, state);
  if (context.options().dryRun) {
    reportContainer(context, container, L"would be deleted", loss);
    return ExitCode::Done;
  }
  const std::wstring question = L"Delete the container " + loss + L", for everybody in the team?";
  if (!agrees(question)) {
    reportContainer(context, container, L"kept", L"nobody said yes, --yes does");
    return ExitCode::Failure;
  }
  const bool wasSubscribed = subscribedContainer() == container.uuid;
  if (!WGO_DeleteSTD(container.uuid)) throwRefused(container.name + L" was not deleted");
  reportContainer(context, container, L"deleted", loss);
  if (!state.changes.empty() || !state.obstacles.empty() || !state.keptCopies.empty())
    tellWhereItIs(context, container);
  if (!wasSubscribed) return ExitCode::Done;
  if (!subscribedContainer().empty() && !WGO_UnsubscribeCOR()) throwRefused(L"the subscription can't be ended");
  useLocalStandardResources();
  context.output().message(L"this workstation takes its standard resources from its own folder again");
  return ExitCode::Done;
}

using Command = ExitCode (*)(Context&, const Arguments&);

class Group {
 public:
  Group(CLI::App& app, Action& selected) : app_(app), selected_(selected) {}

  CLI::App* add(const char* name, const char* text, Command command) {
    CLI::App* const added = app_.add_subcommand(name, text);
    added->callback([&selected = selected_, arguments = arguments_, command] {
      selected = [arguments, command](Context& context) { return command(context, *arguments); };
    });
    return added;
  }
  /// With a container that can be left out.
  CLI::App* addForOne(const char* name, const char* text, Command command) {
    CLI::App* const added = add(name, text, command);
    added->add_option("NAME", arguments().name, "Name, TEAM/NAME or UUID (default: the one subscribed to)");
    return added;
  }
  Arguments& arguments() const { return *arguments_; }

 private:
  CLI::App& app_;
  Action& selected_;
  std::shared_ptr<Arguments> arguments_ = std::make_shared<Arguments>();
};

void addSharing(Group& group) {
  Arguments& arguments = group.arguments();
  const auto addTeam = [&](CLI::App* command) {
    command->add_option("--team", arguments.team, "Name or UUID of the team that gets it")->required();
  };
  group.add("list", "List the containers of this user's teams",
            [](Context& context, const Arguments&) { return listContainers(context); });
  auto* create = group.add("create", "Make a container, empty unless told otherwise", createContainer);
  create->add_option("NAME", arguments.name)->required();
  addTeam(create);
  auto* from = create->add_option("--from", arguments.from, "Directory whose files it gets");
  create->add_flag("--from-local", arguments.fromLocal, "With the files of this workstation's own folder")
      ->excludes(from);
  auto* copy = group.add("copy", "Make a container with the files of another one", copyContainer);
  copy->add_option("SOURCE", arguments.name, "Name, TEAM/NAME or UUID; \"local\": this workstation's own folder")
      ->required();
  copy->add_option("NEWNAME", arguments.newName)->required();
  addTeam(copy);
  auto* remove = group.add("delete", "Delete a container, for everybody; asks before (see --yes)", deleteContainer);
  remove->add_option("NAME", arguments.name, "Name, TEAM/NAME or UUID")->required();
}

}  // namespace

void addStdCommands(CLI::App& app, Action& selected) {
  auto* commands = app.add_subcommand("std", "Standard resources that a team shares")->require_subcommand(1);
  Group group(*commands, selected);
  addSharing(group);
  group.addForOne("subscribe", "Take this workstation's standard resources from a container, up to date",
                  [](Context& context, const Arguments& given) { return subscribeToContainer(context, given.name); });
  group
      .add("unsubscribe", "Take them from the workstation's own folder again",
           [](Context& context, const Arguments& given) { return unsubscribeContainer(context, given.force); })
      ->add_flag("--force", group.arguments().force, "Also with changes here that were not committed; they stay");
  group.addForOne("edit", "Bring a container here and lock it for changes",
                  [](Context& context, const Arguments& given) { return editContainer(context, given.name); });
  group.addForOne("commit", "Give the changes made here to everybody, and the lock back",
                  [](Context& context, const Arguments& given) { return commitContainer(context, given.name); });
  group.addForOne("rollback", "Undo the changes made here, which are kept, and give the lock back",
                  [](Context& context, const Arguments& given) { return rollBackContainer(context, given.name); });
  group.addForOne("status", "Tell what was changed here, what is newer in the store, and who has the lock",
                  [](Context& context, const Arguments& given) { return tellContainer(context, given.name); });
  group
      .addForOne(
          "unlock", "Give the lock back without a commit; changes made here stay",
          [](Context& context, const Arguments& given) { return unlockContainer(context, given.name, given.force); })
      ->add_flag("--force", group.arguments().force, "Take somebody's lock away; owners and admins may");
}

}  // namespace workstation::program
