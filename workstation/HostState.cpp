#include "workstation/HostState.h"

#include "host/Trace.h"

namespace workstation {

HostState& hostState() {
  // Never destroyed: threads of the library may still ask while the process ends.
  static auto* const state = new HostState();
  return *state;
}

std::shared_ptr<const SettingsValues> settings() {
  static const auto builtIn = std::make_shared<const SettingsValues>();
  SettingsFile* const file = hostState().settings.get();
  return file != nullptr ? file->values() : builtIn;
}

bool changeSettings(const std::function<void(SettingsValues&)>& edit) {
  SettingsFile* const file = hostState().settings.get();
  if (file == nullptr) return false;
  std::wstring error;
  if (file->change(edit, error)) return true;
  lfperrC(L"%s\n", error);
  return false;
}

int settingsNumber(const wchar_t* key, int fallback) {
  const auto values = settings();
  const auto found = values->numbers.find(key);
  return found == values->numbers.end() ? fallback : found->second;
}

}  // namespace workstation
