// The locking agent and the scope guards around locks.
//
// The manager asks the store at each question of its callers; of the older store it also keeps a picture for the
// library's questions, which is as old as the last of those. Nothing is done in the background: the agent only keeps
// whether it runs and whether it is suspended.
#include <atomic>

#include "host/Locking.h"
#include "workstation/objects/LockingState.h"

namespace {

thread_local int ignoredLocks = 0;
thread_local bool lockingError = false;

struct AgentState {
  std::atomic<int> suspensions{0};
  std::atomic<bool> running{false};
};

AgentState& agentState() {
  static AgentState state;
  return state;
}

class LockingAgent final : public IZepFileLockingAgent, public IFileLockingAgentInternal {
 public:
  bool isSuspended() const override { return agentState().suspensions > 0; }
  void start() override { agentState().running = true; }
  void stop() override { agentState().running = false; }
};

LockingAgent& agent() {
  static LockingAgent instance;
  return instance;
}

}  // namespace

IZepFileLockingManager::ScopedIgnoreLock::ScopedIgnoreLock(bool ignore) : ignore_(ignore) {
  if (ignore_) ++ignoredLocks;
}

IZepFileLockingManager::ScopedIgnoreLock::~ScopedIgnoreLock() {
  if (ignore_) --ignoredLocks;
}

IZepFileLockingAgent::ScopedSuspend::ScopedSuspend() {
  ++agentState().suspensions;
}

IZepFileLockingAgent::ScopedSuspend::~ScopedSuspend() {
  --agentState().suspensions;
}

IZepFileLockingAgent& getFileLockingAgent() {
  return agent();
}

IFileLockingAgentInternal& getFileLockingAgentInternal() {
  return agent();
}

void ZEPSetLockingError() {
  lockingError = true;
}

namespace workstation {

bool areLocksIgnored() {
  return ignoredLocks > 0;
}

bool isLockingAgentRunning() {
  return agentState().running;
}

bool takeLockingError() {
  const bool was = lockingError;
  lockingError = false;
  return was;
}

}  // namespace workstation
