#include "workstation/program/WatchContainer.h"

#include <algorithm>

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

void WatchContainer::begin() {
  ContainerCacheState state;
  if (!isThere() || containerCacheState(context_.store(), context_.actor(), uuid_, state) != kStoreOk) return;
  copies_ = {state.keptCopies.begin(), state.keptCopies.end()};
  for (const ContainerChange& change : state.changes) {
    waiting_.insert(platform::joinPath(cache_, change.name));
    report(context_, change.name, L"waits", L"changed here while nobody watched: for zephor std commit");
  }
}

void WatchContainer::tellCommitted(bool atOnce) {
  if (waiting_.empty() || (!atOnce && WatchClock::now() < nextLook_)) return;
  nextLook_ = WatchClock::now() + kBetweenLooks;
  std::vector<std::wstring> done;
  std::erase_if(waiting_, [&](const std::wstring& path) {
    if (!isContainerFileInStep(path)) return false;
    done.push_back(path.substr(cache_.size() + 1));
    return true;
  });
  if (done.empty()) return;
  const std::vector<std::wstring> copies = newCopies();
  for (const std::wstring& name : done) {
    const auto copy = std::find_if(copies.begin(), copies.end(),
                                   [&](const std::wstring& one) { return one.ends_with(L"\\" + name); });
    if (copy == copies.end()) {
      report(context_, name, L"committed", L"to the container");
    } else {
      ++kept_;
      report(context_, name, L"kept", L"a colleague committed it, too, which is here now; yours is " + *copy);
    }
  }
}

/// What downloads have set aside since the last call.
std::vector<std::wstring> WatchContainer::newCopies() {
  std::vector<std::wstring> fresh;
  ContainerCacheState state;
  if (containerCacheState(context_.store(), context_.actor(), uuid_, state) != kStoreOk) return fresh;
  for (const std::wstring& copy : state.keptCopies) {
    if (copies_.insert(copy).second) fresh.push_back(copy);
  }
  return fresh;
}

std::size_t WatchContainer::tellStaying() const {
  for (const std::wstring& path : waiting_) {
    report(context_, path.substr(cache_.size() + 1), L"stays", L"not committed; zephor std status tells more");
  }
  return waiting_.size() + kept_;
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
