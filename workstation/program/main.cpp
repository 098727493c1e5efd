#include <fcntl.h>
#include <malloc.h>
#include <oneapi/tbb/global_control.h>
#include <sqlite3.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <csignal>
#include <exception>
#include <new>

#include "platform/Text.h"
#include "workstation/program/Commands.h"
#include "workstation/program/Context.h"

namespace {

using workstation::program::Action;
using workstation::program::CommandFailure;
using workstation::program::Context;
using workstation::program::ExitCode;
using workstation::program::GlobalOptions;

void addGlobalOptions(CLI::App& app, GlobalOptions& options) {
  app.add_option("-w,--workstation", options.workstation,
                 "Directory of the workstation (default: the user's directories)")
      ->envname("ZEPHOR_WORKSTATION");
  app.add_option("--store", options.store, "Directory of the store, for this run")->envname("ZEPHOR_STORE");
  app.add_option("-p,--project", options.project, "Project to work in, for this run")->envname("ZEPHOR_PROJECT");
  app.add_option("--language", options.language, "Language of questions and boxes: en, de")
      ->envname("ZEPHOR_LANGUAGE")
      ->check(CLI::IsMember({"en", "de"}));
  app.add_option("--interface", options.interface, "Where questions are asked: auto, terminal, desktop")
      ->envname("ZEPHOR_INTERFACE")
      ->check(CLI::IsMember({"auto", "terminal", "desktop"}));
  app.add_flag("--json", options.json, "Results as one JSON object a line");
  app.add_flag("-q,--quiet", options.quiet, "No messages, no progress");
  app.add_flag("-v,--verbose", options.verbosity, "Say more; twice: trace");
  app.add_flag("-n,--dry-run", options.dryRun, "Say what would be done and change nothing");
  auto* yes = app.add_flag("-y,--yes", options.yes, "Answer every question with yes");
  app.add_flag("--no", options.no, "Answer every question with no")->excludes(yes);
}

int run(int argc, char** argv) {
  CLI::App app{"Shared CAD project work: save, fetch, lock and compare the objects of a project that a team shares.",
               "zephor"};
  app.set_version_flag("--version", "zephor " ZEPHOR_VERSION);
  app.require_subcommand(1);
  app.fallthrough();
  app.footer(
      "Exit codes: 0 done, 1 failure, 2 usage, 3 partly done, 4 locked by someone else, 5 not logged in.\n"
      "The manual page zephor(1) tells more.");
  GlobalOptions options;
  addGlobalOptions(app, options);

  Action selected;
  workstation::program::addSetupCommands(app, selected);
  workstation::program::addTeamCommands(app, selected);
  workstation::program::addTeamFilterCommand(app, selected);
  workstation::program::addProjectCommands(app, selected);
  workstation::program::addProjectLockCommands(app, selected);
  workstation::program::addProjectDeletion(app, selected);
  workstation::program::addOpenCommand(app, selected);
  workstation::program::addUsersCommand(app, selected);
  workstation::program::addObjectCommands(app, selected);
  workstation::program::addLockCommands(app, selected);
  workstation::program::addTransferCommands(app, selected);
  workstation::program::addProjectFileCommands(app, selected);
  workstation::program::addChangesCommand(app, selected);
  workstation::program::addPushCommand(app, selected);
  workstation::program::addSyncCommand(app, selected);
  workstation::program::addWatchCommand(app, selected);
  workstation::program::addBackgroundCommands(app, selected);
  workstation::program::addServerCommands(app, selected);
  workstation::program::addCompressionCommands(app, selected);
  workstation::program::addInfoCommand(app, selected);
  workstation::program::addCacheCommands(app, selected);
  workstation::program::addStatusCommand(app, selected);
  workstation::program::addDeletedCommand(app, selected);
  workstation::program::addNotUploadedCommands(app, selected);
  workstation::program::addFilterCommands(app, selected);
  workstation::program::addStdCommands(app, selected);
  workstation::program::addDatabaseCommands(app, selected);
  workstation::program::addPortalCommand(app, selected);
  workstation::program::addLoginCommand(app, selected);
  workstation::program::addDoctorCommand(app, selected);
  workstation::program::addDesktopCommand(app, selected);
  workstation::program::addArchiveCommands(app, selected);
  workstation::program::addCompletionCommand(app, selected);

  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    // The parser would say only that a command is missing.
    const std::vector<std::string> unknown = app.remaining();
    if (app.get_subcommands().empty() && !unknown.empty()) {
      std::fprintf(stderr, "zephor: there is no command %s\nRun with --help for more information.\n",
                   unknown.front().c_str());
      return static_cast<int>(ExitCode::Usage);
    }
    const int code = app.exit(error);
    return code == 0 ? 0 : static_cast<int>(ExitCode::Usage);
  }

  Context context(options);
  try {
    // Its window stands for the whole process.
    if (!app.got_subcommand("desktop")) context.chooseInterface();
    const ExitCode code = selected(context);
    if (code != ExitCode::Done) context.explain();
    if (code == ExitCode::Done && workstation::program::Output::isBroken()) {
      context.output().error(L"zephor: the results could not be written");
      return static_cast<int>(ExitCode::Failure);
    }
    return static_cast<int>(code);
  } catch (const CommandFailure& failure) {
    if (!failure.message.empty()) context.tellFailure(failure.message);
    if (failure.code != ExitCode::Usage) context.explain();
    return static_cast<int>(failure.code);
  }
}

}  // namespace

int main(int argc, char** argv) {
  // A standard stream that is closed must not become the number of the next file that is opened.
  for (int fd = ::open("/dev/null", O_RDWR); fd >= 0 && fd <= STDERR_FILENO;) fd = ::open("/dev/null", O_RDWR);
  // A reader that goes away (`zephor status | head`) ends the output, not the work.
  std::signal(SIGPIPE, SIG_IGN);
  // A file that grows beyond the limit is an error of the write, which leaves no half-finished work behind.
  std::signal(SIGXFSZ, SIG_IGN);
  // Nobody asks how much memory the databases use; counting it would make their threads wait for each other.
  sqlite3_config(SQLITE_CONFIG_MEMSTATUS, 0);
  // Threads that read a project's listing grow by megabytes, not page by page.
  mallopt(M_TOP_PAD, 4 << 20);
  // The worker threads end before the process does, and with them what each holds of its own.
  oneapi::tbb::task_scheduler_handle workers{oneapi::tbb::attach{}};
  int code = static_cast<int>(ExitCode::Failure);
  try {
    code = run(argc, argv);
  } catch (const std::exception& error) {
    std::fprintf(stderr, "zephor: %s\n", error.what());
  }
  oneapi::tbb::finalize(workers, std::nothrow);
  return code;
}
