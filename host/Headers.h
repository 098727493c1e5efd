// Headers of object files: reading them from files, from the host's cache, from stored images of any version.
#pragma once

#include <cstdint>
#include <string>

#include "host/Export.h"
#include "host/Records.h"

/// Version counters grow by one with each save and wrap; the value kUnknownVersion is passed over.
class HOST_API ZP_Header_TBFileBase {
 public:
  /// Above 0 when `a` has wrapped past `b` and counts as newer although it is numerically smaller. The newer of two
  /// counters is the one that lies less than half the range ahead.
  static int IsVersionCounterWrap(std::uint32_t a, std::uint32_t b);
  /// Makes a record that a compression can store for a file whose header can't be read: cleared, with the number and
  /// name given.
  static void InitDefaults(TeilbildHeader& record, int number, const wchar_t* name, const wchar_t* user, int kind,
                           int flags);
};

class HOST_API ZP_Header_PLFileBase {
 public:
  static int IsVersionCounterWrap(std::uint32_t a, std::uint32_t b);
};

/// Reads the header of the object file `number` below host path `pathNumber`. Each form answers 0 on success and
/// otherwise an error code (2 not found, 5 access, 13 damaged or foreign file); the output is then untouched. A
/// compressed Teilbild gives the record that it carries.
class HOST_API ZP_Header_Teilbild {
 public:
  static int CheckOpenAndReadInfo(int pathNumber, unsigned number, TeilbildHeader& out, bool fromFile);
  int CheckOpenAndReadInfo(int pathNumber, unsigned number, bool fromFile);
  const TeilbildHeader& GetInfo() const { return info_; }

 private:
  TeilbildHeader info_ = clearedHeader<TeilbildHeader>();
};

class HOST_API ZP_Header_Plan {
 public:
  static int CheckOpenAndReadInfo(int pathNumber, unsigned number, PlanHeader& out, bool fromFile);
  int CheckOpenAndReadInfo(int pathNumber, unsigned number, bool fromFile);
  const PlanHeader& GetInfo() const { return info_; }

 private:
  PlanHeader info_ = clearedHeader<PlanHeader>();
};

class HOST_API ZP_Header_Zeichnung {
 public:
  static int CheckOpenAndReadInfo(int pathNumber, unsigned number, ZeichnungHeader& out);
  int CheckOpenAndReadInfo(int pathNumber, unsigned number);
  const ZeichnungHeader& GetInfo() const { return info_; }

 private:
  ZeichnungHeader info_ = clearedHeader<ZeichnungHeader>();
};

/// A header kept in memory from an earlier reading of the server.
class HOST_API ITeilbildHeaderCache {
 public:
  virtual ~ITeilbildHeaderCache() = default;
  /// @param rows  1 when the header was found and copied, 0 when the server has none
  /// @return true when the cache could answer at all
  virtual bool getHeader(unsigned number, TeilbildHeader& out, int& rows) = 0;
};
HOST_API ITeilbildHeaderCache& getTBHeaderCache();

/// Bytes of a stored header.
constexpr std::uint32_t kStoredHeaderSize = 408;

/// Brings a stored image of any version up to the current record.
/// @param image      at least `byteCount` bytes
/// @param size       capacity that the caller asked for, kStoredHeaderSize
/// @return false for an image that is none, of an unknown newer version, or cut short; `out` is then untouched
HOST_API bool datwaTBHeaderToLatest(const std::uint8_t* image, std::uint32_t size, std::uint32_t byteCount,
                                    TeilbildHeader& out);
HOST_API bool datwaPlHeaderToLatest(const std::uint8_t* image, std::uint32_t size, std::uint32_t byteCount, bool flag,
                                    PlanHeader& out);
