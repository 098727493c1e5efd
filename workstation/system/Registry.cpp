// Per-user numbers, and what the host derives from them.

#include "host/System.h"
#include "platform/Text.h"
#include "workstation/HostState.h"
#include "workstation/Release.h"

using workstation::settingsNumber;

namespace {

bool isUserHive(const wchar_t* hive) {
  return hive != nullptr && platform::equalsIgnoreCase(hive, L"HKCU");
}

}  // namespace

bool ZSYST_ZepRegGetNumber(const wchar_t* hive, const std::wstring& key, int& value) {
  if (!isUserHive(hive)) return false;
  const std::optional<int> number = settingsNumber(key);
  if (number) value = *number;
  return number.has_value();
}

bool ZSYST_ZepRegPutNumber(const wchar_t* hive, const std::wstring& key, int value) {
  if (!isUserHive(hive) || key.empty()) return false;
  return workstation::setSettingsNumber(key, value);
}

std::wstring getTraceRegistrySection(int n) {
  return platform::formatWide(L"Settings\\Trace\\%d", n);
}

int getFileAccessTrace() {
  const int ofThisRun = workstation::hostState().traceLevel;
  return ofThisRun >= 0 ? ofThisRun : settingsNumber(L"Settings\\Trace\\FileAccess", 0);
}

int get_InternMainRelease() {
  return workstation::kMainRelease;
}

short get_InternSubRelease() {
  return workstation::kSubRelease;
}

int GetInstalledDefaultCountryNumber() {
  constexpr int kGermany = 49;
  return settingsNumber(L"Settings\\CountryNumber", kGermany);
}

bool isEntwVersion() {
  return settingsNumber(L"Settings\\DeveloperBuild", 0) != 0;
}

// Every process of a workstation is the host itself; the setting lets one act as an auxiliary tool.
bool isExecutedByQuorvel() {
  return settingsNumber(L"Settings\\AuxiliaryTool", 0) == 0;
}
