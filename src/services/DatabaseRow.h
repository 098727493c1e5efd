// The project database's row of an object that has just come from the server.
#pragma once

namespace Quorvel::FileAccess {

/// Refreshes the open project's row from the object's file, and tells the selection list the version of a Teilbild. A
/// database on a server keeps its rows itself; a header that can't be read leaves the row as it was.
/// @param fileType  0, 28 or 33
void noteDownloadedObject(int number, int fileType);

}  // namespace Quorvel::FileAccess
