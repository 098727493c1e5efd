// Where the application takes its standard resources from: the workstation, or the cache of a container.
#include "host/Events.h"
#include "host/Project.h"
#include "host/System.h"
#include "workstation/store/Containers.h"

std::wstring get_ActivePrjCorUuid() {
  return workstation::subscribedContainer();
}

// Standard paths are formed anew for every call here; nothing is kept that would have to be formed again.
void lfpath_ini_std_dependent_paths() {}

ZP_EventDispatcher* Zephor_CallbackCenter_GetCenter() {
  class Dispatcher final : public ZP_EventDispatcher {
   public:
    void FireEvent() override {}
  };
  static Dispatcher dispatcher;
  return &dispatcher;
}
