// Servers of the older store: testing one, what it can do, and whole trees of it.
//
// Transfers themselves go through the transfer object, see zephor/FileTransfer.h. All of these work on the calling
// thread and wait for the server.
#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "platform/WindowsTypes.h"
#include "zephor/Export.h"
#include "zephor/FileTransfer.h"

class CServerProperties;

namespace Quorvel::FileAccess {

class WGO_FileFilter;

/// Answers of CheckConnection_ofServerProperties beside 0.
constexpr int kCheckNoConnection = 0x6E6F4330;  ///< detail: why the connect failed
constexpr int kCheckNoBaseDirectory = 0x44524330;
constexpr int kCheckSlow = 0x776F6C53;           ///< longer than the connect limit
constexpr int kCheckNoListing = 0x72694430;      ///< no data connection
constexpr int kCheckOtherEpsvMode = 0x74696445;  ///< detail: the EPSV mode that works; the setting should be edited

/// Tests a server with a connection of its own, without touching the session.
ZEPHOR_API int CheckConnection_ofServerProperties(const CServerProperties& properties);
/// The detail of the last check's answer; 0 for the codes that have none.
ZEPHOR_API int DataForCheckConnection_fromError(int code);
/// Text of the language's resources for why a connect failed; "Error:%d" for an unknown reason.
ZEPHOR_API std::wstring LookupErrorText_forKestrowConnect_inResources(int reason, HINSTANCE module);

enum class TimePrecision { None, Days, Seconds, Milliseconds };
enum class RenameOnto { Unknown, Replaces, Refused };

/// What a server can do.
struct ServerAbilities {
  std::wstring greeting;
  bool tls = false;
  std::wstring tlsVersion;
  bool rest = false;  ///< partial reads begin at their offset
  bool mlsd = false;  ///< machine listings
  bool mdtm = false;  ///< times of single files
  bool mfmt = false;  ///< times can be set
  bool utf8 = false;
  TimePrecision timePrecision = TimePrecision::None;
  RenameOnto renameOnto = RenameOnto::Unknown;
  std::int64_t roundTripMicroseconds = 0;
};
/// Asks a server over a connection of its own.
/// @param mayWrite  two small files with names of their own are made in the base directory and deleted again, which
///                  tells the time precision and what a rename onto an existing name does
/// @return 0; the connect-fail reason when there is no connection; negative when the base directory is not there
ZEPHOR_API int WGO_describeServer(const CServerProperties& properties, bool mayWrite, ServerAbilities& out);

/// Asks every transfer of this process to end: those under way at their next heartbeat, a tenth of a second at most,
/// and later operations before they begin, with error 1223. None is retried and no dialog is shown. False takes it
/// back. Any thread, and signal handlers.
ZEPHOR_API void WGO_abortTransfers(bool abort);

/// True when a server refused TLS that was asked for, and this process has gone on in plain FTP since.
ZEPHOR_API bool WGO_isConnectionDowngraded();

/// Time of a command and its reply on the calling thread's connection in microseconds; 0 when it is not connected yet,
/// and for a plain directory.
ZEPHOR_API std::int64_t WGO_connectionRoundTrip();

/// A file of a listed tree.
struct ServerTreeFile {
  std::wstring directory;  ///< relative to the root of the listing, separated by `/`; empty for the root itself
  RemoteFileEntry entry;
};
/// Lists a directory of the server with all sub-directories.
/// @param directory    server path
/// @param directories  every sub-directory, relative to `directory`, parents first
/// @return 0 or the error; 3 when the directory is not there
ZEPHOR_API DWORD WGO_listServerTree(const wchar_t* directory, std::vector<ServerTreeFile>& files,
                                    std::vector<std::wstring>& directories);

/// Brings down every file of a server directory that is newer than the local one or missing here. What is only local
/// stays.
/// @param directory  below the path number
/// @param filter     files that it excludes are passed over; may be null
/// @return 0, or the first error
ZEPHOR_API DWORD WGO_syncFromServer(const wchar_t* directory, const int* pathNr, const WGO_FileFilter* filter,
                                    int progress, bool recursive);

/// Sends 100 MiB as "performance.test" into the server's current directory with growing send buffers.
/// @param directory  server path
/// @param passes     buffer size in bytes and time in milliseconds of each pass
/// @return 0 or the error
ZEPHOR_API DWORD WGO_testServerPerformance(const wchar_t* directory,
                                           std::vector<std::pair<std::int32_t, std::uint64_t>>& passes);

}  // namespace Quorvel::FileAccess
