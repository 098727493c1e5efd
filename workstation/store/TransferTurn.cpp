#include "workstation/store/TransferTurn.h"

#include <condition_variable>
#include <mutex>

#include "platform/Text.h"
#include "workstation/store/CloudStore.h"

namespace workstation {

namespace {

struct Taken {
  std::mutex mutex;
  std::condition_variable freed;
  std::set<std::wstring> keys;
};

Taken& taken() {
  static Taken instance;
  return instance;
}

}  // namespace

TransferTurn::TransferTurn(const std::wstring& project, const std::vector<std::wstring>& names) {
  std::set<std::wstring> wanted;
  for (const std::wstring& name : names) {
    std::wstring normal;
    wanted.insert(platform::toLower(project + L'|' + (normaliseStoreName(name, normal) ? normal : name)));
  }
  held_.reserve(wanted.size());
  std::unique_lock lock(taken().mutex);
  // In the order of the keys, in which all take them: two groups never wait for each other.
  while (!wanted.empty()) {
    taken().freed.wait(lock, [&] { return !taken().keys.contains(*wanted.begin()); });
    held_.push_back(taken().keys.insert(wanted.extract(wanted.begin())).position);
  }
}

TransferTurn::~TransferTurn() {
  {
    const std::lock_guard lock(taken().mutex);
    for (const auto& key : held_) taken().keys.erase(key);
  }
  taken().freed.notify_all();
}

}  // namespace workstation
