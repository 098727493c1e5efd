// Small files of XML: read whole with a place in every error, written whole or not at all.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

#include "platform/WindowsTypes.h"

namespace pugi {
class xml_document;
class xml_node;
}  // namespace pugi

namespace workstation {

/// Reads a file of at most 4 MiB with all that it holds: comments, unknown elements, instructions.
/// @param text   receives the file's bytes, for placeError
/// @param error  names file, line and column
/// @return 0; the error of reading; ERROR_INVALID_DATA for what is no well-formed XML
DWORD readXml(const std::wstring& file, pugi::xml_document& document, std::string& text, std::wstring& error);

/// @return 0, or the error with its text; the old file then stands unchanged
DWORD writeXml(const std::wstring& file, const pugi::xml_document& document, std::wstring& error);

/// "file: line 3, column 5: expected ..." for an offset in a text.
std::wstring placeError(const std::wstring& file, const std::string& text, std::ptrdiff_t offset,
                        const std::wstring& what);

/// A whole decimal number within the bounds and nothing beside it.
std::optional<std::int64_t> parseNumber(const char* text, std::int64_t low, std::int64_t high);

}  // namespace workstation
