// get, put: files of the project that are no objects, by name, many at once.
#include <oneapi/tbb/global_control.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <memory>
#include <optional>
#include <set>

#include "host/Project.h"
#include "platform/Files.h"
#include "platform/Paths.h"
#include "platform/Text.h"
#include "workstation/program/ChangesSnapshot.h"
#include "workstation/program/Commands.h"
#include "workstation/program/Context.h"
#include "workstation/program/Objects.h"
#include "workstation/program/ProjectComparison.h"
#include "workstation/program/ProjectFileNames.h"
#include "workstation/program/PushItems.h"
#include "workstation/program/PushRun.h"
#include "workstation/program/PushUpload.h"
#include "workstation/program/Saving.h"
#include "workstation/program/SendBarrier.h"
#include "workstation/program/StoredContent.h"
#include "workstation/program/SyncBase.h"
#include "workstation/store/CloudStore.h"
#include "workstation/store/DirectoryScan.h"
#include "workstation/store/StoreContext.h"
#include "workstation/store/TransferConditions.h"
#include "zephor/FileLists.h"
#include "zephor/FileServices.h"
#include "zephor/NotUploadedFiles.h"

namespace workstation::program {

namespace {

constexpr unsigned kMostJobs = 64;

struct Arguments {
  std::vector<std::string> names;
  bool recursive = false;
  bool force = false;
  unsigned jobs = 0;  ///< 0: as many as suit
};

/// Bounds what transfers at once while it lives.
class ScopedJobs {
 public:
  explicit ScopedJobs(unsigned jobs) {
    if (jobs == 0) return;
    limit_.emplace(oneapi::tbb::global_control::max_allowed_parallelism, jobs);
    setTransferThreads(jobs);
  }
  ~ScopedJobs() { setTransferThreads(0); }
  ScopedJobs(const ScopedJobs&) = delete;
  ScopedJobs& operator=(const ScopedJobs&) = delete;

 private:
  std::optional<oneapi::tbb::global_control> limit_;
};

std::wstring projectUuid() {
  return get_ActivePrj().GetOndrathProjectUuid();
}

std::vector<std::wstring> namesInStore(Context& context) {
  std::vector<StoredFile> files;
  if (context.store().files(context.actor(), projectUuid(), kAllClasses, files) != 0) {
    throw CommandFailure{ExitCode::Failure, L"the store can't list the project's files: " + CloudStore::lastText()};
  }
  std::vector<std::wstring> names;
  names.reserve(files.size());
  for (StoredFile& file : files) names.push_back(std::move(file.name));
  return names;
}

std::vector<std::wstring> namesHere() {
  const std::wstring directory = get_ActivePrj().GetFullProjectPath(true);
  const DirectoryScan scan = scanDirectory(platform::systemPath(directory), isPrivateKey);
  if (!scan.failure.empty()) throw CommandFailure{ExitCode::Failure, scan.failure};
  std::vector<std::wstring> names;
  names.reserve(scan.files.size());
  for (const ScannedFile& file : scan.files) names.push_back(platform::fromUtf8(file.name));
  std::sort(names.begin(), names.end());
  return names;
}

/// Reads the arguments before anything starts. Throws CommandFailure (usage).
std::vector<ProjectFileArgument> parse(const Arguments& arguments) {
  std::vector<ProjectFileArgument> parsed;
  for (const std::string& text : arguments.names) {
    ProjectFileArgument argument(wide(text), arguments.recursive);
    if (!argument.isValid()) {
      throw CommandFailure{ExitCode::Usage, wide(text) + L": expected a file below the project's directory"};
    }
    if (argument.isName() && !parseObjectName(argument.name())) itemArguments({platform::toUtf8(argument.name())});
    parsed.push_back(std::move(argument));
  }
  return parsed;
}

/// One run of either command.
class ProjectFileRun {
 public:
  ProjectFileRun(Context& context, const Arguments& arguments)
      : context_(context), arguments_(arguments), jobs_(arguments.jobs) {}

