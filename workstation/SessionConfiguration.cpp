// Making and reading the configuration of a workstation that is not started.

#include <filesystem>
#include <fstream>

#include "host/Guid.h"
#include "platform/Files.h"
#include "platform/Text.h"
#include "workstation/Session.h"
#include "workstation/SessionDirectories.h"
#include "workstation/system/SettingsFile.h"

using Quorvel::Cad::Service::ZP_GUIDValueProvider;

namespace workstation {
namespace {

constexpr std::size_t kLongestUuid = 36;

bool isPlainText(const std::wstring& text) {
  for (const wchar_t c : text) {
    if (c < 0x20 || c == 0x7F) return false;
  }
  return true;
}

std::wstring machineName() {
  std::ifstream stream("/proc/sys/kernel/hostname");
  std::string name;
  std::getline(stream, name);
  return name.empty() ? std::wstring(L"workstation") : platform::fromUtf8(name);
}

/// @return what is wrong, empty when nothing is
std::wstring findFault(const WorkstationConfiguration& configuration) {
  const Identity& identity = configuration.identity;
  const CloudUser& user = identity.user;
  if (user.name.empty()) return L"the name of the user is missing";
  for (const std::wstring& text :
       {user.name, user.email, user.uuid, identity.workstationName, identity.workstationId}) {
    if (!isPlainText(text)) return L"expected texts without control characters for the user and the workstation";
  }
  if (user.uuid.size() > kLongestUuid) return L"expected at most 36 characters in the user's UUID";
  if (!configuration.language.empty() && configuration.language != "en" && configuration.language != "de") {
    return L"expected \"en\" or \"de\" as language";
  }
  if (configuration.codePage != 1252 && configuration.codePage != 28591 && configuration.codePage != 65001) {
    return L"expected 1252, 28591 or 65001 as code page";
  }
  if (!platform::isValidUtf8(configuration.storeDirectory)) return L"expected UTF-8 in the store's directory";
  return {};
}

SettingsValues toValues(const WorkstationConfiguration& configuration) {
  SettingsValues values;
  values.identity = configuration.identity;
  Identity& identity = values.identity;
  if (identity.user.uuid.empty()) identity.user.uuid = ZP_GUIDValueProvider::printGUID(GetGUID());
  if (identity.workstationId.empty()) identity.workstationId = ZP_GUIDValueProvider::printGUID(GetGUID());
  if (identity.workstationName.empty()) identity.workstationName = machineName();
  values.language = configuration.language;
  values.codePage = configuration.codePage;
  if (!configuration.storeDirectory.empty()) {
    std::error_code problem;
    const auto store = std::filesystem::absolute(configuration.storeDirectory, problem).lexically_normal();
    values.storeDirectory = problem ? configuration.storeDirectory : store.string();
  }
  return values;
}

}  // namespace

bool writeConfiguration(const std::string& directory, const WorkstationConfiguration& configuration, bool replace,
                        std::wstring& error) {
  error = findFault(configuration);
  if (!error.empty()) return false;
  Directories directories;
  if (!findDirectories(directory, directories, error)) return false;
  std::error_code problem;
  std::filesystem::create_directories(directories.configuration, problem);
  if (problem) {
    error = platform::formatWide(L"%s: the directory can't be made: %s", platform::fromUtf8(directories.configuration),
                                 platform::fromUtf8(problem.message()));
    return false;
  }
  return SettingsFile(settingsPath(directories)).create(toValues(configuration), replace, error);
}

bool readConfiguration(const std::string& directory, WorkstationConfiguration& out, std::wstring& error) {
  Directories directories;
  if (!findDirectories(directory, directories, error)) return false;
  SettingsFile file(settingsPath(directories));
  if (!platform::fileStatus(file.path()).exists) {
    error = platform::formatWide(
        L"%s: there is no workstation yet; make one: zephor init, or for servers alone: zephor server add",
        file.path());
    return false;
  }
  if (!file.load(error)) return false;
  const std::shared_ptr<const SettingsValues> values = file.values();
  out.storeDirectory = values->storeDirectory;
  out.identity = values->identity;
  out.language = values->language;
  out.codePage = values->codePage;
  return true;
}

}  // namespace workstation
