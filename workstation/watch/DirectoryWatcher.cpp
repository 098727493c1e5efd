#include "workstation/watch/DirectoryWatcher.h"

namespace workstation {

struct DirectoryWatcher::Impl {};

DirectoryWatcher::DirectoryWatcher(const std::vector<std::wstring>& /*roots*/, Receiver /*receiver*/,
                                   Warning /*warning*/, WatchOptions /*options*/)
    : impl_(std::make_unique<Impl>()) {}

DirectoryWatcher::~DirectoryWatcher() = default;

bool DirectoryWatcher::isPolling() const {
  return false;
}

}  // namespace workstation
