#include "workstation/system/Folders.h"

#include <array>
#include <cwchar>

#include "host/Files.h"
#include "host/System.h"
#include "platform/Files.h"
#include "platform/Paths.h"
#include "platform/Text.h"
#include "workstation/HostState.h"
#include "workstation/system/StandardResources.h"

namespace workstation {
namespace {

constexpr std::size_t kPathSize = 260;

std::wstring withoutTrailingSeparators(std::wstring path) {
  while (path.size() > 3 && (path.back() == L'\\' || path.back() == L'/')) path.pop_back();
  return path;
}

/// Directory of the running program; empty when it is not known.
std::wstring programDirectory() {
  std::array<wchar_t, 4096> buffer{};
  const DWORD length = GetModuleFileNameW(nullptr, buffer.data(), static_cast<DWORD>(buffer.size()));
  if (length == 0 || length >= buffer.size()) return {};
  return platform::directoryOf(std::wstring(buffer.data(), length));
}

/// A setup path as configured, or the built-in one; empty for an unknown key.
std::wstring setupPath(const std::wstring& key) {
  const auto values = settings();
  const auto configured = values->setupPaths.find(key);
  if (configured != values->setupPaths.end()) return withoutTrailingSeparators(configured->second);
  if (platform::equalsIgnoreCase(key, L"LocalData")) return L"C:\\Data";
  if (platform::equalsIgnoreCase(key, L"Net")) return L"C:\\Server";
  if (platform::equalsIgnoreCase(key, L"Temp")) return L"C:\\Temp";
  if (platform::equalsIgnoreCase(key, L"Prg")) return programDirectory();
  return {};
}

bool copyOut(const std::wstring& text, wchar_t* buffer, std::size_t size) {
  if (buffer == nullptr || text.empty() || text.size() >= size) return false;
  buffer[text.copy(buffer, size - 1)] = L'\0';
  return true;
}

/// 32-bit FNV-1a of the lower-case name: stable between runs and machines.
std::uint32_t nameHash(const std::wstring& name) {
  std::uint32_t hash = 2166136261U;
  for (const char c : platform::toUtf8(platform::toLower(name))) {
    hash = (hash ^ static_cast<unsigned char>(c)) * 16777619U;
  }
  return hash;
}

}  // namespace

bool isKnownHost(const std::wstring& host) {
  return platform::equalsIgnoreCase(host, kLocalHost) || ZSYST_IsOndrathServer(host) || ZSYST_IsInetServer(host);
}

std::wstring serverRootName(const std::wstring& host) {
  if (host.empty()) return kLocalHost;
  if (ZSYST_IsOndrathServer(host)) return kOndrathHost;
  const auto isPlain = [](wchar_t c) { return std::wcschr(L"\\/:*?\"<>|%", c) == nullptr && c >= 0x20 && c != 0x7F; };
  std::wstring safe = host.substr(0, 64);
  for (wchar_t& c : safe) {
    if (!isPlain(c)) c = L'_';
  }
  if (safe == host && platform::isSafeRelativeName(safe)) return safe;
  return platform::formatWide(L"_%s-%08x", safe, nameHash(host));
}

std::vector<std::wstring> workstationFolders() {
  const std::wstring data = setupPath(L"LocalData");
  std::vector<std::wstring> folders = {data, setupPath(L"Net"), setupPath(L"Temp")};
  for (const wchar_t* part : {L"Prj", L"Prj\\ONDRATH", L"Std", L"Usr", L"Net"}) {
    folders.push_back(platform::joinPath(data, part));
  }
  return folders;
}

}  // namespace workstation

using workstation::setupPath;

std::wstring ZSYST_getLocalDataDirectory() {
  return setupPath(L"LocalData");
}

std::wstring get_data_path() {
  return ZSYST_getLocalDataDirectory();
}

std::wstring ZSYST_getLocalDataServerRoot(const std::wstring& host) {
  if (!workstation::isKnownHost(host)) return {};
  // A server that was asked for by its host name has the directory of its name.
  const std::wstring name = workstation::serverNameOf(host);
  return workstation::serverRootName(name.empty() ? host : name);
}

bool ZSYST_getPrgDirectory(wchar_t* buffer, std::size_t size) {
  return workstation::copyOut(setupPath(L"Prg"), buffer, size);
}

bool ZSYST_ZepRegGetSetupPath(const std::wstring& key, wchar_t* buffer) {
  return workstation::copyOut(setupPath(key), buffer, workstation::kPathSize);
}

std::wstring ZSYST_GetQuorvelFolderByTag(const std::wstring& tag) {
  if (platform::equalsIgnoreCase(tag, L"TMP")) return setupPath(L"Temp");
  if (platform::equalsIgnoreCase(tag, L"PRG")) return setupPath(L"Prg");
  if (platform::equalsIgnoreCase(tag, L"Std")) return workstation::standardResourcesFolder();
  for (const wchar_t* part : {L"Prj", L"Usr", L"Net"}) {
    if (platform::equalsIgnoreCase(tag, part)) return platform::joinPath(ZSYST_getLocalDataDirectory(), part);
  }
  return {};
}

std::wstring ZSYST_SubstituteShareByLocal(const std::wstring& path) {
  const std::wstring server = setupPath(L"Net");
  if (server.empty() || !platform::startsWithIgnoreCase(path, server)) return path;
  const std::wstring rest = path.substr(server.size());
  if (!rest.empty() && rest.front() != L'\\' && rest.front() != L'/') return path;
  return ZSYST_getLocalDataDirectory() + rest;
}
