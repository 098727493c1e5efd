// Sending what is newer in a local tree of directories.
//
// A walk of the server's tree tells which directories it has, and which of them have something to get. What goes up is
// settled directory by directory, by a fresh listing just before the uploads: the walk may be an hour old by then, it
// may have passed over a directory, and what a colleague sent meanwhile must not be written over.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "zephor/FileTransfer.h"

namespace Quorvel::FileAccess {

class CZepFtpConnection;

class TreeSync {
 public:
  struct Roots {
    std::wstring local;
    std::wstring server;
    std::wstring directory;  ///< both, below the path number
    int pathNr;
  };
  /// @param progress  may be null; counts the new directories
  TreeSync(CZepFtpConnection& connection, Roots roots, const WGO_FileFilter* filter, IProgress* progress);

  /// Lists both sides. @return 0, or why one can't be listed
  DWORD list(bool recursive);
  /// Sends directory by directory: those that the server has first, then the new ones.
  /// @return the first error of a directory or of an upload, or 0
  DWORD send();

 private:
  bool hasNewerFiles(const std::wstring& relative, const std::vector<RemoteFileEntry>& onServer) const;
  void sendNew(const std::wstring& relative);
  /// Sends what is newer by a listing of now. The directory is there.
  void bringInStep(const std::wstring& relative);
  void keep(DWORD error);

  CZepFtpConnection& connection_;
  Roots roots_;
  const WGO_FileFilter* filter_;
  IProgress* progress_;
  /// Local directories in list order, relative and separated by `/`; the first is the root itself.
  std::vector<std::wstring> directories_;
  /// The server's directories, and whether something had to go into each when it was listed.
  std::map<std::wstring, bool> known_;
  DWORD firstError_ = 0;
};

}  // namespace Quorvel::FileAccess
