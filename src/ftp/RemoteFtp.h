// The session on a server: one configuration for the process, one connection for each thread that works with it.
//
// A thread gets its data when it first asks and keeps them until releaseThreadData; a thread that ends without that
// call leaves them behind, with its connection. Without a slot of the system no thread has data: settings are dropped
// and read as unset, and there is no connection. Where the configuration names no host the server is a plain directory,
// which is reached through the same operations.
//
// Every primitive fails alike: the client's text goes to the error log when the context asks for it, then a retry is
// used up if one is left, then the user is asked, and what remains is the primitive's code, which is the thread's last
// error as well.
#pragma once

#include <atomic>
#include <mutex>

#include "ftp/ListingCache.h"
#include "ftp/RemoteClients.h"
#include "ftp/RemoteConfiguration.h"
#include "platform/WindowsTypes.h"

namespace Quorvel::FileAccess {

struct RemoteFailure;

class RemoteFtp final : public RemoteConfiguration {
 public:
  /// @param withListingCache  single files are looked up in a listing that is kept while the directory stays
  explicit RemoteFtp(bool withListingCache);
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

  /// Files and sub-directories of the current directory from one listing. Either may be null.
  /// @param namesOnly  sizes and times, which may cost a question each, are left empty
  RemoteStatus getEntries(RemoteRetryContext& context, const std::wstring& pattern, std::vector<RemoteFileEntry>* files,
                          std::vector<RemoteFileEntry>* directories, bool namesOnly = false);

  /// The calling thread's client; null when it has none.
  IRemoteClient* client() const;
  /// The calling thread's next change of directory asks the server.
  void doubtDirectory();
  /// A new upload begins on the calling thread.
  void forgetPart();
  /// True when the calling thread's upload failed after the server may have begun to replace its file, so that what is
  /// there now may be a part.
  bool mayHaveLeftPart() const;
  /// True when single files are looked up in a listing that may be older than they are.
  bool keepsListing() const { return listingCacheOn_; }
  /// The work directory goes to another one, told to the listing cache.
  void notifyDirectory(const std::wstring& directory);
  bool supportsRest() const { return supportsRest_; }
  /// True when this host refused TLS that was asked for, and the process has gone on in plain FTP since.
  bool isDowngraded() const;
  /// Keeps a downgrade of the configuration's host across an initialisation, which takes the type from the settings.
  void keepDowngrade();

  /// Puts clients of another kind in the place of the real ones. Before the first connection.
  void setClientMaker(RemoteClientMaker maker) { makeClient_ = std::move(maker); }

 private:
  struct ThreadData;
  ThreadData* find() const;
  /// The calling thread's data, made when it has none. @return null when the system has no slot left
  ThreadData* demand(const wchar_t* function);

  bool isConnectedToHost(const ThreadData& data) const;
  /// What was learnt of a host does not hold for the next one.
  void noteHost();
  void findFeatures(IRemoteClient& client);
  std::wstring featureText(IRemoteClient& client);
  /// @param type  what the connect was tried with
  RemoteStatus failedConnect(RemoteRetryContext& context, const IRemoteClient& client, RemoteConnectionType type);
  bool downgrade(std::int32_t reason, RemoteConnectionType type);
  bool mayAsk(const RemoteRetryContext& context) const;
  HMODULE resources();
  /// The common end of every primitive that failed. @param subject  what it was about, behind the text of the row
  RemoteStatus failed(RemoteRetryContext& context, const RemoteFailure& failure, const std::wstring& subject);

  /// "host/directory/name" for dialogs.
  std::wstring placeOf(const std::wstring& name) const;
  RemoteStatus goTo(RemoteRetryContext& context, const std::wstring& directory, const RemoteFailure& failure);
  RemoteStatus readWholeFile(RemoteRetryContext& context, const std::wstring& remoteName, CkByteData& data,
                             std::int64_t& receivedSize);
  RemoteStatus findInCache(RemoteRetryContext& context, const std::wstring& name, RemoteFileEntry& out);
  RemoteStatus fillCache(RemoteRetryContext& context);
  RemoteStatus findOnServer(RemoteRetryContext& context, const std::wstring& name, RemoteFileEntry& out);
  /// Time of an entry of the client's listing. @return false when it has none
  bool entryTime(IRemoteClient& client, std::int32_t index, FILETIME& time) const;
  bool isDirectoryStore() const { return hostName.empty(); }

  DWORD slot_;
  RemoteClientMaker makeClient_ = &makeRemoteClient;
  bool listingCacheOn_;
  ListingCache listingCache_;

  mutable std::mutex sessionMutex_;  ///< guards the members below it
  bool featuresRead_ = false;
  std::wstring featureText_;
  std::wstring host_;            ///< last one that a connection was made to
  std::wstring downgradedHost_;  ///< empty while there is none
  HMODULE resources_ = nullptr;

  std::atomic<bool> supportsRest_ = false;
  std::atomic<bool> restFailed_ = false;  ///< the host promised REST and did not keep it; for good
};

}  // namespace Quorvel::FileAccess
