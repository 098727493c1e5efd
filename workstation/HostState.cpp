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

std::optional<int> settingsNumber(const std::wstring& key) {
  {
    HostState& state = hostState();
    const std::lock_guard guard(state.mutex);
    if (const auto ofRun = state.numbersOfRun.find(key); ofRun != state.numbersOfRun.end()) return ofRun->second;
    if (const auto unsaved = state.unsavedNumbers.find(key); unsaved != state.unsavedNumbers.end())
      return unsaved->second;
  }
  const auto values = settings();
  const auto found = values->numbers.find(key);
  return found == values->numbers.end() ? std::nullopt : std::optional(found->second);
}

int settingsNumber(const wchar_t* key, int fallback) {
  return settingsNumber(std::wstring(key)).value_or(fallback);
}

bool setSettingsNumber(const std::wstring& key, int value) {
  HostState& state = hostState();
  SettingsFile* const file = state.settings.get();
  if (file == nullptr) return false;
  std::wstring error;
  const bool saved = file->change([&](SettingsValues& values) { values.numbers.insert_or_assign(key, value); }, error);
  bool isFirst = false;
  {
    const std::lock_guard guard(state.mutex);
    if (saved) {
      state.unsavedNumbers.erase(key);
    } else {
      isFirst = state.unsavedNumbers.empty();
      state.unsavedNumbers.insert_or_assign(key, value);
    }
  }
  if (isFirst) lfperrC(L"%s; numbers are remembered until the program ends\n", error);
  return true;
}

}  // namespace workstation
