// What a path on a server stands for: a file, files by a pattern, or a directory.
#pragma once

#include <string>
#include <vector>

#include "workstation/program/ServerPaths.h"
#include "zephor/FileTransfer.h"

namespace workstation::program {

class ServerSession;

/// Reads a path that a user gives, see parseServerPath. Throws CommandFailure.
ServerPath serverPathArgument(const std::string& argument);
/// The files of a directory that a path names; its last part may hold `*` and `?`. A directory is none of them.
/// @return 0 or the error; 3 when the directory is not there
unsigned long findServerFiles(const ServerSession& session, const ServerPath& path,
                              std::vector<Quorvel::FileAccess::RemoteFileEntry>& out);
/// True when a file of exactly this name is there.
bool isServerFile(const ServerSession& session, const ServerPath& path);
bool isServerDirectory(const ServerSession& session, const ServerPath& path);

}  // namespace workstation::program
