#include "zephor/HostLookups.h"

#include <algorithm>
#include <cwctype>
#include <map>
#include <mutex>
#include <optional>

#include "platform/Files.h"
#include "platform/Messages.h"
#include "platform/Network.h"
#include "platform/Synchronisation.h"

namespace Quorvel::FileAccess {
namespace {

constexpr DWORD kModifyEvent = 0x2;

struct KnownAddresses {
  std::mutex lock;
  std::map<std::wstring, std::wstring> byHost;
};

KnownAddresses& knownAddresses() {
  // Never destroyed: other threads may still ask at the exit.
  static auto& addresses = *new KnownAddresses;
  return addresses;
}

/// What the host's selection module answers to a question without arguments; nothing when it can't be asked.
std::optional<bool> askSelection(const char* question) {
  const HMODULE module = GetModuleHandleW(L"tbwahl.dll");
  if (module == nullptr) return std::nullopt;
  const FARPROC function = GetProcAddress(module, question);
  if (function == nullptr) return std::nullopt;
  return reinterpret_cast<bool (*)()>(reinterpret_cast<void (*)()>(function))();
}

bool eventExists(const wchar_t* name) {
  const HANDLE event = OpenEventW(kModifyEvent, FALSE, name);
  if (event == nullptr) return false;
  CloseHandle(event);
  return true;
}

}  // namespace

bool WGO_getIPAddress(const wchar_t* host, std::wstring& address) {
  if (host == nullptr || *host == L'\0') return false;
  KnownAddresses& known = knownAddresses();
  {
    const std::lock_guard guard(known.lock);
    const auto found = known.byHost.find(host);
    if (found != known.byHost.end()) {
      address = found->second;
      return true;
    }
  }
  // A look-up may take seconds; nobody waits for it who asks for another host.
  const std::wstring answer = platform::resolveIpv4(host);
  if (answer.empty()) return false;
  const std::lock_guard guard(known.lock);
  address = known.byHost.emplace(host, answer).first->second;
  return true;
}

std::size_t WGO_getServerFiles(const wchar_t* server, const wchar_t* directory, const wchar_t* pattern,
                               std::vector<WIN32_FIND_DATAW>& list) {
  std::wstring path = directory != nullptr ? directory : L"";
  if (server != nullptr) path = L"\\\\" + std::wstring(server) + L"\\" + path;
  path += L"\\" + std::wstring(pattern != nullptr ? pattern : L"");
  WIN32_FIND_DATAW entry{};
  const HANDLE find = FindFirstFileW(path.c_str(), &entry);
  if (find == INVALID_HANDLE_VALUE) return list.size();
  do {
    if ((entry.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) == 0) list.push_back(entry);
  } while (FindNextFileW(find, &entry) != FALSE);
  FindClose(find);
  return list.size();
}

bool WGO_isQuorvelBimUserSubdirectory(const std::wstring& path) {
  constexpr std::wstring_view kFolder = L"\\BIM\\";
  constexpr std::size_t kDigits = 4;
  for (std::size_t at = path.find(kFolder); at != std::wstring::npos; at = path.find(kFolder, at + 1)) {
    const std::wstring user = path.substr(at + kFolder.size(), kDigits + 1);
    const auto isDigit = [](wchar_t c) { return std::iswdigit(static_cast<std::wint_t>(c)) != 0; };
    if (user.size() > kDigits && user[kDigits] == L'\\' && std::all_of(user.begin(), user.end() - 1, isDigit)) {
      return true;
    }
  }
  return false;
}

bool WGO_BWSFileExists() {
  return askSelection("BWSFileExists").value_or(false);
}

bool WGO_IsSelectionDialogActiv() {
  const std::optional<bool> answer = askSelection("IsSelectionDialogActiv");
  return answer && (*answer || eventExists(L"CDialogOndrathModelFiles"));
}

bool WGO_IsOndrathExportPending() {
  return eventExists(L"OndrathExportPending");
}

}  // namespace Quorvel::FileAccess
