#include "toolkit/ZipLibrary.h"

#include <algorithm>

#include "platform/Messages.h"
#include "platform/Text.h"
#include "platform/Time.h"

namespace Quorvel::FileAccess {

namespace {

// 2 January 1980 to 30 December 2107.
constexpr std::int64_t kFirstTime = 315619200;
constexpr std::int64_t kLastTime = 4354732800;

}  // namespace

std::wstring zipReason(zip_error_t* error) {
  return platform::fromUtf8(zip_error_strerror(error));
}

std::wstring systemReason(DWORD error) {
  wchar_t text[512] = {};
  FormatMessageW(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr, error, 0, text, 512, nullptr);
  std::wstring result = text;
  result.erase(result.find_last_not_of(L"\r\n ") + 1);
  return result + platform::formatWide(L" (%lu)", error);
}

std::time_t archiveTime(const FILETIME& time) {
  return static_cast<std::time_t>(std::clamp(platform::toUnixSeconds(time), kFirstTime, kLastTime));
}

}  // namespace Quorvel::FileAccess
