// What a workstation's settings.json says, as checked values.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "platform/Text.h"
#include "workstation/Servers.h"
#include "workstation/Session.h"

namespace workstation {

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
  ServerMap servers;
  ProjectReference lastProject;
  std::vector<ProjectReference> recentProjects;  ///< the latest first
};

}  // namespace workstation