 protected:
  /// What the arguments name of the files that there are, each once. Objects have their own commands.
  std::vector<ItemName> choose(const std::vector<ProjectFileArgument>& arguments,
                               const std::vector<std::wstring>& listed, const std::wstring& place,
                               const std::wstring& commandOfObjects) {
    std::vector<ItemName> chosen;
    std::set<std::wstring> known;
    const auto add = [&](const std::wstring& name) {
      if (known.insert(itemKey(name)).second) chosen.push_back({std::nullopt, name});
    };
    for (const ProjectFileArgument& argument : arguments) {
      if (argument.isName() && parseObjectName(argument.name())) {
        refuse(argument.name(),
               L"it is an object; zephor " + commandOfObjects + L" moves it with its lock and version");
        continue;
      }
      bool isFound = false;
      for (const std::wstring& name : listed) {
        if (!argument.matches(name) || isPrivateFile(name) || itemOfFile(name).object) continue;
        add(name);
        isFound = true;
      }
      if (isFound) continue;
      if (argument.isName() && !arguments_.recursive) {
        add(argument.name());
      } else {
        refuse(argument.name(), L"there is no such file " + place);
      }
    }
    return chosen;
  }

  void tell(const ItemView& view, const wchar_t* outcome, const std::wstring& detail = {}) {
    report(context_, view.fileName, outcome, detail);
  }
  void done(const ItemView& view, const wchar_t* outcome, const std::wstring& detail = {}) {
    tell(view, outcome, detail);
    tally_.done();
  }
  void keep(const ItemView& view, const std::wstring& reason) {
    tell(view, L"kept", reason);
    tally_.failed();
  }
  void refuse(const std::wstring& name, const std::wstring& reason) {
    report(context_, name, L"refused", reason);
    tally_.failed();
  }

  Context& context_;            // NOLINT(*-non-private-member-variables-in-classes)
  const Arguments& arguments_;  // NOLINT(*-non-private-member-variables-in-classes)
  Tally tally_;                 // NOLINT(*-non-private-member-variables-in-classes)
  /// To be noted together.
  std::vector<std::pair<std::wstring, SyncPoint>> inStep_;  // NOLINT(*-non-private-member-variables-in-classes)

 private:
  ScopedJobs jobs_;
};

/// Why a file here stays when the store's was asked for; empty when it may be replaced.
std::wstring reasonToKeep(const ItemView& view) {
  switch (view.state) {
    case ObjectState::ChangedHere:
      return L"changed here since it was last in step; zephor put sends it, zephor get --force takes the store's";
    case ObjectState::ChangedOnBoth:
      return L"changed here and in the store; zephor get --force takes the store's version, zephor put --force sends "
             L"yours, and the other one is copied to a backup directory";
    case ObjectState::OlderInStore:
      return L"the store has an older version than was seen here; was it restored from a backup? zephor get --force "
             L"takes it";
    default:
      return {};
  }
}

class Get : public ProjectFileRun {
 public:
  using ProjectFileRun::ProjectFileRun;

  ExitCode run(const std::vector<ProjectFileArgument>& arguments) {
    const std::size_t rescued = context_.options().dryRun ? 0 : rescueLeftovers(context_);
    SyncBase bases(projectUuid());
    std::vector<ItemView> wanted;
    for (ItemView& view : readItems(choose(arguments, namesInStore(context_), L"in the store", L"fetch"))) {
      if (isWanted(view, bases)) wanted.push_back(std::move(view));
    }
    if (!wanted.empty()) bring(wanted, bases);
    return rescued == 0 || tally_.exitCode() != ExitCode::Done ? tally_.exitCode() : ExitCode::PartlyDone;
  }

 private:
  bool isWanted(const ItemView& view, SyncBase& bases) {
    if (!view.store) {
      refuse(view.fileName, L"the store has no such file");
      return false;
    }
    if (view.state == ObjectState::InStep) {
      bases.put(view.fileName, {*view.here, *view.store});
      done(view, L"up to date");
      return false;
    }
    const std::wstring reason = reasonToKeep(view);
    if (!reason.empty() && !arguments_.force) {
      keep(view, reason);
      return false;
    }
    if (context_.options().dryRun) {
      done(view, L"would be fetched", stateName(view.state));
      return false;
    }
    if (!reason.empty() && !backUpHere(view)) {
      keep(view, L"what is here could not be copied to a backup directory");
      return false;
    }
    return true;
  }

