// Which controllers the library is given: the embedded ones, or a replacement.
#include <atomic>

#include "host/Cloud.h"
#include "workstation/Session.h"
#include "workstation/store/EmbeddedController.h"
#include "workstation/store/EmbeddedSession.h"

namespace workstation {

namespace {

std::atomic<ICloudController*>& replacement() {
  static std::atomic<ICloudController*> controller{nullptr};
  return controller;
}

}  // namespace

void setCloudController(ICloudController* controller) {
  replacement().store(controller);
}

}  // namespace workstation

ICloudController* QuorvelCloudController() {
  if (ICloudController* const other = workstation::replacement().load()) return other;
  static const std::unique_ptr<ICloudController> embedded =
      workstation::makeEmbeddedController(workstation::embeddedSession());
  return embedded.get();
}

ISsoController* QuorvelSsoController() {
  static const std::unique_ptr<ISsoController> embedded = workstation::makeEmbeddedSso(workstation::embeddedSession());
  return embedded.get();
}
