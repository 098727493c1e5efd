#include "workstation/program/DesktopModule.h"

#include <dlfcn.h>

#include <cstdlib>
#include <filesystem>

#include "workstation/desktop/Desktop.h"

namespace workstation::program {
namespace {

constexpr const char* kModule = "libzephor_desktop.so";

/// Beside the program, or where a build puts it. By its path: the loader's own search begins at whoever calls it, which
/// with a sanitizer is not the program.
std::string modulePath() {
  namespace fs = std::filesystem;
  std::error_code error;
  const fs::path place = fs::read_symlink("/proc/self/exe", error).parent_path();
  for (const fs::path& path : {place / kModule, place / "../lib" / kModule}) {
    if (fs::exists(path, error)) return path.string();
  }
  return kModule;
}

/// Stays loaded: the toolkit can't be taken out of a process. @return null with the reason in `error`
void* entry(const char* name, std::string& error) {
  void* const module = ::dlopen(modulePath().c_str(), RTLD_NOW | RTLD_LOCAL);
  void* const found = module != nullptr ? ::dlsym(module, name) : nullptr;
  if (found == nullptr) {
    const char* const reason = ::dlerror();
    error = std::string("the windows are not installed (") + (reason != nullptr ? reason : kModule) +
            "); install Zephor's desktop part and Qt 6 Widgets (Debian: libqt6widgets6)";
  }
  return found;
}

bool isSet(const char* variable) {
  const char* const value = std::getenv(variable);
  return value != nullptr && *value != '\0';
}

}  // namespace

bool isDisplayThere() {
  return isSet("DISPLAY") || isSet("WAYLAND_DISPLAY");
}

bool isDesktopUsable(std::string& error) {
  auto* const look = reinterpret_cast<decltype(&zephor_desktop_usable)>(entry("zephor_desktop_usable", error));
  return look != nullptr && look(error);
}

std::unique_ptr<platform::IUserInterface> desktopInterface(std::string& error) {
  auto* const start = reinterpret_cast<decltype(&zephor_desktop_interface)>(entry("zephor_desktop_interface", error));
  return std::unique_ptr<platform::IUserInterface>(start != nullptr ? start(error) : nullptr);
}

int desktopWindow(const DesktopWindowOptions& options, std::string& error) {
  auto* const run = reinterpret_cast<decltype(&zephor_desktop_window)>(entry("zephor_desktop_window", error));
  return run != nullptr ? run(options, error) : -1;
}

}  // namespace workstation::program
