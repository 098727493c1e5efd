// The open project of the process, the projects opened beside it, and the changes noted in its directory.

#include <utility>

#include "host/Project.h"
#include "host/Trace.h"
#include "platform/Files.h"
#include "workstation/HostState.h"
#include "workstation/objects/CoreObjects.h"
#include "workstation/projects/DirChanges.h"
#include "workstation/projects/OpenUnits.h"
#include "workstation/projects/ProjectNames.h"

using workstation::HostState;
using workstation::hostState;
using workstation::textOf;

namespace {

constexpr int kProjectPathNumber = 1;
constexpr std::size_t kMostChanges = 10'000;

bool isOpen(const PRJ& prj) {
  return prj.directoryName[0] != L'\0';
}

}  // namespace

PRJ get_ActivePrj() {
  HostState& state = hostState();
  const std::lock_guard guard(state.mutex);
  return state.activeProject;
}

PRJ get_ActiveProject() {
  return get_ActivePrj();
}

void set_ActivePrj(const PRJ& prj) {
  const std::wstring directoryName = textOf(prj.directoryName);
  if (isOpen(prj) && !workstation::isSafeDirectoryName(directoryName)) {
    lfperrC(L"set_ActivePrj: expected the name of one directory, not \"%s\"\n", directoryName);
    return;
  }
  HostState& state = hostState();
  std::unique_lock guard(state.mutex);
  const bool isOther = directoryName != textOf(state.activeProject.directoryName) ||
                       textOf(prj.host) != textOf(state.activeProject.host);
  state.activeProject = prj;
  state.paths.erase(kProjectPathNumber);
  if (!isOther) return;
  state.directoryChanges.clear();
  guard.unlock();
  workstation::clearCoreObjects();
}

std::wstring get_ActPrjPath() {
  const PRJ prj = get_ActivePrj();
  std::wstring directory;
  return isOpen(prj) && make_prj_dir(prj, directory) == 0 ? directory : std::wstring();
}

int get_ActPrjNumber() {
  return get_ActivePrj().projectNumber;
}

int kgunit() {
  const bool isDatabaseWanted = workstation::settingsNumber(L"Settings\\OpenDatabase", 1) != 0;
  return isDatabaseWanted && isOpen(get_ActivePrj()) ? workstation::kOpenProjectUnit : -1;
}

bool isSingleFileProjectTempClosed() {
  return false;
}

int tempProjectOpen(const ZP_Header_Project& header) {
  std::wstring directory;
  if (make_prj_dir(header.GetInfo(), directory) != 0 || !platform::fileStatus(directory).isDirectory) return -1;
  HostState& state = hostState();
  const std::lock_guard guard(state.mutex);
  const int unit = workstation::kFirstTemporaryUnit + state.nextUnit++;
  state.temporaryUnits.emplace(unit, header.GetInfo());
  return unit;
}

void tempProjectClose(int handle) {
  HostState& state = hostState();
  const std::lock_guard guard(state.mutex);
  state.temporaryUnits.erase(handle);
}

void ltbproC_updateDirChanges(const std::wstring& path, unsigned long action) {
  HostState& state = hostState();
  const std::lock_guard guard(state.mutex);
  workstation::DirectoryChange change{path, action};
  if (!state.directoryChanges.empty() && state.directoryChanges.back() == change) return;
  if (state.directoryChanges.size() == kMostChanges) state.directoryChanges.pop_front();
  state.directoryChanges.push_back(std::move(change));
}

namespace workstation {

std::optional<PRJ> projectOfUnit(int unit) {
  HostState& state = hostState();
  const std::lock_guard guard(state.mutex);
  if (unit == kOpenProjectUnit && isOpen(state.activeProject)) return state.activeProject;
  const auto found = state.temporaryUnits.find(unit);
  if (found == state.temporaryUnits.end()) return std::nullopt;
  return found->second;
}

std::wstring directoryOfUnit(int unit) {
  const std::optional<PRJ> prj = projectOfUnit(unit);
  std::wstring directory;
  return prj && make_prj_dir(*prj, directory) == 0 ? directory : std::wstring();
}

std::vector<DirectoryChange> directoryChanges() {
  HostState& state = hostState();
  const std::lock_guard guard(state.mutex);
  return {state.directoryChanges.begin(), state.directoryChanges.end()};
}

std::vector<DirectoryChange> takeDirectoryChanges() {
  HostState& state = hostState();
  const std::lock_guard guard(state.mutex);
  const std::deque<DirectoryChange> taken = std::exchange(state.directoryChanges, {});
  return {taken.begin(), taken.end()};
}

}  // namespace workstation
