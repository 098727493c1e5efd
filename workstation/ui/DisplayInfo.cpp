#include "workstation/ui/DisplayInfo.h"

#include <algorithm>
#include <mutex>
#include <utility>
#include <vector>

#include "host/UserMessages.h"

namespace {

struct DisplayInfo {
  // Recursive and held while the listener runs: texts arrive in the order of their changes.
  std::recursive_mutex mutex;
  bool allowed = false;
  /// Scopes end in any order between threads, so each text is kept with the scope that owns it.
  std::vector<std::pair<const CScopedDisplayInfo*, std::wstring>> texts;
  std::wstring seen;
  std::function<void(const std::wstring&)> listener;

  void update() {
    std::wstring text = allowed && !texts.empty() ? texts.back().second : std::wstring();
    if (text == seen) return;
    seen = std::move(text);
    if (listener) listener(seen);
  }
};

DisplayInfo& displayInfo() {
  static DisplayInfo& instance = *new DisplayInfo;
  return instance;
}

}  // namespace

void setDisplayInfoWindowAllowed(int allowed) {
  DisplayInfo& info = displayInfo();
  const std::lock_guard lock(info.mutex);
  info.allowed = allowed != 0;
  info.update();
}

CScopedDisplayInfo::CScopedDisplayInfo(const std::wstring& text) {
  DisplayInfo& info = displayInfo();
  const std::lock_guard lock(info.mutex);
  info.texts.emplace_back(this, text);
  info.update();
}

CScopedDisplayInfo::~CScopedDisplayInfo() {
  DisplayInfo& info = displayInfo();
  const std::lock_guard lock(info.mutex);
  std::erase_if(info.texts, [this](const auto& entry) { return entry.first == this; });
  info.update();
}

void workstation::setDisplayInfoListener(std::function<void(const std::wstring&)> listener) {
  DisplayInfo& info = displayInfo();
  const std::lock_guard lock(info.mutex);
  info.listener = std::move(listener);
}
