// One workstation in this process: where it keeps its things, who works at it, which store it is connected to, which
// project is open. Everything of the host is set up by start() and torn down by finish(), on the main thread.
#pragma once

#include <memory>
#include <string>

#include "host/Cloud.h"
#include "host/Project.h"
#include "workstation/Export.h"

namespace workstation {

struct StartOptions {
  /// Directory of the workstation (a path of the system): `config`, `data`, `log` below it. Empty: the user's XDG
  /// directories.
  std::string directory;
  /// Store directory for this run; empty: as configured.
  std::string storeDirectory;
  /// Language short code for this run; empty: as configured, otherwise from the locale.
  std::string language;
  /// Batch run: the host forbids any dialog.
  bool deny = false;
  int traceLevel = -1;  ///< -1: as configured
};

/// @return false with a text that names what is wrong and what to do; nothing is then set up
WORKSTATION_API bool start(const StartOptions& options, std::wstring& error);
WORKSTATION_API void finish();
WORKSTATION_API bool isStarted();

/// The person who works here, as the store knows them.
struct Identity {
  CloudUser user;
  std::wstring workstationName;
  std::wstring workstationId;  ///< a GUID made with the workstation; tells two workstations of one user apart
};
WORKSTATION_API const Identity& identity();

/// What a workstation keeps in its settings beside the per-user numbers.
struct WorkstationConfiguration {
  std::string storeDirectory;
  Identity identity;
  std::string language;  ///< "en" or "de"; empty: from the locale
  unsigned codePage = 1252;
};
/// Makes a workstation's configuration in `directory` (as StartOptions::directory); an existing one is only replaced
/// with `replace`.
WORKSTATION_API bool writeConfiguration(const std::string& directory, const WorkstationConfiguration& configuration,
                                        bool replace, std::wstring& error);
WORKSTATION_API bool readConfiguration(const std::string& directory, WorkstationConfiguration& out,
                                       std::wstring& error);

/// Makes the descriptor and the directory of a cloud project if they are missing and makes it the open project of this
/// process and of the workstation's next start.
/// @param nameOrUuid  a project of the store that this user is a member of; "team/name" where a name alone is ambiguous
WORKSTATION_API bool openProject(const std::wstring& nameOrUuid, std::wstring& error);
/// The same for this process alone: what was open last stays noted, so that a process that looks at one project takes
/// nobody out of another.
WORKSTATION_API bool openProjectForRun(const std::wstring& nameOrUuid, std::wstring& error);
/// Makes the cache that lies on this workstation the open project of this process alone. The store is not asked, which
/// may be out of reach or know this user no more, and nothing is made or written.
/// @param uuid  empty: of the project that was open last
/// @return false when there is no such directory
WORKSTATION_API bool openCache(const std::wstring& uuid, std::wstring& error);
/// Keeps every other process of this workstation from opening the project that is open here, until it is let go.
/// @return null with a text when one has it open
WORKSTATION_API std::shared_ptr<void> takeProjectAlone(std::wstring& error);
/// UUID of a project of the store that this user is a member of, as openProject finds it.
WORKSTATION_API bool findProjectUuid(const std::wstring& nameOrUuid, std::wstring& uuid, std::wstring& error);
/// Whether this names the project that was open last. The store is not asked.
WORKSTATION_API bool isLastProject(const std::wstring& nameOrUuid);
/// Opens what was open last. @return false with an empty text when there is none
WORKSTATION_API bool reopenLastProject(std::wstring& error);
/// Closes the project, with all that is open of it in the core.
WORKSTATION_API void closeProject();
/// Makes the next start open nothing. The store is not asked.
/// @param name  of the project that was open last; empty when there was none
WORKSTATION_API bool forgetLastProject(std::wstring& name, std::wstring& error);
/// Takes a project from the list of recent ones, and from the next start where it was open last.
WORKSTATION_API bool forgetProject(const std::wstring& uuid, std::wstring& error);

/// Replaces the controllers that the library is given; null brings the embedded ones back. For start-up and for tests
/// of faults.
WORKSTATION_API void setCloudController(ICloudController* controller);

}  // namespace workstation
