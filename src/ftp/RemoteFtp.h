// The session on a server: one configuration for the process, one connection for each thread that works with it.
//
// A thread gets its data when it first asks and keeps them until releaseThreadData; a thread that ends without that
// call leaves them behind, with its connection. Without a slot of the system no thread has data: settings are dropped
// and read as unset. Where the configuration names no host the server is a plain directory, which is reached through
// the same operations.
#pragma once

#include "ftp/RemoteConfiguration.h"
#include "platform/WindowsTypes.h"

namespace Quorvel::FileAccess {

class RemoteFtp final : public RemoteConfiguration {
 public:
  RemoteFtp();
  ~RemoteFtp() override;

  bool getDialogsSuppressed() const override;
  void setDialogsSuppressed(bool suppressed) override;
  void setParentWindow(HWND window) override;
  HWND getParentWindow() const override;
  void closeConnection() override;
  void releaseThreadData() override;

  RemoteStatus enableConnection(RemoteRetryContext& context) override;
  RemoteStatus changeDirectory(RemoteRetryContext& context, const std::wstring& directory) override;
  RemoteStatus downloadFile(RemoteRetryContext& context, const std::wstring& remoteName,
                            const std::wstring& localPath) override;
  RemoteStatus uploadFile(RemoteRetryContext& context, const std::wstring& localPath,
                          const std::wstring& remoteName) override;
  RemoteStatus getFileNames(RemoteRetryContext& context, const std::wstring& pattern,
                            std::vector<std::wstring>& out) override;
  RemoteStatus getFileInfos(RemoteRetryContext& context, const std::wstring& pattern,
                            std::vector<RemoteFileEntry>& out) override;
  RemoteStatus getConnectionFile(RemoteRetryContext& context, const std::wstring& name, RemoteFileEntry& out) override;
  RemoteStatus remoteFileExists(RemoteRetryContext& context, const std::wstring& name, bool& found) override;
  RemoteStatus getDirectoryInfos(RemoteRetryContext& context, std::vector<RemoteFileEntry>& out) override;
  RemoteStatus getDirectoryNames(RemoteRetryContext& context, std::vector<std::wstring>& out) override;
  RemoteStatus readFilePart(RemoteRetryContext& context, const std::wstring& remoteName, std::int64_t offset,
                            std::int64_t size, CkByteData& data, std::int64_t& receivedOffset,
                            std::int64_t& receivedSize) override;
  RemoteStatus uploadData(RemoteRetryContext& context, const CkByteData& data, const std::wstring& remoteName,
                          std::int32_t bufferSize) override;
  RemoteStatus deleteFile(RemoteRetryContext& context, const std::wstring& name) override;
  RemoteStatus createDirectory(RemoteRetryContext& context, const std::wstring& path) override;
  RemoteStatus renameFile(RemoteRetryContext& context, const std::wstring& oldName,
                          const std::wstring& newName) override;
  RemoteStatus deleteDirectory(RemoteRetryContext& context, const std::wstring& path) override;

 private:
  struct ThreadData;
  ThreadData* find() const;
  /// The calling thread's data, made when it has none. @return null when the system has no slot left
  ThreadData* demand(const wchar_t* function);

  DWORD slot_;
};

}  // namespace Quorvel::FileAccess
