// The transfer object: all file traffic of a project on an FTP server or in a plain directory passes through it.
//
// One object exists in a process, see getInetFileManager. Callers never pass a root directory: they pass a path number,
// which the object resolves to a local or a server root that was set up once. A status is a Windows-style error code, 0
// for success. Unless an operation says otherwise `name` is a plain file name, `dir` a sub-directory or null, and
// `pathNr` points to a path number. Paths and names are set up on the host's main thread; transfers run on the calling
// thread's own connection.
#pragma once

#include <cstdint>
#include <functional>
#include <limits>
#include <string>
#include <vector>

#include "platform/WindowsTypes.h"
#include "zephor/Export.h"

namespace Quorvel::FileAccess {

/// Path numbers. 4, 7, 12 and 15 have no name of their own: the BIM directory and the user's directory, local and on
/// the server.
enum WGO_PathNr : int {
  eNoPath = 0,
  ePrgPath = 1,
  eLocalDataPath = 2,
  ePrjPath = 3,
  eStdPath = 5,
  eUsrPath = 6,
  eAdminPath = 8,
  eTempPath = 9,
  eServerDataPath = 10,
  eServerPrjPath = 11,
  eServerStdPath = 13,
  eServerUsrPath = 14,
  eServerAdminPath = 16,
};

/// Kinds of numbered objects as the transfer object speaks of them; not the host's file types.
enum ObjectType : int {
  eObject_Teilbild = 0,
  eObject_Zeichnung = 1,
  eObject_Plan = 2,
};

/// Which side of a transfer holds the newer file.
enum UpdateVerdict : std::int32_t {
  eVerdict_ServerNewer = -1,  ///< the server file is newer or different: download
  eVerdict_Equal = 0,
  eVerdict_LocalNewer = 1,     ///< upload
  eVerdict_LocalMissing = 2,   ///< download
  eVerdict_ServerMissing = 3,  ///< upload
  eVerdict_BothMissing = 4,
};

/// How version counters are compared. Any other value: always equal.
enum CompareMode : int {
  eCompare_Strict = 1,   ///< any difference means that the server wins
  eCompare_Ordered = 2,  ///< the counters say which is newer
};

/// What the manager's first operation takes.
struct Initialize_forIZepInetFileTransfer {
  const wchar_t* serverName = nullptr;  ///< null or empty: no server, the manager stays uninitialised
  HWND parentWindow = nullptr;          ///< owner of every dialog and box of this thread

