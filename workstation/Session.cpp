// Start and end of the workstation in this process.

#include "workstation/Session.h"

#include <filesystem>

#include "host/System.h"
#include "platform/Files.h"
#include "platform/Paths.h"
#include "platform/Text.h"
#include "workstation/HostState.h"
#include "workstation/SessionDirectories.h"
#include "workstation/store/StoreContext.h"
#include "workstation/system/Folders.h"
#include "workstation/ui/HostInterface.h"

namespace workstation {
namespace {

constexpr wchar_t kDataDrive = L'C';

bool loadSettings(const StartOptions& options, HostState& state, std::wstring& error) {
  if (!findDirectories(options.directory, state.directories, error)) return false;
  if (!options.language.empty() && options.language != "en" && options.language != "de") {
    error =
        platform::formatWide(L"\"%s\": expected \"en\" or \"de\" as language", platform::fromUtf8(options.language));
    return false;
  }
  state.settings = std::make_unique<SettingsFile>(settingsPath(state.directories));
  if (!platform::fileStatus(state.settings->path()).exists) {
    error = platform::formatWide(
        L"%s: there is no workstation yet; make one: zephor init, or for servers alone: zephor server add",
        state.settings->path());
    return false;
  }
  return state.settings->load(error);
}

bool makeFolders(const HostState& state, std::wstring& error) {
  std::error_code problem;
  std::filesystem::create_directories(state.directories.data, problem);
  if (problem || !platform::setDrive(kDataDrive, state.directories.data)) {
    error = platform::formatWide(L"%s: the directory can't be made: %s", platform::fromUtf8(state.directories.data),
                                 platform::fromUtf8(problem.message()));
    return false;
  }
  for (const std::wstring& folder : workstationFolders()) {
    const int code = SHCreateDirectoryExW(nullptr, folder.c_str(), nullptr);
    const bool isThere = code == 0 || platform::fileStatus(folder).isDirectory;
    if (isThere) continue;
    error = platform::formatWide(L"%s: the directory can't be made (error %d)", folder, code);
    return false;
  }
  return true;
}

/// Forgets everything but the open files, which their callers still close.
void clearState(HostState& state) {
  platform::setDrive(kDataDrive, {});
  state.started = false;
  state.settings.reset();
  state.directories = {};
  state.identity = {};
  state.storeDirectory.clear();
  state.traceLevel = -1;
  const std::lock_guard guard(state.mutex);
  state.unsavedNumbers.clear();
  state.numbersOfRun.clear();
  state.hostDirectories.clear();
  state.serverPasswords.clear();
  state.currentServer.clear();
  state.corPath.clear();
  state.paths.clear();
  state.activeProject.clear();
  state.userDirectory.clear();
  state.users.clear();
  state.temporaryUnits.clear();
  state.directoryChanges.clear();
}

std::string effectiveStore(const StartOptions& options, const SettingsValues& values) {
  if (options.storeDirectory.empty()) return values.storeDirectory;
  std::error_code problem;
  const auto store = std::filesystem::absolute(options.storeDirectory, problem).lexically_normal();
  return problem ? options.storeDirectory : store.string();
}

}  // namespace

bool start(const StartOptions& options, std::wstring& error) {
  HostState& state = hostState();
  if (state.started) {
    error = L"The workstation is started already.";
    return false;
  }
  if (!loadSettings(options, state, error) || !makeFolders(state, error)) {
    clearState(state);
    return false;
  }
  const std::shared_ptr<const SettingsValues> values = settings();
  state.identity = values->identity;
  state.storeDirectory = effectiveStore(options, *values);
  state.traceLevel = options.traceLevel;
  platform::setActiveCodePage(values->codePage);
  setLanguage(options.language.empty() ? values->language : options.language);
  setDenied(options.deny);
  startDiagnostics(state.directories.logs, getFileAccessTrace());
  setStoreContext(state.storeDirectory,
                  StoreActor{state.identity.user, state.identity.workstationName, state.identity.workstationId});
  state.started = true;
  return true;
}

void finish() {
  HostState& state = hostState();
  if (!state.started) return;
  closeProject();
  clearStoreContext();
  stopDiagnostics();
  clearState(state);
}

bool isStarted() {
  return hostState().started;
}

const Identity& identity() {
  return hostState().identity;
}

}  // namespace workstation
