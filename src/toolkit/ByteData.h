// A block of bytes in memory, and the check sum of one.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace Quorvel::FileAccess {

class CkByteData {
 public:
  CkByteData() = default;
  /// Takes the bytes over.
  explicit CkByteData(std::vector<std::uint8_t> bytes) : bytes_(std::move(bytes)) {}

  void append(const void* data, std::size_t size);
  const std::uint8_t* getData() const { return bytes_.data(); }
  std::size_t getSize() const { return bytes_.size(); }
  void clear() { bytes_.clear(); }
  void reserve(std::size_t size) { bytes_.reserve(size); }
  /// Takes a whole file (library path) in the place of what was there. @return false, with the thread's last error
  /// set and the block empty, when it can't be read or does not fit into memory
  bool loadFile(const std::wstring& path);

 private:
  std::vector<std::uint8_t> bytes_;
};

class CkZipCrc {
 public:
  /// CRC-32 as ZIP (ISO 3309, ITU-T V.42) defines it; 0 for an empty block.
  static std::uint32_t CalculateCrc(const CkByteData& data);
};

}  // namespace Quorvel::FileAccess
