// What the fuzz targets share.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

// Called by libFuzzer with each input. NOLINTNEXTLINE(bugprone-reserved-identifier)
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace fuzz {

/// Ends the run, with the text and the input kept, unless the statement holds.
void require(bool holds, const char* statement);

inline std::string_view textOf(const std::uint8_t* data, std::size_t size) {
  return {reinterpret_cast<const char*>(data), size};
}

/// Writes the file of this process in the directory of temporary files, in place of what it held.
/// @return its library path; the file goes with the process
std::wstring fileOf(std::string_view bytes);

}  // namespace fuzz
