// The session on an FTP server: one configuration for the process, one set of data for each thread that works with it.
//
// A thread gets its data when it first asks and keeps them until releaseThreadData; a thread that ends without that
// call leaves them behind.
#pragma once

#include "ftp/RemoteConfiguration.h"
#include "platform/WindowsTypes.h"

namespace Quorvel::FileAccess {

class RemoteFtp {
 public:
  RemoteFtp();
  ~RemoteFtp();
  RemoteFtp(const RemoteFtp&) = delete;
  RemoteFtp& operator=(const RemoteFtp&) = delete;

  RemoteConfiguration& configuration() { return configuration_; }

  bool getDialogsSuppressed() const;
  void setDialogsSuppressed(bool suppressed);
  HWND getParentWindow() const;
  void setParentWindow(HWND window);
  /// Ends the calling thread's connection; its data stay.
  void closeConnection();
  /// Ends the calling thread's connection and frees its data.
  void releaseThreadData();

 private:
  struct ThreadData;
  ThreadData* find() const;
  ThreadData& demand(const wchar_t* function);

  RemoteConfiguration configuration_;
  DWORD slot_;
};

}  // namespace Quorvel::FileAccess
