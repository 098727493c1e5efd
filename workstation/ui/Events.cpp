#include "host/Events.h"

#include <map>
#include <mutex>

namespace {

struct Events {
  std::mutex mutex;
  std::map<std::wstring, std::wstring> textOfSetEvents;
};

Events& events() {
  static Events instance;
  return instance;
}

}  // namespace

globalEventManager& globalEventManager::instance() {
  static globalEventManager manager;
  return manager;
}

bool globalEventManager::get(const std::wstring& name, std::wstring* data) const {
  const std::lock_guard lock(events().mutex);
  const auto event = events().textOfSetEvents.find(name);
  if (event == events().textOfSetEvents.end()) return false;
  if (data != nullptr) *data = event->second;
  return true;
}

void globalEventManager::set(const std::wstring& name, const std::wstring& data) {
  const std::lock_guard lock(events().mutex);
  events().textOfSetEvents.insert_or_assign(name, data);
}

void globalEventManager::reset(const std::wstring& name) {
  const std::lock_guard lock(events().mutex);
  events().textOfSetEvents.erase(name);
}
