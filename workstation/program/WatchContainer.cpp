#include "workstation/program/WatchContainer.h"

#include "platform/Paths.h"
#include "workstation/program/Context.h"
#include "workstation/program/Saving.h"
#include "workstation/store/Containers.h"
#include "zephor/BackgroundChanges.h"
#include "zephor/ResourceContainers.h"

namespace workstation::program {

namespace {

using namespace std::chrono_literals;
constexpr auto kBetweenLooks = 200ms;
constexpr auto kBetweenQuestions = 2s;

}  // namespace

WatchContainer::WatchContainer(Context& context) : context_(context), uuid_(subscribedContainer()) {
  if (isThere()) cache_ = Quorvel::FileAccess::WGO_BuildCloudStdLocalCachePath(uuid_);
  while (!cache_.empty() && cache_.back() == L'\\') cache_.pop_back();
  if (cache_.empty()) uuid_.clear();
}

void WatchContainer::await(const std::vector<std::wstring>& files) {
  waiting_.insert(files.begin(), files.end());
}

void WatchContainer::tellCommitted() {
  if (waiting_.empty() || WatchClock::now() < nextLook_) return;
  nextLook_ = WatchClock::now() + kBetweenLooks;
  std::erase_if(waiting_, [this](const std::wstring& path) {
    if (!isContainerFileInStep(path)) return false;
    report(context_, path.substr(cache_.size() + 1), L"committed", L"to the container");
    return true;
  });
}

void WatchContainer::receive() {
  if (!isThere() || WatchClock::now() < nextQuestion_) return;
  nextQuestion_ = WatchClock::now() + kBetweenQuestions;
  StoreContainer container;
  if (!waiting_.empty() || Quorvel::FileAccess::WGO_GetBackgroundWork().collected > 0) return;
  if (context_.store().container(context_.actor(), uuid_, container) != kStoreOk) return;
  if (container.revision == revision_ || container.lock) return;
  ContainerCacheState state;
  if (containerCacheState(context_.store(), context_.actor(), uuid_, state) != kStoreOk) return;
  // What was changed here without a watch goes up first, or waits for the person who changed it.
  if (state.isNewerThere && state.changes.empty()) {
    if (!Quorvel::FileAccess::WGO_DownloadSTDResContainer(uuid_, 0, true)) return;
    report(context_, container.name, L"fetched", L"the container's latest commit");
  }
  revision_ = container.revision;
}

}  // namespace workstation::program
