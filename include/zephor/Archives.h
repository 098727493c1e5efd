// Compressed Teilbild files: telling one, reading the header that it carries, compressing and expanding in place.
//
// A compressed Teilbild keeps its ordinary name; only the first bytes tell it. docs/compressed-files.md has its layout.
// Operations answer a Windows-style code, 0 for success: 2 not found, 3 bad path, 13 invalid data, 14 out of memory,
// 24 bad length, 123 no Teilbild, 183 compressed already, or the system's. A failure within the file shows the error
// box before it is answered. Any thread.
#pragma once

#include <string>

#include "host/FileTypes.h"
#include "host/Records.h"
#include "platform/WindowsTypes.h"
#include "zephor/Export.h"

namespace Quorvel::FileAccess {

ZEPHOR_API bool WGO_isZipFile(const wchar_t* path, long long* uncompressedSize);
ZEPHOR_API bool WGO_isZipFile(const int& pathNumber, const int& fileType, const int& number);
/// The record is cleared first; it stays so when the answer is false.
ZEPHOR_API bool WGO_getTBHeaderFromZipFile(const wchar_t* path, TeilbildHeader* out);
ZEPHOR_API bool WGO_getTBHeaderFromZipFile(const int& pathNumber, const int& fileType, const int& number,
                                           TeilbildHeader* out);

/// Compresses a Teilbild in place, through the host's handle when it is open there. A file of under 100 bytes and one
/// that is missing or empty stay as they are, with the answer 0. The whole file and its archive lie in memory.
///
/// The file is cut before the new content is written: a failure after that leaves it damaged.
ZEPHOR_API unsigned long WGO_zipProjectFile(const std::wstring& path);
/// @param info  null, or receives in dwReserved1 the percentage saved
ZEPHOR_API unsigned long WGO_zipProjectFileEx(const std::wstring& path, WIN32_FIND_DATAW* info);
/// Expands a compressed Teilbild in place. @return 13 for a file that is not compressed, which callers take as nothing
/// to do
ZEPHOR_API unsigned long WGO_unzipProjectFile(const std::wstring& path);
/// As above for an object's file. @return 0, with nothing done, for a type other than Teilbild
ZEPHOR_API unsigned long WGO_unzipProjectFile(const int& pathNumber, const int& fileType, const int& number);
/// True when a project is open whose Teilbilder are stored compressed.
ZEPHOR_API bool WGO_isProjectCompressed();
/// Replaces or adds one file in an ordinary zip archive. An entry whose name differs in letter case only refuses it.
ZEPHOR_API unsigned long WGO_addFileToProjectZipFile(const std::wstring& zipPath, const std::wstring& filePath);

/// While it lives, WGO_unzipProjectFile leaves one object's file alone, with the answer 0. There is one such object for
/// the process: guards do not nest.
class ZEPHOR_API ScopedDisableUnzipping {
 public:
  ScopedDisableUnzipping(QuorvelFileType type, unsigned int number);
  ~ScopedDisableUnzipping();
  ScopedDisableUnzipping(const ScopedDisableUnzipping&) = delete;
  ScopedDisableUnzipping& operator=(const ScopedDisableUnzipping&) = delete;

 private:
  QuorvelFileType type_;
  unsigned int number_;
};

}  // namespace Quorvel::FileAccess
