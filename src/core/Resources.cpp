#include <array>
#include <string>

#include "host/System.h"
#include "platform/Files.h"
#include "platform/Messages.h"
#include "zephor/Service.h"

namespace Quorvel::FileAccess {

HMODULE LoadResourcesForInetExtensions() {
  std::array<wchar_t, MAX_PATH> buffer{};
  const DWORD length = GetModuleFileNameW(nullptr, buffer.data(), static_cast<DWORD>(buffer.size()));
  if (length == 0 || length >= buffer.size()) return nullptr;

  std::wstring path(buffer.data(), length);
  const std::size_t separator = path.rfind(L'\\');
  if (separator == std::wstring::npos) return nullptr;
  path.resize(separator + 1);

  const wchar_t* language = ll_get_lng_shortness_original(ll_get_language());
  path.append(L"Zephor_InetExtensions_").append(language != nullptr ? language : L"de").append(L".dll");
  return LoadLibraryW(path.c_str());
}

}  // namespace Quorvel::FileAccess
