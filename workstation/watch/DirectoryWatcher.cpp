#include "workstation/watch/DirectoryWatcher.h"

#include <thread>
#include <utility>

#include "workstation/watch/Watching.h"

namespace workstation {

struct DirectoryWatcher::Impl {
  Impl(const std::vector<std::wstring>& roots, Receiver receiver, Warning warning, const WatchOptions& options)
      : watching(roots, std::move(receiver), std::move(warning), options) {}

  Watching watching;
  std::thread thread;
};

DirectoryWatcher::DirectoryWatcher(const std::vector<std::wstring>& roots, Receiver receiver, Warning warning,
                                   WatchOptions options)
    : impl_(std::make_unique<Impl>(roots, std::move(receiver), std::move(warning), options)) {
  impl_->thread = std::thread([this] { impl_->watching.run(); });
}

DirectoryWatcher::~DirectoryWatcher() {
  impl_->watching.end();
  impl_->thread.join();
}

bool DirectoryWatcher::isPolling() const {
  return impl_->watching.isPolling();
}

}  // namespace workstation
