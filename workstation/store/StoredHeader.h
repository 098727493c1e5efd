// The stored image of an object's header: a versioned block of bytes that the store keeps beside the file. Reading it
// back is datwaTBHeaderToLatest and datwaPlHeaderToLatest of host/Headers.h.
//
// An image is little-endian: mark "ZHDR", version (16 bits), kind (16 bits: 1 Teilbild, 2 Plan), size of the image,
// CRC-32 of all behind it, then the members. Version 2, of 408 bytes, is written; version 1, of 176 bytes, is still
// read: it has times in whole seconds since 1970, a 32-bit content size, shorter texts, and lacks content name,
// checksum, scale and compressed mark.
#pragma once

#include <cstdint>
#include <vector>

#include "host/Records.h"
#include "workstation/Export.h"

namespace workstation {

WORKSTATION_API std::vector<std::uint8_t> storedImage(const TeilbildHeader& header);
WORKSTATION_API std::vector<std::uint8_t> storedImage(const PlanHeader& header);

/// Reduces the header behind a pointer of an upload.
/// @param size  bytes behind the pointer: 1576 a TeilbildHeader, 896 a PlanHeader, anything else none
/// @return empty when there is none
std::vector<std::uint8_t> storedImageOf(const void* header, std::uint32_t size);

}  // namespace workstation
