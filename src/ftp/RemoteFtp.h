// The session on an FTP server: one configuration for the process, one set of data for each thread that works with it.
//
// A thread gets its data when it first asks and keeps them until releaseThreadData; a thread that ends without that
// call leaves them behind. Without a slot of the system no thread has data: settings are dropped and read as unset.
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
  /// The calling thread's data, made when it has none. @return null when the system has no slot left
  ThreadData* demand(const wchar_t* function);

  RemoteConfiguration configuration_;
  DWORD slot_;
};

}  // namespace Quorvel::FileAccess
