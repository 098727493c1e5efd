#include "core/ObjectNames.h"

#include "platform/Text.h"

namespace Quorvel::FileAccess {
namespace {

constexpr std::size_t kDigits = 6;

struct Row {
  ObjectType type;
  QuorvelFileType fileType;
  const wchar_t* prefix;
  const wchar_t* extension;
};

constexpr Row kRows[] = {
    {eObject_Teilbild, eFileType_Teilbild, L"tb", L".zdw"},
    {eObject_Zeichnung, eFileType_Zeichnung, L"ze", L".000"},
    {eObject_Plan, eFileType_Plan, L"pb", L".zpl"},
};

const Row* rowOf(ObjectType type) {
  for (const Row& row : kRows) {
    if (row.type == type) return &row;
  }
  return nullptr;
}

std::optional<int> parseNumber(std::wstring_view digits) {
  if (digits.size() != kDigits) return std::nullopt;
  int number = 0;
  for (const wchar_t c : digits) {
    if (c < L'0' || c > L'9') return std::nullopt;
    number = number * 10 + static_cast<int>(c - L'0');
  }
  if (number == 0) return std::nullopt;
  return number;
}

}  // namespace

std::wstring objectFileName(ObjectType type, int number) {
  const Row* row = rowOf(type);
  if (row == nullptr) return {};
  return platform::formatWide(L"%s%06d%s", row->prefix, number, row->extension);
}

std::wstring objectFilePattern(ObjectType type) {
  const Row* row = rowOf(type);
  if (row == nullptr) return {};
  return row->prefix + std::wstring(kDigits, L'?') + row->extension;
}

std::optional<ObjectName> parseObjectFileName(const std::wstring& name) {
  for (const Row& row : kRows) {
    const std::wstring_view prefix = row.prefix;
    const std::wstring_view extension = row.extension;
    if (name.size() < prefix.size() + extension.size()) continue;
    if (!platform::startsWithIgnoreCase(name, prefix) || !platform::endsWithIgnoreCase(name, extension)) continue;
    const auto digits = std::wstring_view(name).substr(prefix.size(), name.size() - prefix.size() - extension.size());
    if (const auto number = parseNumber(digits)) return ObjectName{row.type, *number};
  }
  return std::nullopt;
}

std::optional<ObjectType> objectTypeOf(int fileType) {
  for (const Row& row : kRows) {
    if (row.fileType == fileType) return row.type;
  }
  return std::nullopt;
}

QuorvelFileType fileTypeOf(ObjectType type) {
  const Row* row = rowOf(type);
  return row != nullptr ? row->fileType : eFileType_Unknown;
}

}  // namespace Quorvel::FileAccess
