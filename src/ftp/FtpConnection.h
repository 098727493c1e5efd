// The transfer object of the process: file traffic with an FTP server or a plain directory.
#pragma once

#include <functional>
#include <utility>

#include "core/InetFileTransfer.h"
#include "ftp/RemoteFtp.h"
#include "ftp/RetryLoop.h"
#include "ftp/RetrySettings.h"
#include "ftp/TransferRecords.h"

namespace Quorvel::FileAccess {

class CZepFtpConnection : public CZepInetFileTransfer {
 public:
  /// No network traffic; reads the settings.
  CZepFtpConnection();

  bool initialize(Initialize_forIZepInetFileTransfer& record) override;
  void shutdown() override;
  DWORD renameFile(const wchar_t* oldName, const wchar_t* newName, const wchar_t* dir, const int* pathNr) override;
  DWORD downloadToOpenFile(int hostFile, const wchar_t* name, const wchar_t* dir, const int* serverPathNr,
                           const int* localPathNr, int* number, int objectNumber, unsigned flags) override;
  DWORD downloadFile(const wchar_t* name, const wchar_t* dir, const int* serverPathNr, const int* localPathNr,
                     int* number, int objectNumber, unsigned flags) override;
  DWORD uploadFreeFile(const wchar_t* fullPath, const wchar_t* dir, const int* pathNr, bool silent) override;
  DWORD uploadFile(const wchar_t* name, const wchar_t* dir, const int* pathNr, bool silent) override;
  bool deleteServerPath(const wchar_t* path) override;
  DWORD deleteFile(const wchar_t* name, const wchar_t* dir, const int* pathNr) override;
  CPartialDownload* openFile(const wchar_t* name, const wchar_t* dir, const int* pathNr) override;
  int seekFile(CPartialDownload* record, long long offset, int origin) override;
  std::size_t readFilePartial(CPartialDownload* record, void* buffer, std::size_t size) override;
  DWORD closeFile(CPartialDownload* record) override;
  bool existDirectory(const wchar_t* path) override;
  bool existFile(const wchar_t* name) override;
  bool getCRC(std::uint32_t& crc, const wchar_t* name, const wchar_t* dir, const int* pathNr) override;
  DWORD getProjectDirectories(const wchar_t* project, std::vector<WIN32_FIND_DATAW>& out) override;
  DWORD getServerFileInfos(const wchar_t* directory, const wchar_t* pattern, std::vector<RemoteFileEntry>& out,
                           const WGO_ListOptions* options) override;
  DWORD getServerFileNames(const wchar_t* directory, const wchar_t* pattern, std::vector<std::wstring>& out,
                           const WGO_ListOptions* options) override;
  DWORD getServerFiles(const wchar_t* directory, std::vector<RemoteFileEntry>& out) override;
  bool getServerFileSizeAndTime(std::int64_t* size, const wchar_t* path, FILETIME* time) override;
  bool getLocalFileSizeAndTime(std::int64_t& size, const wchar_t* path, FILETIME& time) override;
  bool updateFileTime(const wchar_t* name, const wchar_t* dir, const int* pathNr,
                      const RemoteFileEntry* entry) override;
  UpdateVerdict objectNeedsUpdate(const int* objectNumber, const ObjectType* type, const int* pathNr,
                                  std::uint32_t localVersion, const GUID& localGuid, std::uint32_t serverVersion,
                                  const GUID& serverGuid, const CompareMode* mode) override;
  UpdateVerdict fileNeedsUpdate(const wchar_t* name, const ObjectType* type, std::uint32_t localVersion,
                                const GUID& localGuid, std::uint32_t serverVersion, const GUID& serverGuid,
                                const CompareMode* mode) override;
  UpdateVerdict fileNeedsUpdate(const wchar_t* name, const wchar_t* dir, const int* pathNr, unsigned flags,
                                std::uint32_t* lockMask) override;
  void clearTransferRecords() override;
  bool addTransferRecord(const TransferRecord& record) override;
  std::size_t getTransferRecords(std::vector<TransferRecord>& out) override;
  bool getTransferRecord(int objectNumber, std::int32_t& state, bool (*filter)(const TransferRecord&)) override;
  DWORD syncServerDirectory(const int* pathNr, const wchar_t* directory, const WGO_FileFilter* filter,
                            int progress) override;
  DWORD syncServerDirectoryTree(const wchar_t* directory, const int* pathNr, const WGO_FileFilter* filter, int progress,
                                bool recursive) override;
  DWORD deleteServerDirectory(const wchar_t* path, const wchar_t* dir, const int* pathNr) override;
  bool getServerDirectories(const wchar_t* directory, int mode, std::vector<std::wstring>& out) override;
  void setDialogsSuppressed(bool suppressed) override;

  void releaseThreadData() override;
  bool createServerDirectory(const wchar_t* path) override;
  bool getDialogsSuppressed() override;