  void bring(const std::vector<ItemView>& wanted, SyncBase& bases) {
    std::vector<TransferCondition> conditions;
    std::set<std::wstring> paths;
    std::vector<ItemName> names;
    for (const ItemView& view : wanted) {
      conditions.push_back({view.fileName, view.file, view.revision});
      paths.insert(itemPath(view.fileName));
      names.push_back({std::nullopt, view.fileName});
    }
    const ScopedTransferConditions judged(projectUuid(), conditions);
    const PRJ project = get_ActivePrj();
    // Its answer is about all of them; which came is seen on the disk.
    Quorvel::FileAccess::WGO_DownloadProjectFiles(project, paths, false);
    for (const ItemView& view : wanted) {
      // What is in step by its dates alone was changed here since, and is to be replaced.
      if (!reasonToKeep(view).empty() && readLocal({std::nullopt, view.fileName}).file.looksLike(view.file)) {
        Quorvel::FileAccess::WGO_downloadFile(project, itemPath(view.fileName).c_str(), false);
      }
    }
    const std::vector<ItemView> after = readItems(names);
    for (std::size_t i = 0; i < wanted.size(); ++i) settle(wanted[i], after[i]);
    bases.put(inStep_);
  }

  void settle(const ItemView& before, const ItemView& now) {
    const bool hasCome = now.here && now.same && !now.file.looksLike(before.file);
    if (!hasCome && !(now.here && now.same && isContentStored(now.fileName))) {
      tell(now, L"not fetched",
           now.file.isKnown() && !now.file.looksLike(before.file)
               ? L"it is being changed; try again"
               : L"it is open, changed in the store meanwhile, or what was wrong is told below");
      return tally_.failed();
    }
    inStep_.emplace_back(now.fileName, SyncPoint{*now.here, *now.store});
    const bool isBackedUp = !reasonToKeep(before).empty();
    done(now, L"fetched", isBackedUp ? L"what was here is in the directory Backup beside it" : L"");
  }
};

bool isBehind(const ItemView& view) {
  return view.state == ObjectState::NewerInStore || view.state == ObjectState::OlderInStore ||
         view.state == ObjectState::ChangedOnBoth;
}

class Put : public ProjectFileRun {
 public:
  Put(Context& context, const Arguments& arguments)
      : ProjectFileRun(context, arguments), look_(lookAtProject()), files_(look_), bases_(look_.projectUuid) {}

  ExitCode run(const std::vector<ProjectFileArgument>& arguments) {
    const SendBarrier barrier = sendBarrier(context_);
    for (ItemView& view : readItems(choose(arguments, namesHere(), L"here", L"save"))) {
      judge(std::move(view), barrier);
    }
    if (!items_.empty()) send();
    return tally_.exitCode();
  }

 private:
  void judge(ItemView view, const SendBarrier& barrier) {
    const bool replaces = isBehind(view) && arguments_.force;
    ItemView judged = view;
    if (replaces) judged.state = ObjectState::ChangedHere;
    PushItem item;
    item.file = files_.of(view.fileName);
    item.decision = decidePush(judged, {true, false}, item.file, barrier);
    if (item.decision.step == PushStep::Nothing) {
      bases_.put(view.fileName, {*view.here, *view.store});
      return done(view, L"up to date");
    }
    if (item.decision.step == PushStep::RefuseLocked) {
      report(context_, view.fileName, L"refused", item.decision.reason);
      return tally_.locked();
    }
    if (item.decision.step != PushStep::Send && isBehind(view) && view.here) {
      return keep(view,
                  L"the store has a version that was not fetched; zephor get --force takes it, zephor put --force "
                  L"sends yours, and the other one is copied to a backup directory");
    }
    if (item.decision.step != PushStep::Send) return refuse(view.fileName, item.decision.reason);
    if (context_.options().dryRun) return done(view, L"would be sent", stateName(view.state));
    if (replaces && !backUpStored(view.fileName)) {
      return keep(view, L"what the store has could not be copied to the backup directory first");
    }
    item.before = std::move(view);
    if (const std::wstring problem = prepareToSend(item); !problem.empty()) return keep(item.before, problem);
    items_.push_back(std::move(item));
  }

