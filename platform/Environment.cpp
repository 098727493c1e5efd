#include <pwd.h>
#include <unistd.h>

#include <cstdlib>
#include <optional>
#include <string>
#include <vector>

#include "platform/Messages.h"
#include "platform/Paths.h"
#include "platform/Text.h"

namespace platform {
namespace {

/// A directory that the user's environment names; anything but an absolute path is as good as not set.
std::optional<std::string> directoryVariable(const char* name) {
  const char* const value = std::getenv(name);
  if (value == nullptr || *value != '/') return std::nullopt;
  return value;
}

std::optional<std::string> homeDirectory() {
  if (auto home = directoryVariable("HOME")) return home;
  constexpr std::size_t kRecordSize = std::size_t{16} * 1024;
  std::vector<char> buffer(kRecordSize);
  passwd record{};
  passwd* found = nullptr;
  if (::getpwuid_r(::getuid(), &record, buffer.data(), buffer.size(), &found) != 0 || found == nullptr) {
    return std::nullopt;
  }
  return found->pw_dir;
}

std::optional<std::string> configurationDirectory() {
  if (auto configured = directoryVariable("XDG_CONFIG_HOME")) return configured;
  const auto home = homeDirectory();
  if (!home) return std::nullopt;
  return *home + "/.config";
}

/// What stands for a directory variable of the Windows world that is not set.
std::optional<std::wstring> standIn(const std::wstring& name) {
  std::optional<std::string> directory;
  if (name == L"APPDATA") {
    directory = configurationDirectory();
  } else if (name == L"TEMP" || name == L"TMP") {
    directory = directoryVariable("TMPDIR").value_or("/tmp");
  }
  if (!directory) return std::nullopt;
  while (directory->size() > 1 && directory->back() == '/') directory->pop_back();
  return libraryPath(*directory);
}

std::optional<std::wstring> find(const wchar_t* name) {
  if (name == nullptr || *name == L'\0') return std::nullopt;
  const char* const value = std::getenv(toUtf8(name).c_str());
  if (value != nullptr) return fromUtf8(value);
  return standIn(name);
}

}  // namespace

std::wstring environment(const wchar_t* name) {
  return find(name).value_or(std::wstring());
}

}  // namespace platform

DWORD GetEnvironmentVariableW(const wchar_t* name, wchar_t* buffer, DWORD size) {
  const std::optional<std::wstring> value = platform::find(name);
  if (!value) {
    SetLastError(ERROR_ENVVAR_NOT_FOUND);
    return 0;
  }
  const auto length = static_cast<DWORD>(value->size());
  if (buffer == nullptr || length >= size) return length + 1;
  buffer[value->copy(buffer, length)] = L'\0';
  return length;
}
