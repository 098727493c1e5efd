// Header records of project objects: plain values of fixed size, copied whole, compared whole.
//
// Text members are UTF-16 code units ended by 0. A cleared record is all zero; a Teilbild's and a Plan's has the
// version counter kUnknownVersion.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <type_traits>

/// Version counter of an object whose version is not known, or that does not exist.
constexpr std::uint32_t kUnknownVersion = 0xFFFFFFFF;

struct TeilbildHeader {
  std::int32_t number;  ///< 0: no header was delivered
  std::uint32_t flags;
  double guidFirst;  ///< the file GUID's halves, see GetGUIDFromTwoDoubles
  double guidSecond;
  std::int64_t createdTime;   ///< 100 ns since 1601, UTC
  std::int64_t modifiedTime;  ///< 100 ns since 1601, UTC
  std::int64_t contentSize;   ///< bytes of the wrapped content
  std::uint32_t contentCrc;   ///< CRC-32 (ISO-HDLC) of the content
  std::int32_t creator;       ///< user number
  std::int32_t lastUser;      ///< user number
  std::int32_t reserved0;
  double scale;
  char16_t name[128];         ///< name shown to the user
  char16_t contentName[128];  ///< file name of the wrapped content
  char16_t userName[64];
  std::uint8_t opaque[859];
  std::uint8_t compressedMark;  ///< 1 in a compressed file
  std::uint32_t versionCounter;
};
static_assert(sizeof(TeilbildHeader) == 1576 && std::is_trivially_copyable_v<TeilbildHeader>);
static_assert(offsetof(TeilbildHeader, compressedMark) == 1571 && offsetof(TeilbildHeader, versionCounter) == 1572);

struct PlanHeader {
  std::int32_t number;
  std::uint32_t versionCounter;
  double guidFirst;  ///< both halves 0: no header was delivered
  double guidSecond;
  std::int64_t createdTime;
  std::int64_t modifiedTime;
  std::int64_t contentSize;
  std::uint32_t contentCrc;
  std::int32_t creator;
  std::int32_t lastUser;
  std::uint16_t hostMember;  ///< kept by the database alone; the server's header lacks it
  std::uint16_t flags;
  char16_t name[128];
  char16_t contentName[128];
  char16_t userName[64];
  std::uint8_t opaque[192];
};
static_assert(sizeof(PlanHeader) == 896 && std::is_trivially_copyable_v<PlanHeader>);

struct ZeichnungHeader {
  std::int32_t number;
  std::uint32_t versionCounter;
  double guidFirst;
  double guidSecond;
  std::int64_t createdTime;
  std::int64_t modifiedTime;
  std::int64_t contentSize;
  std::uint32_t contentCrc;
  std::int32_t creator;
  std::int32_t lastUser;
  std::int32_t flags;
  char16_t name[128];
  char16_t contentName[128];
};
static_assert(std::is_trivially_copyable_v<ZeichnungHeader>);

/// All zero. The version counter of a Teilbild or Plan, which versions are compared by, is kUnknownVersion.
template <typename Header>
Header clearedHeader() {
  Header header;
  std::memset(static_cast<void*>(&header), 0, sizeof header);
  if constexpr (!std::is_same_v<Header, ZeichnungHeader>) header.versionCounter = kUnknownVersion;
  return header;
}
