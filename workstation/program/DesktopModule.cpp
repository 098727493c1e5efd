#include "workstation/program/DesktopModule.h"

#include <dlfcn.h>

#include <cstdlib>

#include "workstation/desktop/Desktop.h"

namespace workstation::program {
namespace {

constexpr const char* kModule = "libzephor_desktop.so";

/// Stays loaded: the toolkit can't be taken out of a process. @return null with the reason in `error`
void* entry(const char* name, std::string& error) {
  void* const module = ::dlopen(kModule, RTLD_NOW | RTLD_LOCAL);
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
