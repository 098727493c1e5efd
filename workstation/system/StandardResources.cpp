#include "workstation/system/StandardResources.h"

#include <atomic>

#include "host/Events.h"
#include "host/Project.h"
#include "host/System.h"
#include "host/Trace.h"
#include "platform/Paths.h"
#include "workstation/HostState.h"
#include "workstation/store/Containers.h"

namespace {

class Dispatcher final : public ZP_EventDispatcher {
 public:
  void FireEvent() override {
    ++fired_;
    const CConsoleTrace trace(L"standard resources are taken from " + workstation::standardResourcesFolder(), 1);
  }
  std::uint64_t fired() const { return fired_; }

 private:
  std::atomic<std::uint64_t> fired_{0};
};

Dispatcher& dispatcher() {
  static Dispatcher instance;
  return instance;
}

}  // namespace

namespace workstation {

std::wstring standardResourcesFolder() {
  {
    HostState& state = hostState();
    const std::lock_guard guard(state.mutex);
    if (!state.corPath.empty()) return state.corPath;
  }
  return platform::joinPath(ZSYST_getLocalDataDirectory(), L"Std");
}

void useLocalStandardResources() {
  ZSYST_FreeStdFullPathStrings();
  ZSYST_putCurrentCORPath(L"");
  lfpath_ini_std_dependent_paths();
  dispatcher().FireEvent();
}

std::uint64_t standardResourceEvents() {
  return dispatcher().fired();
}

}  // namespace workstation

std::wstring get_ActivePrjCorUuid() {
  return workstation::subscribedContainer();
}

void ZSYST_putCurrentCORPath(const std::wstring& path) {
  workstation::HostState& state = workstation::hostState();
  const std::lock_guard guard(state.mutex);
  state.corPath = path.substr(0, path.find_last_not_of(L"\\/") + 1);
}

// Standard paths are formed anew for every call here; nothing is kept that could be freed or formed again.
void ZSYST_FreeStdFullPathStrings() {}
void lfpath_ini_std_dependent_paths() {}

ZP_EventDispatcher* Zephor_CallbackCenter_GetCenter() {
  return &dispatcher();
}
