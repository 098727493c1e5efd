#include "host/Guid.h"

#include <array>
#include <cstring>
#include <random>

#include "platform/Text.h"

namespace {

constexpr std::size_t kTextLength = 36;

int hexDigit(wchar_t c) {
  if (c >= L'0' && c <= L'9') return c - L'0';
  if (c >= L'a' && c <= L'f') return c - L'a' + 10;
  if (c >= L'A' && c <= L'F') return c - L'A' + 10;
  return -1;
}

bool isHyphenPlace(std::size_t i) {
  return i == 8 || i == 13 || i == 18 || i == 23;
}

}  // namespace

namespace Quorvel::Cad::Service {

bool ZP_GUIDValueProvider::IsEqualGUID(const GUID& a, const GUID& b) {
  return std::memcmp(&a, &b, sizeof(GUID)) == 0;
}

bool ZP_GUIDValueProvider::scanGUID(const std::wstring& text, GUID& out) {
  std::wstring_view rest = text;
  if (rest.size() == kTextLength + 2 && rest.front() == L'{' && rest.back() == L'}') {
    rest = rest.substr(1, kTextLength);
  }
  if (rest.size() != kTextLength) return false;
  std::array<std::uint8_t, 16> bytes{};
  std::size_t digits = 0;
  for (std::size_t i = 0; i < kTextLength; ++i) {
    if (isHyphenPlace(i)) {
      if (rest[i] != L'-') return false;
      continue;
    }
    const int digit = hexDigit(rest[i]);
    if (digit < 0) return false;
    bytes[digits / 2] = static_cast<std::uint8_t>(bytes[digits / 2] * 16 + digit);
    ++digits;
  }
  out.Data1 = (static_cast<std::uint32_t>(bytes[0]) << 24U) | (static_cast<std::uint32_t>(bytes[1]) << 16U) |
              (static_cast<std::uint32_t>(bytes[2]) << 8U) | bytes[3];
  out.Data2 = static_cast<std::uint16_t>(bytes[4] * 256 + bytes[5]);
  out.Data3 = static_cast<std::uint16_t>(bytes[6] * 256 + bytes[7]);
  std::memcpy(out.Data4, bytes.data() + 8, sizeof out.Data4);
  return true;
}

std::wstring ZP_GUIDValueProvider::printGUID(const GUID& guid) {
  std::wstring text = platform::formatWide(L"%08x-%04x-%04x-", guid.Data1, static_cast<unsigned>(guid.Data2),
                                           static_cast<unsigned>(guid.Data3));
  for (std::size_t i = 0; i < sizeof guid.Data4; ++i) {
    if (i == 2) text += L'-';
    text += platform::formatWide(L"%02x", static_cast<unsigned>(guid.Data4[i]));
  }
  return text;
}

}  // namespace Quorvel::Cad::Service

GUID GetGUID() {
  // Straight from the system's source: two processes that start together must not share a seed.
  std::random_device source;
  std::array<std::uint32_t, 4> words{};
  for (std::uint32_t& word : words) word = source();
  GUID guid{};
  static_assert(sizeof guid == sizeof words);
  std::memcpy(&guid, words.data(), sizeof guid);
  guid.Data3 = static_cast<std::uint16_t>((guid.Data3 & 0x0FFFU) | 0x4000U);
  guid.Data4[0] = static_cast<std::uint8_t>((guid.Data4[0] & 0x3FU) | 0x80U);
  return guid;
}

GUID GetGUIDFromTwoDoubles(double first, double second) {
  GUID guid{};
  const double halves[] = {first, second};
  static_assert(sizeof halves == sizeof guid);
  std::memcpy(&guid, halves, sizeof guid);
  return guid;
}

void GetTwoDoublesFromGUID(const GUID& guid, double& first, double& second) {
  std::memcpy(&first, &guid, sizeof first);
  std::memcpy(&second, reinterpret_cast<const char*>(&guid) + sizeof first, sizeof second);
}
