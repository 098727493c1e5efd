// Sending what a sync found newer here. After it the file here has the server's time, which is what tells the next sync
// that they are in step; so a file whose upload failed must get its own time back, or the server's old content would
// pass for the new one.
#pragma once

#include <vector>

#include "workstation/program/ServerTransfer.h"
#include "workstation/program/SyncPlan.h"

namespace workstation::program {

struct Upload {
  Transfer transfer;
  SyncStep step;
};

void sendInStep(ServerSession& session, std::vector<Upload>& uploads);

}  // namespace workstation::program
