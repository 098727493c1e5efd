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

/// Library path of a directory of this process, which goes with it.
std::wstring directory();
/// Writes a file there, in place of what it held. @return its library path
std::wstring fileOf(std::string_view bytes, const char* name = "input");

}  // namespace fuzz