  /// No server, and the host's main window.
  ZEPHOR_API static Initialize_forIZepInetFileTransfer DefaultValues();
};

/// An element of a server listing.
struct RemoteFileEntry {
  std::wstring name;
  FILETIME time{};  ///< UTC
  std::int64_t size = 0;
};

/// An element of a list transfer.
struct InetFileInfo {
  std::wstring name;
  std::int32_t value = 0;
  std::int64_t size = 0;
};

/// A project object by number and type.
struct WGO_BaseObjectInfo {
  int number = 0;
  int type = 0;
};

/// An object that moved.
struct TransferRecord {
  std::int32_t objectNumber = 0;
  std::int32_t first = 0;
  std::int32_t second = 0;
  std::int32_t state = 0;
  std::int32_t kind = 0;  ///< 4: a finished download
};

struct LockFileInfo {
  std::int32_t objectType = 0;
  std::int32_t objectNumber = -1;
  std::int32_t userId = 0;
  std::wstring fileName;
  std::wstring baseName;  ///< without its last two extensions
};

/// The record behind the handle of openFile.
struct CPartialDownload;

/// As user filter of a list of locks: nobody's lock is left out.
constexpr int kLocksOfEverybody = std::numeric_limits<int>::min();

class WGO_FileFilter;
class IProgress;

/// How a listing of the server is made.
struct WGO_ListOptions {
  std::function<bool(const std::wstring& name)> excludes;  ///< true leaves a file out; may be empty
  bool recursive = false;                                  ///< with all sub-directories; names are then relative paths
                                                           ///< separated by `/`
  IProgress* progress = nullptr;                           ///< is told the directory that is being read; may be null
};

class ZEPHOR_API IZepInetFileTransfer {
 public:
  virtual ~IZepInetFileTransfer() = default;
  virtual bool initialize(Initialize_forIZepInetFileTransfer& record) = 0;
  virtual void shutdown() = 0;
  /// Renames on the server, and the local file with it where there is one.
  virtual DWORD renameFile(const wchar_t* oldName, const wchar_t* newName, const wchar_t* dir, const int* pathNr) = 0;
  /// As downloadFile, but gives the content to a file that the host holds open. @return 13 when the host refuses it
  virtual DWORD downloadToOpenFile(int hostFile, const wchar_t* name, const wchar_t* dir, const int* serverPathNr,
                                   const int* localPathNr, int* number, int objectNumber, unsigned flags) = 0;
  /// Fetches a file beside its local place (".part") and puts it there when it is whole. The local file takes the time
  /// of the server's, except below path number 9.
  /// @param number  receives 0, or why it failed, 32 while the same file is being fetched already; may be null
  virtual DWORD downloadFile(const wchar_t* name, const wchar_t* dir, const int* serverPathNr, const int* localPathNr,
                             int* number, int objectNumber, unsigned flags) = 0;
  /// Sends any local file into a server directory, which is made when it is not there.
  virtual DWORD uploadFreeFile(const wchar_t* fullPath, const wchar_t* dir, const int* pathNr, bool silent) = 0;
  /// Sends a file, which then takes the time of the server's.
  ///
  /// The answer is the time stamp's success and not the transfer's; callers have always read it so. Whether the file
  /// arrived stands in the thread's last error: 0 when it did, otherwise why it did not. After a failure that may have
  /// left a part, or of a file that never stops changing, the local time is set a minute ahead: it stays the newer one.
  /// @return 0, or 29 when the local time could not be set
  virtual DWORD uploadFile(const wchar_t* name, const wchar_t* dir, const int* pathNr, bool silent) = 0;
  virtual bool deleteServerPath(const wchar_t* path) = 0;
  virtual DWORD deleteFile(const wchar_t* name, const wchar_t* dir, const int* pathNr) = 0;
  /// @return null, with the thread's last error set, when the file is not there or can't be asked for
  virtual CPartialDownload* openFile(const wchar_t* name, const wchar_t* dir, const int* pathNr) = 0;
  /// @param origin  0 from the start, 1 from the position, 2 from the end
  /// @return 1; -1 for another origin, a position before the start, and a handle that is none
  virtual int seekFile(CPartialDownload* record, long long offset, int origin) = 0;
  /// Reads at the position, which stays where it is.
  /// @return bytes read: 0 at the end of the file and on failure
  /// @throws std::range_error when size or position do not fit into 32 bits
  virtual std::size_t readFilePartial(CPartialDownload* record, void* buffer, std::size_t size) = 0;
  /// @return 6 for a handle that is none; 13 when the manager is not initialised, which frees the handle all the same
  virtual DWORD closeFile(CPartialDownload* record) = 0;
  virtual bool existDirectory(const wchar_t* path) = 0;
  /// A name that ends in ".prj" stands for a project. Always true while the server is not an online one.
  virtual bool existFile(const wchar_t* name) = 0;
  /// Resolves an open file handle to a project file. With a null handle `name` is resolved as it stands.
  /// @param type  file type: 0 Teilbild, 1 Zeichnung, 2 Plan, 5 QuorvelBim.xml, 10 QuorvelLayout.xml
  virtual bool getFileInfoFromHandle(HANDLE file, int& type, int& number, std::wstring& name) = 0;
  virtual bool getCRC(std::uint32_t& crc, const wchar_t* name, const wchar_t* dir, const int* pathNr) = 0;
  /// Null changes nothing.
  virtual void setServerName(const wchar_t* name) = 0;
  virtual const wchar_t* getServerName() = 0;
  /// @return 0; 13 for an empty name; 3 when `check` is set and the directory does not exist
  virtual DWORD setProjectName(const wchar_t* name, bool check) = 0;
  virtual const wchar_t* getProjectName() = 0;
  /// @return a path, valid until the next such call of the same thread; "(null)" for an unknown number
  virtual const wchar_t* getPathFromNr(const int* pathNr) = 0;
  /// The path of the number's counterpart on the server, as getPathFromNr answers it.
  virtual const wchar_t* getServerPathFromNr(const int* pathNr) = 0;
  /// Sub-directories of a project on the server; without a project the directories of the projects themselves.
  virtual DWORD getProjectDirectories(const wchar_t* project, std::vector<WIN32_FIND_DATAW>& out) = 0;
  /// The bare file name of an object; the path number does not show in it.
  /// @param objectNumber  null or -1 gives the search pattern of the type
  /// @param name  empty for a type that is none
  virtual void getObjectFileName(const int* objectNumber, const ObjectType* type, std::wstring& name,
                                 const int* pathNr) = 0;
  // The three listings answer 3 for a directory that is not there; an answer other than 0 leaves the list empty.

