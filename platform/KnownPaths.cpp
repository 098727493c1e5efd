// Places that the system knows by itself: the directory of temporary files, the running program.

#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <cstdlib>

#include "platform/Errors.h"
#include "platform/Files.h"
#include "platform/Paths.h"

DWORD GetTempPathW(DWORD size, wchar_t* buffer) {
  const char* configured = std::getenv("TMPDIR");
  const std::string directory = configured != nullptr && configured[0] == '/' ? configured : "/tmp";
  std::wstring path = platform::libraryPath(directory);
  if (path.back() != L'\\') path += L'\\';
  const auto length = static_cast<DWORD>(path.size());
  // Too small a buffer gets nothing, and the answer is the size to come back with.
  if (buffer == nullptr || size <= length) return length + 1;
  std::copy(path.begin(), path.end(), buffer);
  buffer[length] = L'\0';
  return length;
}

DWORD GetModuleFileNameW(HMODULE module, wchar_t* buffer, DWORD size) {
  if (module != nullptr || buffer == nullptr || size == 0) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return 0;
  }
  std::array<char, PATH_MAX> link{};
  const ssize_t linkLength = ::readlink("/proc/self/exe", link.data(), link.size());
  if (linkLength <= 0) {
    platform::failWithErrno();
    return 0;
  }
  const std::wstring path = platform::libraryPath(std::string(link.data(), static_cast<std::size_t>(linkLength)));
  const std::size_t length = std::min(path.size(), static_cast<std::size_t>(size) - 1);
  std::copy_n(path.begin(), length, buffer);
  buffer[length] = L'\0';
  if (length == path.size()) return static_cast<DWORD>(length);
  SetLastError(ERROR_INSUFFICIENT_BUFFER);
  return size;
}