  void send() {
    std::vector<TransferCondition> conditions;
    std::set<std::wstring> paths;
    std::vector<ItemName> names;
    for (PushItem& item : items_) {
      item.wasWaiting = existsEntryInNotUploadedFilesList(item.before.fileName.c_str());
      conditions.push_back({item.before.fileName, item.source, item.before.revision});
      paths.insert(item.file.path);
      names.push_back(item.name());
    }
    const ScopedTransferConditions judged(look_.projectUuid, conditions);
    // Its answer tells too little: a retry that went well still answers the first try's failure.
    Quorvel::FileAccess::WGO_UploadProjectFiles(get_ActivePrj(), paths, false);
    const std::vector<ItemView> after = readItems(names);
    for (std::size_t i = 0; i < items_.size(); ++i) settle(items_[i], after[i]);
    bases_.put(inStep_);
    if (look_.isFirst) return;
    acceptSettled(lookAtProject(), [this](const std::wstring& name) { return settled_.contains(itemKey(name)); });
  }

  void settle(const PushItem& item, const ItemView& now) {
    const std::wstring& name = now.fileName;
    const auto known = transferCondition(look_.projectUuid, name);
    const bool isOvertaken = known && known->revision != now.revision;
    if (!isOvertaken && item.isDoneBy(now)) {
      removeEntryFromNotUploadedFilesList(name.c_str());
      inStep_.emplace_back(name, SyncPoint{*now.here, *now.store});
      settled_.insert(itemKey(name));
      return done(now, L"sent",
                  isBehind(item.before) ? L"what the store had is in the project's directory Backup" : L"");
    }
    const bool isChanged = !item.source.looksLike(now.file);
    // Sending it again would be refused again.
    if ((isOvertaken || isChanged) && !item.wasWaiting) removeEntryFromNotUploadedFilesList(name.c_str());
    std::wstring reason = L"what was wrong is told below";
    if (isOvertaken) {
      reason = lastSaveOf(name) + L"; get it, or put it with --force";
    } else if (isChanged) {
      reason = L"it is being changed; try again";
    } else if (existsEntryInNotUploadedFilesList(name.c_str())) {
      reason = L"it is in the list of what could not be sent; zephor not-uploaded retry";
    }
    tell(now, L"not sent", reason);
    tally_.failed();
  }

  ProjectLook look_;
  PushFiles files_;
  SyncBase bases_;
  std::vector<PushItem> items_;
  std::set<std::wstring> settled_;
};

template <typename Run>
ExitCode runInProject(Context& context, const Arguments& arguments) {
  const std::vector<ProjectFileArgument> parsed = parse(arguments);
  context.startInProject();
  const ProjectGuard guard = context.guardProject();
  const NotUploadedList waiting;
  return Run(context, arguments).run(parsed);
}

template <typename Run>
void addCommand(CLI::App& app, Action& selected, const char* name, const char* description, const char* force) {
  auto arguments = std::make_shared<Arguments>();
  auto* command = app.add_subcommand(name, description);
  command
      ->add_option(
          "PROJECT-FILE", arguments->names,
          "Files by their names below the project's directory; * and ? stand for characters of a name, a slash "
          "at the end for a directory with all below it")
      ->required();
  command->add_flag("-r,--recursive", arguments->recursive, "Directories with everything in them");
  command->add_flag("--force", arguments->force, force);
  command->add_option("--jobs", arguments->jobs, "Transfers at once, 1 to 64 (default: as many as suit)")
      ->check(CLI::Range(1U, kMostJobs));
  command->callback([&selected, arguments] {
    selected = [arguments](Context& context) { return runInProject<Run>(context, *arguments); };
  });
}

}  // namespace

void addProjectFileCommands(CLI::App& app, Action& selected) {
  addCommand<Get>(app, selected, "get",
                  "Bring files of the project, other than objects, from its store (server get: from a file server)",
                  "Replace what was changed here too, after a copy to a backup directory");
  addCommand<Put>(app, selected, "put",
                  "Send files of the project, other than objects, to its store (server put: to a file server)",
                  "Replace a version that was not fetched, after a copy to a backup directory");
}

}  // namespace workstation::program
