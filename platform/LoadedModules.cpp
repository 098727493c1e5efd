// Libraries that somebody else has loaded into this process.
#include <dlfcn.h>
#include <link.h>

#include <map>
#include <memory>
#include <mutex>
#include <string>

#include "platform/Messages.h"
#include "platform/Paths.h"
#include "platform/Text.h"

namespace platform {
namespace {

/// Paths by the handles that were given out for them. A handle stays good for its path, whoever unloads and loads it.
class LentModules {
 public:
  static LentModules& instance() {
    static auto* const modules = new LentModules;
    return *modules;
  }

  HMODULE lend(const std::string& path) {
    const std::scoped_lock lock(mutex_);
    return &modules_.try_emplace(path, path).first->second;
  }

  std::string pathOf(HMODULE handle) {
    const std::scoped_lock lock(mutex_);
    for (const auto& [path, lent] : modules_) {
      if (&lent == handle) return path;
    }
    return {};
  }

 private:
  std::mutex mutex_;
  std::map<std::string, std::string> modules_;
};

struct Search {
  std::wstring name;
  std::string path;
};

int compareModule(dl_phdr_info* info, std::size_t /*size*/, void* data) {
  auto& search = *static_cast<Search*>(data);
  const std::string path = info->dlpi_name != nullptr ? info->dlpi_name : "";
  if (path.empty() || !equalsIgnoreCase(fileNameOf(fromUtf8(path)), search.name)) return 0;
  search.path = path;
  return 1;
}

}  // namespace
}  // namespace platform

HMODULE GetModuleHandleW(const wchar_t* name) {
  platform::Search search{name != nullptr ? name : L"", {}};
  ::dl_iterate_phdr(platform::compareModule, &search);
  if (!search.path.empty()) return platform::LentModules::instance().lend(search.path);
  SetLastError(ERROR_MOD_NOT_FOUND);
  return nullptr;
}

FARPROC GetProcAddress(HMODULE module, const char* name) {
  const std::string path = platform::LentModules::instance().pathOf(module);
  // Held only for the look-up: whoever loaded the library decides how long it stays.
  void* const library = path.empty() ? nullptr : ::dlopen(path.c_str(), RTLD_LAZY | RTLD_NOLOAD);
  if (library == nullptr) {
    SetLastError(ERROR_INVALID_HANDLE);
    return nullptr;
  }
  void* const function = name != nullptr ? ::dlsym(library, name) : nullptr;
  ::dlclose(library);
  if (function == nullptr) SetLastError(ERROR_PROC_NOT_FOUND);
  return reinterpret_cast<FARPROC>(function);
}
