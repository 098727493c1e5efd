// What a connection needs to know, and every primitive that the file operations are made of.
//
// One record serves all threads: the texts change only when the manager is initialised, on the host's main thread, and
// what threads write meanwhile is atomic. Each primitive works on the calling thread's own connection.
#pragma once

#include <atomic>
#include <cstdint>
#include <string>
#include <vector>

#include "platform/WindowsTypes.h"

class CServerProperties;

namespace Quorvel::FileAccess {

class CkByteData;
struct RemoteFileEntry;

enum class RemoteConnectionType : std::int32_t { NotSet = 0, Ftp = 1, FtpExplicitTls = 2, Ftps = 3 };

/// How a primitive ended; all zero is success.
struct RemoteStatus {
  bool retry = false;     ///< repeat the whole sequence of steps
  bool failed = false;    ///< give up
  bool finished = false;  ///< stop, though nothing failed
  DWORD error = 0;        ///< Windows-style; may be 0 beside `failed`

  bool isSuccess() const { return !retry && !failed; }
};

/// State of one operation's retries. It lives on the operation's stack.
struct RemoteRetryContext {
  bool logErrors = false;
  bool interactive = false;
  std::int32_t retriesLeft = 0;
  std::int32_t retriesAllowed = 0;
  bool reconnected = false;  ///< the session was already closed once in this operation
};

class RemoteConfiguration {
 public:
  RemoteConfiguration() = default;
  virtual ~RemoteConfiguration() = default;
  RemoteConfiguration(const RemoteConfiguration&) = delete;
  RemoteConfiguration& operator=(const RemoteConfiguration&) = delete;

  // Of the calling thread.
  virtual bool getDialogsSuppressed() const = 0;
  virtual void setDialogsSuppressed(bool suppressed) = 0;
  virtual void setParentWindow(HWND window) = 0;
  virtual HWND getParentWindow() const = 0;
  /// Ends the calling thread's connection; its data stay.
  virtual void closeConnection() = 0;
  /// Ends the calling thread's connection and frees its data.
  virtual void releaseThreadData() = 0;

  virtual RemoteStatus enableConnection(RemoteRetryContext& context) = 0;
  virtual RemoteStatus changeDirectory(RemoteRetryContext& context, const std::wstring& directory) = 0;
  virtual RemoteStatus downloadFile(RemoteRetryContext& context, const std::wstring& remoteName,
                                    const std::wstring& localPath) = 0;
  virtual RemoteStatus uploadFile(RemoteRetryContext& context, const std::wstring& localPath,
                                  const std::wstring& remoteName) = 0;
  virtual RemoteStatus getFileNames(RemoteRetryContext& context, const std::wstring& pattern,
                                    std::vector<std::wstring>& out) = 0;
  virtual RemoteStatus getFileInfos(RemoteRetryContext& context, const std::wstring& pattern,
                                    std::vector<RemoteFileEntry>& out) = 0;
  virtual RemoteStatus getConnectionFile(RemoteRetryContext& context, const std::wstring& name,
                                         RemoteFileEntry& out) = 0;
  virtual RemoteStatus remoteFileExists(RemoteRetryContext& context, const std::wstring& name, bool& found) = 0;
  virtual RemoteStatus getDirectoryInfos(RemoteRetryContext& context, std::vector<RemoteFileEntry>& out) = 0;
  virtual RemoteStatus getDirectoryNames(RemoteRetryContext& context, std::vector<std::wstring>& out) = 0;
  /// @param size  bytes wanted; with kWholeFile and offset 0 the whole file
  /// @param receivedOffset  where in `data` the wanted bytes begin
  virtual RemoteStatus readFilePart(RemoteRetryContext& context, const std::wstring& remoteName, std::int64_t offset,
                                    std::int64_t size, CkByteData& data, std::int64_t& receivedOffset,
                                    std::int64_t& receivedSize) = 0;
  virtual RemoteStatus uploadData(RemoteRetryContext& context, const CkByteData& data, const std::wstring& remoteName,
                                  std::int32_t bufferSize) = 0;
  /// A file that is not there is success.
  virtual RemoteStatus deleteFile(RemoteRetryContext& context, const std::wstring& name) = 0;
  virtual RemoteStatus createDirectory(RemoteRetryContext& context, const std::wstring& path) = 0;
  virtual RemoteStatus renameFile(RemoteRetryContext& context, const std::wstring& oldName,
                                  const std::wstring& newName) = 0;
  virtual RemoteStatus deleteDirectory(RemoteRetryContext& context, const std::wstring& path) = 0;

  static constexpr std::int64_t kWholeFile = -1;

  /// Takes a server's properties over. Limits are cut to whole seconds.
  /// @return true when the host name is another one than before
  bool take(const CServerProperties& properties);

  std::wstring hostName;  ///< empty: the server is a plain directory
  std::wstring userName;
  std::wstring password;
  std::wstring trustedCertificates;  ///< PEM file beside the system's store; empty for none
  std::int32_t epsvMode = 2;         ///< 0 off, 1 on, 2 the client's choice
  std::int32_t readTimeoutSeconds = 0;
  std::int32_t connectTimeoutSeconds = 0;
  std::atomic<RemoteConnectionType> connectionType = RemoteConnectionType::NotSet;
  /// The next thread that asks for its connection connects anew.
  std::atomic<bool> reconnectRequired = false;
  std::atomic<std::int64_t> bytesTransferred = 0;  ///< of the last transfer, whichever thread ran it
};

/// NotSet for a protocol other than "FTP" and "FTPS".
RemoteConnectionType connectionTypeOf(const std::wstring& protocol, bool explicitTls);

}  // namespace Quorvel::FileAccess
