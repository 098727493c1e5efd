// Loaded modules: the three modules of error texts, which are built in, and resource libraries with strings.
#include <dlfcn.h>
#include <sys/stat.h>

#include <map>
#include <memory>
#include <mutex>
#include <string>

#include "platform/MessageTexts.h"
#include "platform/Messages.h"
#include "platform/Paths.h"
#include "platform/Text.h"

namespace platform {
namespace {

/// What stands behind an HMODULE.
class Module {
 public:
  explicit Module(std::span<const MessageText> texts) : texts_(texts) {}
  Module(void* library, const ResourceString* strings) : library_(library), strings_(strings) {}
  ~Module() {
    if (library_ != nullptr) ::dlclose(library_);
  }
  Module(const Module&) = delete;
  Module& operator=(const Module&) = delete;

  std::span<const MessageText> texts() const { return texts_; }

  /// @return null when there is none
  const char* findString(UINT id) const {
    for (const ResourceString* string = strings_; string != nullptr && string->utf8Text != nullptr; ++string) {
      if (string->id == id) return string->utf8Text;
    }
    return nullptr;
  }

 private:
  std::span<const MessageText> texts_;
  void* library_ = nullptr;
  const ResourceString* strings_ = nullptr;
};

/// Each load gives a handle of its own; a module that is freed while another thread reads it ends with that reader.
class ModuleTable {
 public:
  static ModuleTable& instance() {
    static auto* const table = new ModuleTable;
    return *table;
  }

  HMODULE insert(std::shared_ptr<const Module> module) {
    const std::scoped_lock lock(mutex_);
    HMODULE handle = const_cast<Module*>(module.get());
    modules_.emplace(handle, std::move(module));
    return handle;
  }

  std::shared_ptr<const Module> find(HMODULE handle) {
    const std::scoped_lock lock(mutex_);
    const auto found = modules_.find(handle);
    return found != modules_.end() ? found->second : nullptr;
  }

  bool remove(HMODULE handle) {
    std::shared_ptr<const Module> ending;  // outlives the lock: closing a library runs its code
    const std::scoped_lock lock(mutex_);
    const auto found = modules_.find(handle);
    if (found == modules_.end()) return false;
    ending = std::move(found->second);
    modules_.erase(found);
    return true;
  }

 private:
  std::mutex mutex_;
  std::map<HMODULE, std::shared_ptr<const Module>> modules_;
};

std::shared_ptr<const Module> openMessageModule(std::wstring_view name) {
  if (equalsIgnoreCase(name, L"netmsg.dll")) return std::make_shared<Module>(networkMessageTexts());
  if (equalsIgnoreCase(name, L"wininet.dll")) return std::make_shared<Module>(internetMessageTexts());
  if (equalsIgnoreCase(name, L"winhttp.dll")) return std::make_shared<Module>(internetMessageTexts());
  return nullptr;
}

std::shared_ptr<const Module> openResourceLibrary(const std::wstring& path) {
  // Only a file that stands at its path: a bare name would make the loader search the system's libraries.
  const std::string file = systemPath(path);
  struct stat status {};
  if (file.empty() || file.front() != '/' || ::stat(file.c_str(), &status) != 0 || !S_ISREG(status.st_mode)) {
    return nullptr;
  }
  void* const library = ::dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL);
  if (library == nullptr) return nullptr;
  const auto* const strings = static_cast<const ResourceString*>(::dlsym(library, "zephorResourceStrings"));
  if (strings == nullptr) {
    ::dlclose(library);
    return nullptr;
  }
  return std::make_shared<Module>(library, strings);
}

}  // namespace

bool messageTextsOf(HMODULE module, std::span<const MessageText>& texts) {
  const auto found = ModuleTable::instance().find(module);
  if (!found) return false;
  texts = found->texts();  // in the program's own constants, whatever becomes of the module
  return true;
}

}  // namespace platform

HMODULE LoadLibraryW(const wchar_t* path) {
  return LoadLibraryExW(path, nullptr, 0);
}

HMODULE LoadLibraryExW(const wchar_t* path, HANDLE /*reserved*/, DWORD /*flags*/) {
  std::shared_ptr<const platform::Module> module;
  if (path != nullptr) module = platform::openMessageModule(path);
  if (path != nullptr && !module) module = platform::openResourceLibrary(path);
  if (!module) {
    SetLastError(ERROR_MOD_NOT_FOUND);
    return nullptr;
  }
  return platform::ModuleTable::instance().insert(std::move(module));
}

BOOL FreeLibrary(HMODULE module) {
  if (platform::ModuleTable::instance().remove(module)) return TRUE;
  SetLastError(ERROR_INVALID_HANDLE);
  return FALSE;
}

int LoadStringW(HINSTANCE module, UINT id, wchar_t* buffer, int size) {
  if (buffer == nullptr || size <= 0) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return 0;
  }
  buffer[0] = L'\0';
  const auto found = platform::ModuleTable::instance().find(module);
  const char* const utf8Text = found ? found->findString(id) : nullptr;
  if (utf8Text == nullptr) {
    SetLastError(ERROR_RESOURCE_NAME_NOT_FOUND);
    return 0;
  }
  const std::wstring text = platform::fromUtf8(utf8Text);
  const std::size_t length = text.copy(buffer, static_cast<std::size_t>(size) - 1);
  buffer[length] = L'\0';
  return static_cast<int>(length);
}
