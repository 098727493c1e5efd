// watch: keeps the open project in step until it is told to stop.
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <atomic>
#include <csignal>
#include <cstdlib>
#include <memory>
#include <string_view>

#include "workstation/program/Commands.h"
#include "workstation/program/Context.h"
#include "workstation/program/WatchRun.h"

namespace workstation::program {

namespace {

constexpr const char* kExplanation =
    "Resources, line styles and all below \"design\" go to the store as soon as they are saved, and are deleted there\n"
    "when they are removed here; all other changes wait for the next zephor sync. What others save comes, what they\n"
    "delete goes to the trash here. What changed on both sides stays, and is told.\n"
    "The first Ctrl-C ends when what runs is done, the second at once; then the next watch or sync takes it up.\n"
    "Exit codes: 0 everything is in step, 3 something is not, 1 failure, 130 ended at once.";

constexpr int kEndedAtOnce = 130;

std::atomic<int>& stops() {
  static std::atomic<int> count{0};
  return count;
}

void say(std::string_view text) {
  // Nobody could be told of a failure.
  if (::write(STDERR_FILENO, text.data(), text.size()) < 0) return;
}

/// What a signal handler may do: the loop looks at the count.
void onStop(int signal) {
  // The terminal is closed, and nobody is there to ask twice.
  if (signal == SIGHUP && stops() > 0) return;
  if (stops().fetch_add(1) == 0) return say("zephor: ends when what runs is done; once more ends at once\n");
  say("zephor: ended; the next watch or sync takes up what was not sent\n");
  ::_exit(kEndedAtOnce);
}

void listenForStop() {
  static_assert(std::atomic<int>::is_always_lock_free);
  stops();
  struct sigaction action = {};
  action.sa_handler = onStop;
  action.sa_flags = SA_RESTART;
  sigaction(SIGINT, &action, nullptr);
  sigaction(SIGTERM, &action, nullptr);
  struct sigaction before = {};
  sigaction(SIGHUP, nullptr, &before);
  if (before.sa_handler != SIG_IGN) sigaction(SIGHUP, &action, nullptr);
}

ExitCode watch(Context& context, bool sendOnly) {
  context.startInProject();
  const std::unique_ptr<ProjectGuard> only = context.tryWatchProject();
  if (!only && !context.options().dryRun) {
    throw CommandFailure{ExitCode::Failure, L"another zephor watches this project on this workstation"};
  }
  WatchRun run(context, !sendOnly);
  if (context.options().dryRun) return run.plan();
  listenForStop();
  return run.run(stops());
}

}  // namespace

void addWatchCommand(CLI::App& app, Action& selected) {
  auto* command = app.add_subcommand("watch", "Keep the open project in step while people work, until Ctrl-C");
  command->footer(kExplanation);
  auto sendOnly = std::make_shared<bool>(false);
  command->add_flag("--send-only", *sendOnly, "Send what is saved here, and bring nothing");
  command->callback(
      [&selected, sendOnly] { selected = [sendOnly](Context& context) { return watch(context, *sendOnly); }; });
}

}  // namespace workstation::program
