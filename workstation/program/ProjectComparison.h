// The open project's directory beside the store: one walk over the files here, one listing of the store, and what this
// workstation remembers of both. Nothing is opened, and nothing is asked file by file, so that a look at a project in
// which nothing has happened stays cheap however large it is.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "workstation/program/ObjectState.h"
#include "workstation/store/CacheRecord.h"
#include "workstation/store/CloudStore.h"

namespace workstation::program {

class Context;

/// A file with what its two sides tell without being opened.
struct ComparedFile {
  /// Relative to the project, with backslashes; as the disk spells it, or the store where it is not on the disk.
  std::wstring name;
  FileContent here;                 ///< without hash; not known when there is none
  std::optional<StoredFile> store;  ///< nothing when the store has none
  bool hasTwin = false;             ///< another file here has this name but for letter case
  /// What the base keeps of the store's side; nothing for an object whose header the store can't tell, which counts as
  /// different.
  std::optional<VersionStamp> storeStamp;
};

struct ProjectComparison {
  std::wstring projectUuid;
  std::wstring directory;   ///< library path, without a backslash at its end
  bool isWhole = false;     ///< a load has gone through to its end since the directory was made
  std::uint64_t files = 0;  ///< here, without the workstation's own
  std::uint64_t bytes = 0;
  /// One side lacks it, or size or time differ. What is only here and no upload takes is not told. By name.
  std::vector<ComparedFile> differing;
  /// The same on both sides, but the base (SyncBase) does not say so.
  std::vector<ComparedFile> unrecorded;
  /// Keys of the base of which neither side has a file any more.
  std::vector<std::string> gone;
  /// Names here that no other workstation can hold, of files and of directories with all below them. They are told to
  /// the error log, and belong to no list above.
  std::vector<std::wstring> passedOver;
  std::uint64_t neverSent = 0;          ///< files only here that no upload takes, without the workstation's own
  std::vector<std::wstring> leftovers;  ///< of loads that were killed; see clearLeftover()
};

/// Throws CommandFailure when the directory, the store or the base can't be read to the end: what was not seen must not
/// count as gone.
ProjectComparison compareProject(Context& context);

/// Takes away what killed loads have left in the open project. What may be somebody's work goes to the project's
/// backup directory, and is told with a line. The project's guard is held by the caller.
/// @return how many went there
std::size_t rescueLeftovers(Context& context);
std::size_t rescueLeftovers(Context& context, const ProjectComparison& comparison);
/// One line on the files here that are never sent, if there are any.
void tellNeverSent(const Context& context, const ProjectComparison& comparison);

/// Notes in the base, in one transaction, that these files (`unrecorded`) are the same on both sides. One that no
/// download has brought is read before: size and time alone prove nothing about it.
/// @return those that are not the same in spite of size and time, and those that were changed meanwhile
std::vector<ComparedFile> recordInStep(Context& context, const std::vector<ComparedFile>& files);

/// What a load has brought.
struct LoadedFiles {
  std::uint64_t files = 0;
  std::uint64_t bytes = 0;
  std::uint64_t left = 0;  ///< differ from the store's and stay: nobody knows which side is older
};

/// Brings by name what the store has and a cache that never had everything lacks, notes in the base what is the same
/// then, and marks the cache as whole. Nothing here is replaced but what an interrupted load has brought, and nothing
/// is taken away. One that was interrupted at any point is taken up.
/// @param loaded  may be null
/// @return false when the cache is whole already
/// Throws CommandFailure when a file could not be loaded; what came until then stays.
bool loadFreshCache(Context& context, LoadedFiles* loaded = nullptr);

/// Notes that all that the store has came by other roads: later loads only bring what is new.
void markCacheWhole(const ProjectComparison& comparison);

}  // namespace workstation::program
