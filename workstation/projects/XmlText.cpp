#include "workstation/projects/XmlText.h"

#include <algorithm>
#include <charconv>
#include <cstring>
#include <pugixml.hpp>

#include "platform/Files.h"
#include "platform/Text.h"

namespace workstation {
namespace {

constexpr std::uint64_t kLargestFile = std::uint64_t{4} * 1024 * 1024;

struct StringWriter final : pugi::xml_writer {
  std::string text;
  void write(const void* data, std::size_t size) override { text.append(static_cast<const char*>(data), size); }
};

}  // namespace

std::wstring placeError(const std::wstring& file, const std::string& text, std::ptrdiff_t offset,
                        const std::wstring& what) {
  const auto end = std::clamp<std::ptrdiff_t>(offset, 0, static_cast<std::ptrdiff_t>(text.size()));
  const auto place = text.begin() + end;
  const auto line = 1 + std::count(text.begin(), place, '\n');
  const auto column = 1 + (place - std::find(std::make_reverse_iterator(place), text.rend(), '\n').base());
  return platform::formatWide(L"%s: line %d, column %d: %s", file, static_cast<int>(line), static_cast<int>(column),
                              what);
}

DWORD readXml(const std::wstring& file, pugi::xml_document& document, std::string& text, std::wstring& error) {
  const DWORD code = platform::readWholeFile(file, text, kLargestFile);
  if (code != 0) {
    error = platform::formatWide(L"%s: the file can't be read (error %u)", file, code);
    return code;
  }
  const unsigned options = pugi::parse_full | pugi::parse_ws_pcdata_single;
  const pugi::xml_parse_result result = document.load_buffer(text.data(), text.size(), options);
  if (result) return 0;
  error = placeError(file, text, result.offset,
                     platform::formatWide(L"expected well-formed XML: %s", platform::fromUtf8(result.description())));
  return ERROR_INVALID_DATA;
}

DWORD writeXml(const std::wstring& file, const pugi::xml_document& document, std::wstring& error) {
  StringWriter writer;
  document.save(writer, "  ", pugi::format_default, pugi::encoding_utf8);
  const DWORD code = platform::writeFileAtomically(file, writer.text.data(), writer.text.size());
  if (code != 0) error = platform::formatWide(L"%s: the file can't be written (error %u)", file, code);
  return code;
}

std::optional<std::int64_t> parseNumber(const char* text, std::int64_t low, std::int64_t high) {
  std::int64_t value = 0;
  const char* const end = text + std::strlen(text);
  const auto [rest, problem] = std::from_chars(text, end, value);
  if (problem != std::errc() || rest != end || value < low || value > high) return std::nullopt;
  return value;
}

}  // namespace workstation
