// Work that goes on by itself: what happens to each change in the directory of the open cloud project, and in the cache
// of its resource container.
//
// A host that watches these directories hands every change to the callback, from any thread, several at once. Files
// that the background upload serves go up on a thread of their own each, half a second after their first notice, or at
// once after the second; what is removed is deleted on the server. Changes in the container's cache are gathered and
// committed together. All other changes go back to the host by ltbproC_updateDirChanges, and so does what could not be
// uploaded or deleted while its project is open. Nothing here shows anything to the user:
// "OndrathBackgroundService.log.xml" in the project's directory tells what was done. docs/background-uploads.md tells
// the life of one upload.
#pragma once

#include <cstddef>
#include <string>

#include "zephor/Export.h"

namespace Quorvel::FileAccess {

/// What a host calls for each change.
using WGO_ChangesCallback = void (*)(const std::wstring& fullPath, unsigned long action);

/// Takes one change. Does nothing unless a cloud project is open. It does not ask whether the manager runs: the host
/// asks WGO_IsBackgroundChangesManagerRunning before it calls. The first notice for a file pauses its caller for 100
/// ms.
/// @param fullPath  with backslashes
/// @param action  1 added, 2 removed, 3 modified; others do nothing for files that are served here
ZEPHOR_API void WGO_callbackManageChanges(const std::wstring& fullPath, unsigned long action);
ZEPHOR_API WGO_ChangesCallback WGO_callbackManageChangesFkt();

/// Starts or stops the manager. Not from several threads at once.
///
/// A start empties the log. A stop ends the collector, which commits what it has gathered before, for which the project
/// has to be open still, and is a std::logic_error on its own thread. Threads that upload or delete go on until they
/// are done.
/// @param withCollector  at a start: gathers changes of the container's cache. Starting it while it runs is a
///                       std::logic_error
ZEPHOR_API void WGO_SetBackgroundChangesManagerRunning(bool running, bool withCollector);
ZEPHOR_API bool WGO_IsBackgroundChangesManagerRunning();

/// The same for the container of a project that is not in the cloud: takes changes below its cache, ignores others.
ZEPHOR_API void WGO_callbackManageChangesCORForWG(const std::wstring& fullPath, unsigned long action);
ZEPHOR_API WGO_ChangesCallback WGO_callbackManageChangesCORForWGFkt();

/// Uploads and deletions that are on their way: a host that ends waits until there is none, or leaves them behind.
struct WGO_BackgroundWork {
  std::size_t uploads = 0;
  std::size_t deletions = 0;
  std::size_t collected = 0;  ///< changes of the container that are not committed yet
};
ZEPHOR_API WGO_BackgroundWork WGO_GetBackgroundWork();

}  // namespace Quorvel::FileAccess
