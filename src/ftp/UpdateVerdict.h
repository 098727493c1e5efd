// Verdicts on which side of a transfer holds the newer file. Pure: reads nothing, decides everything.
#pragma once

#include <cstdint>

#include "platform/WindowsTypes.h"
#include "zephor/FileTransfer.h"

namespace Quorvel::FileAccess {

/// What a file's header tells about its version.
struct FileVersion {
  std::uint32_t counter;  ///< kUnknownVersion: there is no such file on this side
  GUID guid;
};

/// Why a verdict was given.
enum class VerdictReason : std::uint8_t {
  BothMissing,
  LocalMissing,
  ServerMissing,
  CountersDiffer,  ///< strict mode
  GuidsDiffer,     ///< strict mode, with equal counters
  ServerNewer,
  LocalNewer,
  Equal,
};

struct VersionVerdict {
  UpdateVerdict verdict;
  VerdictReason reason;
};

/// Above 0 when counter `local` has wrapped past `server` and counts as newer.
using WrapTest = int (*)(std::uint32_t local, std::uint32_t server);

/// The wrap test of an object type; null for a type whose counters are compared as numbers alone.
WrapTest wrapTestOf(const ObjectType* type);

/// Compares two versions.
///
/// The GUIDs count in strict mode only. In ordered mode the wrap test is asked for the local counter alone: a server
/// counter that has wrapped past the local one reads as older.
/// @param wrapTest  null: counters are compared as numbers alone
VersionVerdict compareVersions(const FileVersion& local, const FileVersion& server, WrapTest wrapTest,
                               CompareMode mode);

/// When a file was written.
struct FileTimeStamp {
  bool exists = false;
  FILETIME time{};  ///< 0 for a file that does not exist
};

/// Compares two files by their times, without any tolerance: a transfer makes them equal. A local file that is missing
/// counts as older than any other.
VersionVerdict compareTimes(const FileTimeStamp& local, const FileTimeStamp& server);

/// Format of the trace line that tells a verdict; it takes the file's name.
const wchar_t* verdictLine(VerdictReason reason);

}  // namespace Quorvel::FileAccess
