// Steps that both directions of bringing directories in step share.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "zephor/FileTransfer.h"

namespace Quorvel::FileAccess {

/// Of the server's path numbers that of the local directory; any other stays. Null is no number.
int localNumberOf(const int* pathNr);

/// By the bare name of a file or of a directory.
/// @param filter  null excludes nothing
bool isExcluded(const WGO_FileFilter* filter, const std::wstring& name);
bool isDirectoryExcluded(const WGO_FileFilter* filter, const std::wstring& name);
/// Takes what a walk of a tree must not enter out of a listing of sub-directories.
void dropExcludedDirectories(const WGO_FileFilter* filter, std::vector<RemoteFileEntry>& directories);

/// An element of a list transfer.
InetFileInfo infoOf(const RemoteFileEntry& entry);

/// The local files of a directory that have to go up. What transfers leave beside a file (".part", ".upload") stays.
/// @return 0, or why the directory could not be read whole
DWORD newerFilesIn(const std::wstring& directory, const WGO_FileFilter* filter,
                   const std::vector<RemoteFileEntry>& onServer, std::vector<InetFileInfo>& files);

/// "Synchronizing: ..." with the directory.
std::wstring synchronizingText(const std::wstring& directory);

/// A progress bar that shows a text. @return empty when none is wanted, or there is no display for it
std::shared_ptr<IProgress> demandProgress(int wanted, const std::wstring& text);

/// The thread's last error, or `other` when there is none.
DWORD lastErrorOr(DWORD other);

}  // namespace Quorvel::FileAccess
