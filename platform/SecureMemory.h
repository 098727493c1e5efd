// Memory that held a secret.
#pragma once

#include <cstddef>
#include <string>

#ifdef _WIN32
#include <windows.h>
#else
/// Overwrites memory with zeros, which no optimisation leaves out.
inline void* SecureZeroMemory(void* memory, std::size_t size) {
  volatile auto* byte = static_cast<volatile unsigned char*>(memory);
  for (std::size_t i = 0; i < size; ++i) byte[i] = 0;
  return memory;
}
#endif

namespace platform {

/// Overwrites a text up to its capacity and leaves it empty. Memory that the text had before it grew is not reached: a
/// text that takes a secret reserves its room first.
template <typename Character>
void wipe(std::basic_string<Character>& text) {
  text.resize(text.capacity());
  SecureZeroMemory(text.data(), text.size() * sizeof(Character));
  text.clear();
}

}  // namespace platform
