#include "platform/Text.h"

#include <algorithm>

#include "platform/TextCodec.h"

namespace platform {
namespace {

struct ByteRange {
  unsigned char low;
  unsigned char high;
  bool holds(unsigned char byte) const { return byte >= low && byte <= high; }
};

/// What has to follow a lead byte: how many bytes, and the range of the first of them.
struct SequenceShape {
  std::size_t trailing;
  ByteRange second;
};

SequenceShape shapeOf(unsigned char lead) {
  if (lead >= 0xC2 && lead <= 0xDF) return {1, {0x80, 0xBF}};
  if (lead == 0xE0) return {2, {0xA0, 0xBF}};  // shorter forms exist
  if (lead == 0xED) return {2, {0x80, 0x9F}};  // surrogates
  if (lead >= 0xE1 && lead <= 0xEF) return {2, {0x80, 0xBF}};
  if (lead == 0xF0) return {3, {0x90, 0xBF}};  // shorter forms exist
  if (lead >= 0xF1 && lead <= 0xF3) return {3, {0x80, 0xBF}};
  if (lead == 0xF4) return {3, {0x80, 0x8F}};  // above 10FFFF
  return {0, {0, 0}};
}

constexpr bool isHighSurrogate(char32_t c) {
  return c >= 0xD800 && c <= 0xDBFF;
}
constexpr bool isLowSurrogate(char32_t c) {
  return c >= 0xDC00 && c <= 0xDFFF;
}

}  // namespace

DecodedCharacter decodeUtf8(std::string_view text) {
  const auto byteAt = [text](std::size_t i) { return static_cast<unsigned char>(text[i]); };
  const unsigned char lead = byteAt(0);
  if (lead < 0x80) return {static_cast<wchar_t>(lead), 1, true};
  const SequenceShape shape = shapeOf(lead);
  if (shape.trailing == 0) return {kReplacementCharacter, 1, false};

  const unsigned leadMask = 0x3FU >> shape.trailing;
  unsigned value = lead & leadMask;
  for (std::size_t i = 1; i <= shape.trailing; ++i) {
    if (i == text.size()) return {kReplacementCharacter, 0, false};
    const ByteRange range = i == 1 ? shape.second : ByteRange{0x80, 0xBF};
    if (!range.holds(byteAt(i))) return {kReplacementCharacter, i, false};
    value = (value << 6U) | (byteAt(i) & 0x3FU);
  }
  return {static_cast<wchar_t>(value), shape.trailing + 1, true};
}

DecodedCharacter decodeUtf16(std::u16string_view text) {
  const char32_t first = text[0];
  if (!isSurrogate(first)) return {static_cast<wchar_t>(first), 1, true};
  if (!isHighSurrogate(first)) return {kReplacementCharacter, 1, false};
  if (text.size() == 1) return {kReplacementCharacter, 0, false};
  const char32_t second = text[1];
  if (!isLowSurrogate(second)) return {kReplacementCharacter, 1, false};
  return {static_cast<wchar_t>(0x10000U + ((first - 0xD800U) << 10U) + (second - 0xDC00U)), 2, true};
}

void appendUtf8(std::string& out, wchar_t c) {
  auto value = static_cast<char32_t>(c);
  if (!isCharacter(value)) value = static_cast<char32_t>(kReplacementCharacter);
  const auto trailing = [value](unsigned shift) { return static_cast<char>(0x80U | ((value >> shift) & 0x3FU)); };
  if (value < 0x80) {
    out += static_cast<char>(value);
  } else if (value < 0x800) {
    out += {static_cast<char>(0xC0U | (value >> 6U)), trailing(0)};
  } else if (value < 0x10000) {
    out += {static_cast<char>(0xE0U | (value >> 12U)), trailing(6), trailing(0)};
  } else {
    out += {static_cast<char>(0xF0U | (value >> 18U)), trailing(12), trailing(6), trailing(0)};
  }
}

void appendUtf16(std::u16string& out, wchar_t c) {
  auto value = static_cast<char32_t>(c);
  if (!isCharacter(value)) value = static_cast<char32_t>(kReplacementCharacter);
  if (value < 0x10000) {
    out += static_cast<char16_t>(value);
    return;
  }
  value -= 0x10000;
  out += {static_cast<char16_t>(0xD800U + (value >> 10U)), static_cast<char16_t>(0xDC00U + (value & 0x3FFU))};
}

namespace {

/// Most names and lines are ASCII, which needs no decoding.
std::size_t asciiLength(std::string_view text) {
  const auto end = std::find_if(text.begin(), text.end(), [](char c) { return static_cast<unsigned char>(c) >= 0x80; });
  return static_cast<std::size_t>(end - text.begin());
}

}  // namespace

std::wstring fromUtf8(std::string_view text) {
  std::wstring out;
  const std::size_t ascii = asciiLength(text);
  out.reserve(text.size());
  out.assign(text.begin(), text.begin() + static_cast<std::ptrdiff_t>(ascii));
  text.remove_prefix(ascii);
  while (!text.empty()) {
    const DecodedCharacter next = decodeUtf8(text);
    out += next.character;
    text.remove_prefix(next.length != 0 ? next.length : text.size());
  }
  return out;
}

std::string toUtf8(std::wstring_view text) {
  std::string out;
  out.reserve(text.size());
  for (const wchar_t c : text) appendUtf8(out, c);
  return out;
}

std::u16string toUtf16(std::wstring_view text) {
  std::u16string out;
  out.reserve(text.size());
  for (const wchar_t c : text) appendUtf16(out, c);
  return out;
}

std::wstring fromUtf16(std::u16string_view text) {
  std::wstring out;
  out.reserve(text.size());
  while (!text.empty()) {
    const DecodedCharacter next = decodeUtf16(text);
    out += next.character;
    text.remove_prefix(std::max<std::size_t>(next.length, 1));
  }
  return out;
}

bool isValidUtf8(std::string_view text) {
  text.remove_prefix(asciiLength(text));
  while (!text.empty()) {
    const DecodedCharacter next = decodeUtf8(text);
    if (!next.wellFormed) return false;
    text.remove_prefix(next.length);
  }
  return true;
}

}  // namespace platform
