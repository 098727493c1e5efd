// One connection to a store of files as the transfers use it: an FTP server, or a plain directory that acts like one.
//
// A client belongs to one thread. Paths and names are wide; `/` and `\` both separate. A name may be a path relative to
// the current directory. An operation that fails answers false, or a negative number, and leaves why in
// lastErrorText(), lastReplyCode() and, for a connect, get_ConnectFailReason(). A name with CR, LF or NUL is refused
// before anything is sent.
#pragma once

#include <cstdint>
#include <string>

#include "platform/WindowsTypes.h"

namespace Quorvel::FileAccess {

class CkByteData;
class CkFtp2ProgressW;
class CkStringW;

/// Why a connect failed. The numbers are those of the texts of the language's resources.
enum ConnectFailReason : std::int32_t {
  eConnect_Ok = 0,
  eConnect_NoHostName = 1,
  eConnect_NotResolved = 2,
  eConnect_ResolveTimedOut = 3,
  eConnect_Cancelled = 4,
  eConnect_Internal = 5,
  eConnect_TimedOut = 6,
  eConnect_Refused = 7,  ///< refused, or not reachable
  eConnect_TlsNotPrepared = 100,
  eConnect_OwnCertificates = 101,  ///< the file of trusted certificates can't be read
  eConnect_TlsNotStarted = 102,
  eConnect_Handshake = 103,
  eConnect_NoCertificate = 104,
  eConnect_NotVerified = 105,  ///< the certificate is not trusted, or is another host's
  eConnect_ClosedEarly = 106,  ///< closed during the handshake
  eConnect_NoGreeting = 200,
  eConnect_TlsRefused = 201,
  eConnect_Busy = 300,  ///< the server takes no further connection or answers that it is not available
  eConnect_LoginRefused = 301,
};

class IRemoteClient {
 public:
  IRemoteClient() = default;
  virtual ~IRemoteClient() = default;
  IRemoteClient(const IRemoteClient&) = delete;
  IRemoteClient& operator=(const IRemoteClient&) = delete;

  /// Connects, secures and logs in.
  virtual bool Connect() = 0;
  virtual bool Disconnect() = 0;
  /// A look at what waits on the control connection: bytes or its end mean that it is dead. No traffic.
  virtual bool get_IsConnected() = 0;
  virtual std::int32_t get_ConnectFailReason() const = 0;
  /// Commands and replies of the last operation, several lines, passwords masked.
  virtual std::wstring lastErrorText() const = 0;
  /// Code of the last reply of the last operation; 0 when there was none.
  virtual int lastReplyCode() const = 0;
  /// Its text, all lines.
  virtual std::wstring lastReplyText() const = 0;

  virtual bool Feat(CkStringW& out) = 0;
  /// Sends a command as it stands. @return true for a reply 2xx
  virtual bool Quote(const wchar_t* command) = 0;

  /// Absolute, or relative to the current directory. A missing directory leaves the reply code 550.
  virtual bool ChangeRemoteDir(const wchar_t* path) = 0;
  /// The next change of directory asks the store, whatever is remembered of it: another user may have deleted it.
  virtual void doubtRemoteDir() {}
  virtual bool CreateRemoteDir(const wchar_t* name) = 0;
  virtual bool RemoveRemoteDir(const wchar_t* path) = 0;
  /// Deletes everything below the current directory. Links are removed, never followed.
  virtual bool DeleteTree() = 0;
  virtual bool DeleteRemoteFile(const wchar_t* name) = 0;
  virtual bool RenameRemoteFile(const wchar_t* oldName, const wchar_t* newName) = 0;

  /// Fetches a file into a local one, which is made anew. A transfer that fails leaves what arrived.
  virtual bool GetFile(const wchar_t* remote, const wchar_t* local) = 0;
  virtual bool PutFile(const wchar_t* local, const wchar_t* remote) = 0;
  /// Appends to `out`. After a Quote of "REST n" the data begin at n. A transfer that fails, or is aborted by the
  /// receiver, leaves what arrived in `out` and the session usable.
  virtual bool GetRemoteFileBinaryData(const wchar_t* remote, CkByteData& out) = 0;
  virtual bool PutFileFromBinaryData(const wchar_t* remote, const CkByteData& data) = 0;

  /// Negative when the file is not there, or larger than the type holds.
  virtual std::int32_t GetSizeByName(const wchar_t* name) = 0;
  virtual std::int64_t GetSizeByName64(const wchar_t* name) = 0;

  // A listing of the current directory. It is read by the first get_NumFilesAndDirs after ClearDirCache, a new pattern
  // or a change of directory, and kept for the calls by index.

  virtual void ClearDirCache() = 0;
  /// `*` and `?` are matched here, without regard to case. A pattern without them asks for that one file and lists
  /// nothing.
  virtual void put_ListPattern(const wchar_t* pattern) = 0;
  /// @return entries, 0 when nothing matches; negative on failure
  virtual std::int32_t get_NumFilesAndDirs() = 0;
  virtual bool GetFilename(std::int32_t index, CkStringW& name) = 0;
  virtual bool GetIsDirectory(std::int32_t index) = 0;
  /// Negative for an entry without a size.
  virtual std::int64_t GetSize64(std::int32_t index) = 0;
  /// UTC. From one source of time per server, the same for one file as for a listing. Where that is not the listing
  /// itself the first call asks for the times of all entries; false when the connection is lost with that.
  virtual bool GetLastModifiedFTime(std::int32_t index, FILETIME& time) = 0;
  /// The same in the local time of this machine.
  virtual bool GetLastModifiedTime(std::int32_t index, SYSTEMTIME& time) = 0;

  /// Null ends it. The receiver is the caller's and outlives its use.
  virtual void setEventCallback(CkFtp2ProgressW* receiver) = 0;
  /// Longest time between two questions whether to go on, in every phase of an operation; 0 asks only as data flow.
  virtual void put_HeartbeatMs(std::int32_t milliseconds) = 0;
  /// Size of the pieces in which data are sent: below 1 it is 65535, otherwise at least 300 and at most 3000000.
  virtual void put_SendBufferSize(std::int32_t bytes) = 0;
  /// Bytes that the last transfer moved, also when it failed.
  virtual std::int64_t bytesOfLastTransfer() const = 0;
};

}  // namespace Quorvel::FileAccess
