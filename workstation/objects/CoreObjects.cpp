#include "workstation/objects/CoreObjects.h"

#include <deque>
#include <map>
#include <mutex>
#include <utility>

#include "host/Files.h"
#include "host/ObjectFiles.h"
#include "platform/Files.h"
#include "workstation/objects/ObjectNames.h"

namespace workstation {
namespace {

struct CoreState {
  std::mutex mutex;
  std::map<int, int> drawingFiles;  ///< Teilbild number to object
  int lastDrawingFile = 0;
  std::map<std::pair<int, int>, std::uint32_t> versions;
  std::deque<DataChange> changes;
};

CoreState& state() {
  static CoreState instance;
  return instance;
}

}  // namespace

std::vector<DataChange> dataChanges() {
  const std::lock_guard lock(state().mutex);
  return {state().changes.begin(), state().changes.end()};
}

std::optional<std::uint32_t> selectionListVersion(int type, int number) {
  const std::lock_guard lock(state().mutex);
  const auto found = state().versions.find({type, number});
  if (found == state().versions.end()) return std::nullopt;
  return found->second;
}

void clearCoreObjects() {
  const std::lock_guard lock(state().mutex);
  state().drawingFiles.clear();
  state().versions.clear();
  state().changes.clear();
}

}  // namespace workstation

int kgdrin(int number) {
  const std::lock_guard lock(workstation::state().mutex);
  const auto found = workstation::state().drawingFiles.find(number);
  return found == workstation::state().drawingFiles.end() ? -1 : found->second;
}

int kgobcr(int number) {
  if (!workstation::isPossibleNumber(eFileType_Teilbild, number)) return -1;
  workstation::CoreState& state = workstation::state();
  const std::lock_guard lock(state.mutex);
  const auto [entry, isNew] = state.drawingFiles.try_emplace(number, state.lastDrawingFile + 1);
  if (isNew) ++state.lastDrawingFile;
  return entry->second;
}

void SelectionList_UpdateVersionInfo(int type, int number, std::uint32_t version) {
  const std::lock_guard lock(workstation::state().mutex);
  workstation::state().versions[{type, number}] = version;
}

void SetDataChangedInfo(int kind, int number, int changed) {
  constexpr std::size_t kMost = 10'000;
  workstation::CoreState& state = workstation::state();
  const std::lock_guard lock(state.mutex);
  if (state.changes.size() == kMost) state.changes.pop_front();
  state.changes.push_back({kind, number, changed});
}

int lfztyp(int type, int number, int& out) {
  out = 0;
  const std::wstring name = workstation::objectFileName(type, number);
  if (name.empty()) return static_cast<int>(ERROR_INVALID_PARAMETER);
  std::wstring path;
  if (const int error = lffnamC(1, name, path)) return error;
  const platform::FileStatus status = platform::fileStatus(path);
  out = status.exists && !status.isDirectory ? 1 : 0;
  return 0;
}
