// What a workstation's settings.json says, as checked values.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "platform/Text.h"
#include "workstation/Session.h"

namespace workstation {

/// Orders names that are the same in any letter case as one.
struct IgnoreCaseLess {
  bool operator()(const std::wstring& a, const std::wstring& b) const { return _wcsicmp(a.c_str(), b.c_str()) < 0; }
};

/// A server of the older store.
struct ServerSettings {
  bool isDirectory = false;  ///< a plain directory, `baseDirectory`, in the place of a server
  std::wstring description;
  std::wstring hostName;
  std::wstring protocol;  ///< "FTP" or "FTPS"
  std::wstring userName;
  std::wstring password;
  std::wstring baseDirectory;
  bool explicitTls = false;
  int epsvMode = 2;
  int connectLimitMilliseconds = 0;
  int readLimitMilliseconds = 0;
};

/// A project by its place on this workstation.
struct ProjectReference {
  std::wstring host;
  std::wstring directoryName;
  std::wstring name;

  bool isSet() const { return !directoryName.empty(); }
  /// The same project, whatever it is called.
  bool isSamePlace(const ProjectReference& other) const {
    return platform::equalsIgnoreCase(host, other.host) &&
           platform::equalsIgnoreCase(directoryName, other.directoryName);
  }
};

constexpr std::size_t kLongestRecentList = 10;

struct SettingsValues {
  std::string storeDirectory;  ///< a path of the system; empty: no store
  Identity identity;
  std::string language;
  unsigned codePage = 1252;
  std::map<std::wstring, int, IgnoreCaseLess> numbers;              ///< the hive "HKCU"
  std::map<std::wstring, std::wstring, IgnoreCaseLess> setupPaths;  ///< those that differ from the built-in ones
  std::map<std::wstring, ServerSettings, IgnoreCaseLess> servers;
  ProjectReference lastProject;
  std::vector<ProjectReference> recentProjects;  ///< the latest first
};

}  // namespace workstation
