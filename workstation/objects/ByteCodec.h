// Little-endian integers in byte buffers whose bounds the caller has checked.
#pragma once

#include <cstddef>
#include <cstdint>

namespace workstation {

template <typename Integer>
Integer getLittleEndian(const std::uint8_t* buffer, std::size_t offset) {
  std::uint64_t value = 0;
  for (std::size_t i = sizeof(Integer); i-- > 0;) value = (value << 8U) | buffer[offset + i];
  return static_cast<Integer>(value);
}

template <typename Integer>
void putLittleEndian(std::uint8_t* buffer, std::size_t offset, Integer number) {
  auto value = static_cast<std::uint64_t>(number);
  for (std::size_t i = 0; i < sizeof(Integer); ++i, value >>= 8U) {
    buffer[offset + i] = static_cast<std::uint8_t>(value & 0xFFU);
  }
}

}  // namespace workstation
