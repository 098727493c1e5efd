// The header record of an object of any kind, and its image in files: little-endian, field by field as the struct lies.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "host/FileTypes.h"
#include "host/Records.h"
#include "platform/Text.h"
#include "workstation/Export.h"

namespace workstation {

using ObjectRecord = std::variant<TeilbildHeader, PlanHeader, ZeichnungHeader>;

/// A cleared record of a kind; of a Teilbild for what is no object kind.
WORKSTATION_API ObjectRecord clearedRecord(QuorvelFileType type);
WORKSTATION_API QuorvelFileType typeOfRecord(const ObjectRecord& record);
WORKSTATION_API std::size_t recordSize(QuorvelFileType type);

WORKSTATION_API std::vector<std::uint8_t> encodeRecord(const ObjectRecord& record);
/// Text members of the result are ended by 0 whatever the image holds.
/// @param image  recordSize(type) bytes
WORKSTATION_API ObjectRecord decodeRecord(QuorvelFileType type, const std::uint8_t* image);

/// The counter of the next saved version: one more, wrapping, never kUnknownVersion.
WORKSTATION_API std::uint32_t nextVersion(std::uint32_t version);

WORKSTATION_API std::uint32_t versionOf(const ObjectRecord& record);
WORKSTATION_API int numberOf(const ObjectRecord& record);
WORKSTATION_API std::wstring nameOf(const ObjectRecord& record);

/// Text of a zero-ended or full UTF-16 member.
template <std::size_t Size>
std::wstring textOfMember(const char16_t (&member)[Size]) {
  const auto length = static_cast<std::size_t>(std::find(member, member + Size, u'\0') - member);
  return platform::fromUtf16(std::u16string_view(member, length));
}

/// Fills a UTF-16 member, cut behind a whole character so that its terminator fits; the rest becomes 0.
template <std::size_t Size>
void setMember(char16_t (&member)[Size], std::wstring_view text) {
  const std::u16string units = platform::toUtf16(text);
  std::size_t length = std::min(units.size(), Size - 1);
  const bool splitsPair = length < units.size() && length > 0 && units[length] >= 0xDC00 && units[length] <= 0xDFFF;
  if (splitsPair) --length;
  std::fill(std::copy_n(units.begin(), length, member), member + Size, u'\0');
}

}  // namespace workstation