  virtual DWORD getServerFileInfos(const wchar_t* directory, const wchar_t* pattern, std::vector<RemoteFileEntry>& out,
                                   const WGO_ListOptions* options) = 0;
  virtual DWORD getServerFileNames(const wchar_t* directory, const wchar_t* pattern, std::vector<std::wstring>& out,
                                   const WGO_ListOptions* options) = 0;
  virtual DWORD getServerFiles(const wchar_t* directory, std::vector<RemoteFileEntry>& out) = 0;
  /// @param size, time  may be null; untouched on failure
  virtual bool getServerFileSizeAndTime(std::int64_t* size, const wchar_t* path, FILETIME* time) = 0;
  virtual bool getLocalFileSizeAndTime(std::int64_t& size, const wchar_t* path, FILETIME& time) = 0;
  /// Gives the local file the time of the server's, so that the two compare as equal.
  /// @param entry  what is known of the server's file; null asks the server. A time of 0 leaves the local one as it is
  virtual bool updateFileTime(const wchar_t* name, const wchar_t* dir, const int* pathNr,
                              const RemoteFileEntry* entry) = 0;
  virtual UpdateVerdict objectNeedsUpdate(const int* objectNumber, const ObjectType* type, const int* pathNr,
                                          std::uint32_t localVersion, const GUID& localGuid,
                                          std::uint32_t serverVersion, const GUID& serverGuid,
                                          const CompareMode* mode) = 0;
  virtual UpdateVerdict fileNeedsUpdate(const wchar_t* name, const ObjectType* type, std::uint32_t localVersion,
                                        const GUID& localGuid, std::uint32_t serverVersion, const GUID& serverGuid,
                                        const CompareMode* mode) = 0;
  virtual UpdateVerdict fileNeedsUpdate(const wchar_t* name, const wchar_t* dir, const int* pathNr, unsigned flags,
                                        std::uint32_t* lockMask) = 0;
  virtual void clearTransferRecords() = 0;
  virtual bool addTransferRecord(const TransferRecord& record) = 0;
  virtual std::size_t getTransferRecords(std::vector<TransferRecord>& out) = 0;
  virtual bool getTransferRecord(int objectNumber, std::int32_t& state, bool (*filter)(const TransferRecord&)) = 0;
  virtual DWORD syncServerDirectory(const int* pathNr, const wchar_t* directory, const WGO_FileFilter* filter,
                                    int progress) = 0;
  virtual DWORD syncServerDirectoryTree(const wchar_t* directory, const int* pathNr, const WGO_FileFilter* filter,
                                        int progress, bool recursive) = 0;
  /// Deletes a directory of the server with all that is in it.
  /// @param path    below the path number and `dir`; a whole server path when `pathNr` is null
  virtual DWORD deleteServerDirectory(const wchar_t* path, const wchar_t* dir, const int* pathNr) = 0;
  /// @param mode  0 the names of the sub-directories; otherwise all below, as relative paths separated by `/`, parents
  ///              first
  virtual bool getServerDirectories(const wchar_t* directory, int mode, std::vector<std::wstring>& out) = 0;
  virtual void setDialogsSuppressed(bool suppressed) = 0;
};

class ZEPHOR_API IZepInetFileTransferInternal {
 public:
  virtual ~IZepInetFileTransferInternal() = default;
  /// Ends the calling thread's connection; every worker thread calls it when it ends.
  virtual void releaseThreadData() = 0;
  virtual void setConnectionType(const int* type) = 0;
  /// 0: the server is a directory of the file system; otherwise online.
  virtual int getConnectionType() = 0;
  virtual void setQuorvelUserID(int id) = 0;
  virtual int getQuorvelUserID() = 0;
  virtual void setQuorvelUserName(const wchar_t* name) = 0;
  virtual const wchar_t* getUserIdText() = 0;
  /// Stores a path without the backslashes at its end; a null path or a number that can't be set changes nothing.
  /// @return the previous value of the entry, valid until the next such call of the same thread; "(null)" when nothing
  ///         was set
  virtual const wchar_t* setPathFromNr(const wchar_t* path, const int* pathNr) = 0;
  /// Null gives "/".
  virtual void setCurrentName(const wchar_t* name) = 0;
  virtual const wchar_t* getCurrentName() = 0;
  /// Makes a directory of the server with all its parents. True when it is there.
  virtual bool createServerDirectory(const wchar_t* path) = 0;
  /// Whether the calling thread's dialogs are; see IZepInetFileTransfer::setDialogsSuppressed.
  virtual bool getDialogsSuppressed() = 0;
};

class ZEPHOR_API IZepInetFileTransferLocking {
 public:
  virtual ~IZepInetFileTransferLocking() = default;
  virtual bool createLockFile(int objectNumber, const int* objectType, const wchar_t* name, const wchar_t* text) = 0;
  virtual bool deleteLockFile(int objectNumber, const int* objectType, const wchar_t* name) = 0;
  virtual bool readLockFile(const wchar_t* name, std::wstring& text) = 0;
  virtual bool lockFileExists(int objectNumber, const int* objectType, const wchar_t* name, const wchar_t* pattern) = 0;
  /// Lists the lock files of a project, or below a path number. A null project is the current one.
  /// @param userFilter  -1: all but the own; kLocksOfEverybody; otherwise the locks of that user
  /// @return their count; for 0 the thread's last error tells a list that could not be read from an empty one (0)
  virtual std::size_t fillLockInfo(const wchar_t* project, std::vector<LockFileInfo>& out, int userFilter) = 0;
  virtual std::size_t fillLockInfo(const int* pathNr, int userFilter, std::vector<LockFileInfo>& out) = 0;
};

/// The one transfer object of the process, created by the first call, which the host's main thread makes. The other two
/// interfaces are reached by a cast from the answer.
ZEPHOR_API IZepInetFileTransfer& getInetFileManager();

}  // namespace Quorvel::FileAccess
