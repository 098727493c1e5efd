// Bytes of an entry as text. Internal to the toolkit.
#pragma once

#include <string>

#include "toolkit/ByteData.h"

namespace Quorvel::FileAccess {

/// @param charset  "utf-16" (little endian unless a mark says otherwise) or "utf-8", without regard to case. A mark at
///                 the start is no part of the text
/// @return the reason on a failure
std::wstring decodeText(const CkByteData& bytes, const std::wstring& charset, std::wstring& out);

}  // namespace Quorvel::FileAccess
