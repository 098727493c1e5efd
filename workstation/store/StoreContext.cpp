#include "workstation/store/StoreContext.h"

#include <mutex>
#include <utility>

#include "workstation/store/EmbeddedSession.h"
#include "workstation/store/TransferSteps.h"

namespace workstation {

namespace {

struct Watcher {
  std::mutex mutex;
  TransferProgress progress;
};

Watcher& watcher() {
  static Watcher watcher;
  return watcher;
}

}  // namespace

void setStoreContext(std::string storeDirectory, StoreActor actor) {
  embeddedSession().connect(std::move(storeDirectory), std::move(actor));
}

void clearStoreContext() {
  embeddedSession().connect({}, {});
}

std::string storeContextDirectory() {
  return embeddedSession().directory();
}

StoreActor storeActor() {
  return embeddedSession().actor();
}

std::shared_ptr<CloudStore> currentStore(CloudStatus& status, std::wstring& error) {
  return embeddedSession().store(status, error);
}

void noteOpenProject(const std::wstring& projectUuid) {
  embeddedSession().noteProject(projectUuid);
}

void setTransferProgress(TransferProgress progress) {
  const std::lock_guard lock(watcher().mutex);
  watcher().progress = std::move(progress);
}

StoreProgress transferSteps(const CloudTransferOptions& options) {
  if (options.count == 0) return {};
  TransferProgress progress;
  {
    const std::lock_guard lock(watcher().mutex);
    progress = watcher().progress;
  }
  if (!progress) return {};
  return [progress = std::move(progress), text = options.text](
             std::uint32_t done, std::uint32_t total, std::uint64_t bytes) { progress(done, total, bytes, text); };
}

}  // namespace workstation
