// Bytes of a lock file, and what a listing of lock files tells.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "zephor/FileTransfer.h"

namespace Quorvel::FileAccess {

/// Bytes that are read behind the mark.
constexpr std::size_t kLongestLockText = 4095;

/// The mark of a UTF-8 file, then the text in the active code page, which is another encoding: reader and writer have
/// always done so, and lock files outlive releases. As many bytes are kept as the text has characters, so that a
/// character of two bytes cuts the end.
std::string lockContentOf(std::wstring_view text);
/// The text of at most kLongestLockText bytes, up to the first zero byte; the mark may be missing.
std::wstring lockTextOf(std::string_view content);

/// True when a name ends in ".lck", in any letter case.
bool isLockFileName(const std::wstring& name);
/// A file name without its last two extensions.
std::wstring lockBaseNameOf(const std::wstring& fileName);
/// True when a listed name fits a pattern in which `?` stands for one character, without regard to letter case.
bool matchesLockPattern(std::wstring name, const std::wstring& pattern);

/// Whom a list of locks is about.
/// @param userFilter  -1: all but the own; kLocksOfEverybody; otherwise the locks of that user
bool isLockWanted(std::int32_t userId, int userFilter, std::int32_t ownUserId);

}  // namespace Quorvel::FileAccess