  bool createLockFile(int objectNumber, const int* objectType, const wchar_t* name, const wchar_t* text) override;
  bool deleteLockFile(int objectNumber, const int* objectType, const wchar_t* name) override;
  bool readLockFile(const wchar_t* name, std::wstring& text) override;
  bool lockFileExists(int objectNumber, const int* objectType, const wchar_t* name, const wchar_t* pattern) override;
  std::size_t fillLockInfo(const wchar_t* project, std::vector<LockFileInfo>& out, int userFilter) override;
  std::size_t fillLockInfo(const int* pathNr, int userFilter, std::vector<LockFileInfo>& out) override;

  /// Brings down what the server has newer in a directory below the path number; see WGO_syncFromServer.
  DWORD syncFromServer(const wchar_t* directory, const int* pathNr, const WGO_FileFilter* filter, int progress,
                       bool recursive);

  /// Sends `bytes` bytes as "performance.test" once for each size of the send buffer, which grows by the factor 4.
  /// @param passes  buffer size in bytes and time in milliseconds of each
  DWORD WritePerformanceTest(const std::wstring& directory, std::vector<std::pair<std::int32_t, std::uint64_t>>& passes,
                             std::size_t bytes = kPerformanceTestBytes);
  static constexpr std::size_t kPerformanceTestBytes = 0x6400000;

  /// Hands out one directory of a tree: its path relative to the root, separated by `/`, and what is in it.
  using TreeVisitor = std::function<void(const std::wstring& relative, std::vector<RemoteFileEntry>& files,
                                         std::vector<RemoteFileEntry>& directories)>;
  /// Lists a server directory, and when `recursive` all below it, parents first.
  /// @param progress  is told which directory is being read; may be null
  /// @return success, or why a directory could not be listed; 3 when the root is not there. A sub-directory that has
  ///         gone meanwhile is passed over
  RemoteStatus listTree(const std::wstring& root, bool recursive, IProgress* progress, const TreeVisitor& visit);

  /// The trace of a directory that a sync found in step while it listed the tree.
  void traceInStep(const std::wstring& server, const std::wstring& local) const;

  RemoteFtp& remote() { return remote_; }
  bool isInitialised() const { return initialised_; }

 private:
  struct Fetch;

  /// One operation: its steps under the settings in force.
  RemoteStatus retry(std::initializer_list<RemoteStep> steps);
  /// Local path of a file or directory below a path number; an empty part is left out.
  /// @return empty for a number without a path, and for a part that would leave its directory
  std::wstring localPathOf(const int* pathNr, const wchar_t* dir, const wchar_t* name);
  /// The directory's counterpart on the server, separated by `/` behind the server's root.
  /// @return empty for a number without a counterpart, and for a part that would leave its directory
  std::wstring serverDirectoryOf(const int* pathNr, const wchar_t* dir);
  /// Directory of a project's lock files on the server; empty when there is no project, or no server yet.
  std::wstring lockDirectoryOf(const wchar_t* project);
  /// @param listed  what the server is asked for
  /// @param hit     receives the first name that fits the pattern; stays as it is for none
  RemoteStatus findLockName(const std::wstring& directory, const std::wstring& listed, const std::wstring& pattern,
                            std::wstring& hit);
  RemoteStatus listLockNames(const std::wstring& directory, std::vector<std::wstring>& names);
  std::size_t listLocks(const std::wstring& directory, int userFilter, std::vector<LockFileInfo>& out);

  /// "//host/directory/name"
  std::wstring urlOf(const std::wstring& directory, const std::wstring& name) const;
  /// Asks whether to try again, where dialogs may appear. The thread's last error stays.
  bool askAgain(const std::wstring& text, const wchar_t* caption);
  /// Puts a fetched file in the place of the target, whole or not at all. @return false with the thread's last error
  bool replaceTarget(const std::wstring& part, const std::wstring& target);
  /// @param entry  takes what the server says of the file, where that is wanted
  RemoteStatus fetch(const Fetch& what, RemoteFileEntry& entry);
  DWORD fetchAndReplace(const Fetch& what, RemoteFileEntry& entry);
  DWORD download(const Fetch& what, int* number, int objectNumber);
  /// Sends a file until it has not changed meanwhile.
  /// @param time  takes what the local file's time is to be; 0 to leave it
  RemoteStatus sendUntilUnchanged(const std::wstring& local, const std::wstring& server, const std::wstring& name,
                                  FILETIME& time);
  RemoteStatus goToOrMake(RemoteRetryContext& context, const std::wstring& path);
  RemoteStatus makeServerDirectory(const std::wstring& path);
  RemoteStatus deleteIn(const std::wstring& directory, const std::wstring& name);
  RemoteStatus renameOnServer(const std::wstring& directory, const std::wstring& oldName, const std::wstring& newName);
  bool isOnline();
  std::wstring syncLabelOf(const std::wstring& server, const std::wstring& local) const;
  /// True when the server's file is to replace the local one, or comes where there is none.
  bool isNewerThere(const std::wstring& local, const RemoteFileEntry& entry);
  /// Level for the time traces of operations; 0 while they are not kept.
  int timeTraceLevel() const;

  RetrySettingsStack retrySettings_;
  RemoteFtp remote_;
  bool initialised_ = false;
  bool logRemoved_ = false;  ///< the log of the previous run is gone
  TransferRecords transferRecords_;
};

}  // namespace Quorvel::FileAccess
