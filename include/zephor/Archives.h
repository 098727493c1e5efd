// Compressed Teilbild files: telling one, reading the header that it carries.
#pragma once

#include <string>

#include "host/Records.h"
#include "zephor/Export.h"

namespace Quorvel::FileAccess {

ZEPHOR_API bool WGO_isZipFile(const wchar_t* path, long long* uncompressedSize);
ZEPHOR_API bool WGO_isZipFile(const int& pathNumber, const int& fileType, const int& number);
/// The record is cleared first; it stays so when the answer is false.
ZEPHOR_API bool WGO_getTBHeaderFromZipFile(const wchar_t* path, TeilbildHeader* out);
ZEPHOR_API bool WGO_getTBHeaderFromZipFile(const int& pathNumber, const int& fileType, const int& number,
                                           TeilbildHeader* out);

}  // namespace Quorvel::FileAccess
