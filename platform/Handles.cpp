#include "platform/Handles.h"

#include <map>
#include <mutex>
#include <utility>

namespace platform {
namespace {

constexpr std::uintptr_t kStep = 4;

struct HandleTable {
  std::mutex mutex;
  std::map<std::uintptr_t, std::shared_ptr<HandleObject>> objects;
  std::uintptr_t next = kStep;
};

// Never destroyed: threads and static objects may still close handles while the process ends.
HandleTable& table() {
  static auto* const instance = new HandleTable;
  return *instance;
}

std::uintptr_t numberOf(HANDLE handle) {
  return reinterpret_cast<std::uintptr_t>(handle);
}

}  // namespace

HANDLE insertHandle(std::shared_ptr<HandleObject> object) {
  HandleTable& t = table();
  const std::lock_guard lock(t.mutex);
  // Numbers are not given again: a handle that is closed twice must not close another's.
  const std::uintptr_t number = std::exchange(t.next, t.next + kStep);
  t.objects.emplace(number, std::move(object));
  return reinterpret_cast<HANDLE>(number);
}

std::shared_ptr<HandleObject> findHandle(HANDLE handle) {
  HandleTable& t = table();
  const std::lock_guard lock(t.mutex);
  const auto found = t.objects.find(numberOf(handle));
  return found == t.objects.end() ? nullptr : found->second;
}

std::shared_ptr<HandleObject> removeHandle(HANDLE handle) {
  HandleTable& t = table();
  const std::lock_guard lock(t.mutex);
  const auto found = t.objects.find(numberOf(handle));
  if (found == t.objects.end()) return nullptr;
  auto object = std::move(found->second);
  t.objects.erase(found);
  return object;
}

}  // namespace platform
