#include "workstation/SessionDirectories.h"

#include <cstdlib>
#include <filesystem>

#include "platform/Paths.h"
#include "platform/Text.h"

namespace workstation {
namespace {

/// Directory of an XDG variable with its place below the home directory; empty when neither is an absolute path.
std::string userDirectory(const char* variable, const char* belowHome) {
  const char* const value = std::getenv(variable);
  if (value != nullptr && *value == '/') return std::string(value) + "/zephor";
  const char* const home = std::getenv("HOME");
  if (home == nullptr || *home != '/') return {};
  return std::string(home) + "/" + belowHome + "/zephor";
}

}  // namespace

bool findDirectories(const std::string& directory, Directories& out, std::wstring& error) {
  if (directory.empty()) {
    out.configuration = userDirectory("XDG_CONFIG_HOME", ".config");
    out.data = userDirectory("XDG_DATA_HOME", ".local/share");
    out.logs = userDirectory("XDG_STATE_HOME", ".local/state");
    if (!out.configuration.empty() && !out.data.empty() && !out.logs.empty()) return true;
    error = L"There is no place for a workstation: expected an absolute path in HOME, or the directory of one.";
    return false;
  }
  std::error_code problem;
  const std::filesystem::path root = std::filesystem::absolute(directory, problem).lexically_normal();
  if (problem || !platform::isValidUtf8(root.string()) || root.string().find('\\') != std::string::npos) {
    error = platform::formatWide(L"%s: expected a directory with a name in UTF-8 and without a backslash",
                                 platform::fromUtf8(directory));
    return false;
  }
  out.configuration = (root / "config").string();
  out.data = (root / "data").string();
  out.logs = (root / "log").string();
  return true;
}

std::wstring settingsPath(const Directories& directories) {
  return platform::joinPath(platform::libraryPath(directories.configuration), L"settings.json");
}

}  // namespace workstation
