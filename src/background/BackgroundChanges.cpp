#include "zephor/BackgroundChanges.h"

#include <system_error>

#include "background/BackgroundState.h"
#include "host/Project.h"
#include "host/Trace.h"

namespace Quorvel::FileAccess {
namespace {

void restartLog() {
  const PRJ project = get_ActivePrj();
  std::wstring directory;
  if (project.IsOndrathProject() && make_prj_dir(project, directory) == 0)
    backgroundState().logs.of(directory).restart();
}

void startCollector() {
  try {
    backgroundState().collector.startThread();
  } catch (const std::system_error&) {
    lfperrC(L"%s: no thread for the collector; changes of the resource container are not committed\n",
            L"Quorvel::FileAccess::WGO_SetBackgroundChangesManagerRunning");
  }
}

}  // namespace

BackgroundState& backgroundState() {
  static auto& state = *new BackgroundState;
  return state;
}

void WGO_SetBackgroundChangesManagerRunning(bool running, bool withCollector) {
  BackgroundState& state = backgroundState();
  state.running = running;
  if (!running) {
    state.collector.stopThread();
    return;
  }
  restartLog();
  if (withCollector) startCollector();
}

bool WGO_IsBackgroundChangesManagerRunning() {
  return backgroundState().running;
}

WGO_BackgroundWork WGO_GetBackgroundWork() {
  BackgroundState& state = backgroundState();
  return {state.uploads, state.deletions, state.collector.count()};
}

}  // namespace Quorvel::FileAccess
