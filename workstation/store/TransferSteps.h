// From the options of a bulk transfer to the one who watches it.
#pragma once

#include "host/Cloud.h"
#include "workstation/store/CloudStore.h"

namespace workstation {

/// Steps for the watcher of the process; empty when the options ask for none or nobody watches.
StoreProgress transferSteps(const CloudTransferOptions& options);

}  // namespace workstation
