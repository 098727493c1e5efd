// What this process knows of its workstation: one record, reached through one function. The rooms of the host ask the
// operations of host/; this record is for those who implement them.
#pragma once

#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "host/Project.h"
#include "host/Users.h"
#include "workstation/Session.h"
#include "workstation/projects/DirChanges.h"
#include "workstation/system/SettingsFile.h"

namespace workstation {

/// Where a workstation keeps its things, as paths of the system.
struct Directories {
  std::string configuration;
  std::string data;
  std::string logs;
};

/// `mutex` guards everything behind it; no call leaves the room while it is held.
struct HostState {
  // Set by start() and finish() on the main thread, while no other thread works.
  bool started = false;
  Directories directories;
  std::unique_ptr<SettingsFile> settings;
  Identity identity;
  std::string storeDirectory;
  int traceLevel = -1;  ///< of this run; -1: as configured

  std::mutex mutex;
  /// Per-user numbers that settings.json could not take; for this process they stand before those of the file.
  std::map<std::wstring, int, IgnoreCaseLess> unsavedNumbers;
  // What this run puts in the place of the settings.
  std::map<std::wstring, int, IgnoreCaseLess> numbersOfRun;
  std::map<std::wstring, std::wstring, IgnoreCaseLess> hostDirectories;
  std::map<std::wstring, std::wstring, IgnoreCaseLess> serverPasswords;
  std::wstring currentServer;
  std::wstring corPath;
  std::map<int, std::wstring> paths;  ///< path numbers that were set, each with its backslash
  PRJ activeProject;
  std::wstring userDirectory;  ///< where `users` was read from
  std::vector<QuorvelUser> users;
  std::map<int, PRJ> temporaryUnits;
  int nextUnit = 0;
  std::deque<DirectoryChange> directoryChanges;
  std::map<int, void*> openFiles;
  int nextFile = 1;
  std::shared_ptr<void> projectMark;  ///< tells other processes of the workstation that the project is open here
};

HostState& hostState();

/// The settings as they stand; built-in values before start(). Never null.
std::shared_ptr<const SettingsValues> settings();

/// Changes the settings; a failure goes to the error log.
bool changeSettings(const std::function<void(SettingsValues&)>& edit);

/// A per-user number, if it is set.
std::optional<int> settingsNumber(const std::wstring& key);
/// The same, or `fallback`.
int settingsNumber(const wchar_t* key, int fallback);

/// Sets a per-user number. One that can't be written is remembered until the process ends, which the error log tells
/// once. @return false before start()
bool setSettingsNumber(const std::wstring& key, int value);

}  // namespace workstation
