// The file of what could not be uploaded: writing and reading side by side.
#pragma once

#include <string>
#include <tuple>
#include <vector>

#include "host/FileTypes.h"
#include "platform/Text.h"

namespace Quorvel::FileAccess {

/// Object names have six digits.
constexpr int kHighestNotUploaded = 999999;

/// A Teilbild or Plan.
struct NotUploadedEntry {
  QuorvelFileType type = eFileType_Unknown;
  int number = 0;

  bool operator==(const NotUploadedEntry&) const = default;
  bool operator<(const NotUploadedEntry& other) const {
    return std::tie(type, number) < std::tie(other.type, other.number);
  }
};

/// A line format with the looks of XML, which other tools of this system read; it is not well-formed.
std::wstring notUploadedText(const std::vector<NotUploadedEntry>& entries);

/// Puts the entries of an open file behind those that `entries` holds, each once.
/// @return the lines, counted from 1, that name a file and can't be understood
std::vector<int> readNotUploaded(platform::TextFile& file, std::vector<NotUploadedEntry>& entries);

}  // namespace Quorvel::FileAccess
