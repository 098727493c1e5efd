// The cloud's controllers over the embedded store.
#pragma once

#include <memory>
#include <string>

#include "host/Cloud.h"
#include "workstation/Export.h"
#include "workstation/store/CloudStore.h"

namespace workstation {

class EmbeddedSession;

/// A controller of the given session, which has to outlive it.
std::unique_ptr<ICloudController> makeEmbeddedController(EmbeddedSession& session);
/// A controller with a session of its own: another user, or another workstation, in the same process.
WORKSTATION_API std::unique_ptr<ICloudController> makeEmbeddedController(std::string storeDirectory, StoreActor actor);
std::unique_ptr<ISsoController> makeEmbeddedSso(EmbeddedSession& session);

}  // namespace workstation
