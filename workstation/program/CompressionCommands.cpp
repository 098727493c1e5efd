// compress, expand: Teilbilder of the open project, or files anywhere, several at once.
#include <oneapi/tbb/global_control.h>
#include <oneapi/tbb/parallel_pipeline.h>
#include <CLI/CLI.hpp>
#include <algorithm>
#include <atomic>
#include <csignal>
#include <cstdlib>
#include <memory>
#include <set>
#include <thread>

#include "host/Files.h"
#include "platform/Text.h"
#include "workstation/Session.h"
#include "workstation/program/Commands.h"
#include "workstation/program/Context.h"
#include "workstation/program/Drawings.h"
#include "workstation/program/Objects.h"
#include "workstation/program/Repacking.h"

namespace workstation::program {

namespace {

constexpr int kMostThreads = 64;
constexpr int kTeilbildLoadObject = 1;

struct Arguments {
  std::vector<std::string> drawings;
  bool all = false;
  int threads = 0;
};

/// What a command is called and says.
struct Wording {
  Packing packing;
  const wchar_t* done;
  const wchar_t* wouldBe;
  const wchar_t* already;
};
constexpr Wording kCompress{Packing::Compressed, L"compressed", L"would be compressed", L"compressed already"};
constexpr Wording kExpand{Packing::Expanded, L"expanded", L"would be expanded", L"not compressed"};

/// Whole percents of `large` by which `small` is smaller.
std::int64_t percentSaved(std::uint64_t large, std::uint64_t small) {
  if (large == 0) return 0;
  return 100 - static_cast<std::int64_t>((small * 100 + large / 2) / large);
}

void reportRepacked(const Context& context, const Wording& wording, const Drawing& drawing, const Repacked& result,
                    Tally& tally) {
  if (!result.problem.empty()) {
    reportFailure(context, drawing.label, result.problem);
    return tally.failed();
  }
  tally.done();
  const wchar_t* outcome = wording.already;
  std::wstring detail = platform::formatWide(L"%llu bytes", static_cast<unsigned long long>(result.before));
  std::vector<Field> fields{{"item", drawing.label}, {"outcome", std::wstring()}, {"before", std::int64_t{0}}};
  fields[2].second = static_cast<std::int64_t>(result.before);
  if (result.changed) outcome = context.options().dryRun ? wording.wouldBe : wording.done;
  if (result.changed && !context.options().dryRun) {
    const bool isSmaller = wording.packing == Packing::Compressed;
    const std::int64_t saved =
        isSmaller ? percentSaved(result.before, result.after) : percentSaved(result.after, result.before);
    detail = platform::formatWide(L"%llu to %llu bytes", static_cast<unsigned long long>(result.before),
                                  static_cast<unsigned long long>(result.after));
    if (isSmaller)
      detail += platform::formatWide(saved < 0 ? L", %lld %% larger" : L", %lld %% saved",
                                     static_cast<long long>(std::abs(saved)));
    fields.emplace_back("after", static_cast<std::int64_t>(result.after));
    fields.emplace_back("saved", saved);
  }
  fields[1].second = std::wstring(outcome);
  context.output().result(drawing.label + L": " + outcome + L" (" + detail + L")", fields);
}

struct Item {
  std::size_t index = 0;
  Repacked result;
};

Repacked repackSafely(const Drawing& drawing, Packing packing, bool dryRun) {
  Repacked failed;
  failed.problem = missingObject(drawing);
  if (!failed.problem.empty()) return failed;
  try {
    return repack(drawing.path, packing, dryRun);
  } catch (const std::exception& error) {
    failed.problem = platform::fromUtf8(error.what());
    return failed;
  }
}

std::atomic<bool> interrupted{false};

/// The first Ctrl-C or request to end ends the work behind the files that are being worked on, a second one the
/// program.
void onInterrupt(int signal) {
  interrupted = true;
  std::signal(signal, SIG_DFL);
}

/// Repacks on several threads and reports in the order of the list.
void repackAll(const Context& context, const Wording& wording, const std::vector<Drawing>& drawings, int threads,
               Tally& tally) {
  namespace tbb = oneapi::tbb;
  const auto wanted = static_cast<std::size_t>(threads);
  const tbb::global_control limit(tbb::global_control::max_allowed_parallelism, wanted);
  std::size_t next = 0;
  const auto take = [&](tbb::flow_control& flow) {
    const bool ends = interrupted || next == drawings.size();
    if (ends) flow.stop();
    return ends ? next : next++;
  };
  const auto work = [&](std::size_t index) {
    return Item{index, repackSafely(drawings[index], wording.packing, context.options().dryRun)};
  };
  const auto tell = [&](const Item& item) {
    const Drawing& drawing = drawings[item.index];
    if (drawing.object && item.result.changed && !context.options().dryRun) noteInDatabase(*drawing.object);
    reportRepacked(context, wording, drawing, item.result, tally);
  };
  tbb::parallel_pipeline(wanted, tbb::make_filter<void, std::size_t>(tbb::filter_mode::serial_in_order, take) &
                                     tbb::make_filter<std::size_t, Item>(tbb::filter_mode::parallel, work) &
                                     tbb::make_filter<Item, void>(tbb::filter_mode::serial_in_order, tell));
  for (; next < drawings.size(); ++next) {
    reportFailure(context, drawings[next].label, L"interrupted; left as it is");
    tally.failed();
  }
}

std::vector<ObjectName> allTeilbilder() {
  std::set<int> numbers;
  if (ListFilesInFolder(1, kTeilbildLoadObject, numbers, false) != 0)
    throw CommandFailure{ExitCode::Failure, L"the project's directory can't be listed"};
  std::vector<ObjectName> objects;
  objects.reserve(numbers.size());
  for (const int number : numbers) objects.push_back({eFileType_Teilbild, number});
  return objects;
}

/// What a run works with.
struct Run {
  Context& context;
  const Wording& wording;
  int threads;
  Tally tally;
};

void repackFiles(Run& run, const std::vector<std::string>& files) {
  std::vector<Drawing> drawings;
  for (const std::string& file : files) {
    try {
      drawings.push_back(drawingOf(file));
    } catch (const CommandFailure& failure) {
      reportFailure(run.context, wide(file), failure.message);
      run.tally.failed();
    }
  }
  if (!drawings.empty()) repackAll(run.context, run.wording, drawings, run.threads, run.tally);
}

void repackObjects(Run& run, const std::vector<ObjectName>& objects) {
  const ProjectGuard guard = run.context.guardProject();
  std::vector<Drawing> drawings;
  drawings.reserve(objects.size());
  for (const ObjectName& object : objects) drawings.push_back(drawingOf(object));
  repackAll(run.context, run.wording, drawings, run.threads, run.tally);
}

/// Moves the files that are the open project's to its objects, each once.
void sortIntoObjects(std::vector<std::string>& files, std::vector<ObjectName>& objects) {
  std::erase_if(files, [&objects](const std::string& file) {
    const auto object = objectOfFile(file);
    if (object && std::find(objects.begin(), objects.end(), *object) == objects.end()) objects.push_back(*object);
    return object.has_value();
  });
}

ExitCode repackDrawings(Context& context, const Wording& wording, const Arguments& arguments) {
  if (arguments.all != arguments.drawings.empty())
    throw CommandFailure{ExitCode::Usage, L"expected drawings, or --all for all Teilbilder of the project"};
  DrawingArguments named = drawingArguments(arguments.drawings);
  const int threads = arguments.threads > 0
                          ? arguments.threads
                          : std::clamp(static_cast<int>(std::thread::hardware_concurrency()), 1, kMostThreads);
  for (const int signal : {SIGINT, SIGTERM}) std::signal(signal, onInterrupt);
  Run run{context, wording, threads, {}};
  // Files come before a project is open: the library would enter them in its database under their numbers.
  std::vector<std::string> projectFiles = takeProjectFiles(named.files);
  repackFiles(run, named.files);
  bool isInProject = arguments.all || !named.objects.empty();
  if (isInProject) {
    context.startInProject();
  } else if (!projectFiles.empty()) {
    isInProject = context.startInProjectIfAny();
  }
  if (isInProject) {
    sortIntoObjects(projectFiles, named.objects);
    if (arguments.all) named.objects = allTeilbilder();
    if (!named.objects.empty()) repackObjects(run, named.objects);
    if (arguments.all && named.objects.empty()) context.output().message(L"the project has no Teilbilder here");
    closeProject();
  }
  repackFiles(run, projectFiles);
  return run.tally.exitCode();
}

void addCommand(CLI::App& app, Action& selected, const char* name, const char* description, const Wording& wording) {
  auto arguments = std::make_shared<Arguments>();
  auto* command = app.add_subcommand(name, description);
  command->add_option("DRAWING", arguments->drawings, "Objects of the project (tb12), or paths of Teilbild files");
  command->add_flag("--all", arguments->all, "All Teilbilder of the project that are here");
  command->add_option("--threads", arguments->threads, "Files worked on at once (default: one for each core)")
      ->check(CLI::Range(1, kMostThreads));
  command->callback([&selected, &wording, arguments] {
    selected = [&wording, arguments](Context& context) { return repackDrawings(context, wording, *arguments); };
  });
}

}  // namespace

void addCompressionCommands(CLI::App& app, Action& selected) {
  addCommand(app, selected, "compress", "Compress Teilbilder in place; they keep name, version and content", kCompress);
  addCommand(app, selected, "expand", "Make compressed Teilbilder uncompressed again", kExpand);
}

}  // namespace workstation::program
