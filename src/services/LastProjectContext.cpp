#include <memory>
#include <new>
#include <vector>

#include "host/Project.h"
#include "zephor/Workgroup.h"

namespace Quorvel::FileAccess {
namespace {

struct LastProjectState {
  std::unique_ptr<LastProjectInfo> last;
  /// Records that another one took the place of: callers may still hold their addresses.
  std::vector<std::unique_ptr<LastProjectInfo>> earlier;
};

LastProjectState& lastProjectState() {
  static LastProjectState state;
  return state;
}

}  // namespace

void WGO_storeLastProjectContext(LastProjectInfo& info) {
  if (info.host.empty() || info.directoryName.empty()) return;
  LastProjectState& state = lastProjectState();
  try {
    if (state.last != nullptr) state.earlier.push_back(std::move(state.last));
    state.last = std::make_unique<LastProjectInfo>(info);
  } catch (const std::bad_alloc&) {
    state.last.reset();
  }
}

const LastProjectInfo* WGO_getLastProjectContext() {
  return lastProjectState().last.get();
}

void WGO_deleteLastProjectContext() {
  lastProjectState().last.reset();
}

}  // namespace Quorvel::FileAccess
