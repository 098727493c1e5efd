// The inner halves of compressing and expanding in place: what happens to the file itself.
#pragma once

#include <cstdint>
#include <string>

#include "host/Records.h"
#include "platform/WindowsTypes.h"

namespace Quorvel::FileAccess {

/// Host path number that reads as the file's directory while a header is read.
constexpr int kHeaderPathNumber = 18;

struct CompressionJob {
  std::wstring path;
  std::wstring name;  ///< last component of the path
  int number = -1;
  std::uint64_t fileSize = 0;  ///< bytes, as found before the file was opened
  TeilbildHeader record{};
  bool hasRecord = false;            ///< the record was read from the file
  WIN32_FIND_DATAW* info = nullptr;  ///< may be null
};

struct ExpansionJob {
  std::wstring path;
  int number = -1;
  std::uint64_t fileSize = 0;
  TeilbildHeader record{};
};

/// @param handle  the host's handle of the open file, quiesced; null when the file is not open
/// @param job     a CompressionJob; the host path kHeaderPathNumber reads as the file's directory
/// @return 0, or an error code that was shown, except 183
unsigned long my_WGO_zipProjectFile(HANDLE handle, void* job);
/// @param job  an ExpansionJob
unsigned long my_WGO_unzipProjectFile(HANDLE handle, void* job);

}  // namespace Quorvel::FileAccess
