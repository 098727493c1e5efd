#include "core/ObjectNames.h"

#include "platform/Text.h"

namespace Quorvel::FileAccess {
namespace {

struct Row {
  ObjectType type;
  QuorvelFileType fileType;
  const wchar_t* name;  ///< format, over the number
  const wchar_t* pattern;
};

constexpr Row kRows[] = {
    {eObject_Teilbild, eFileType_Teilbild, L"tb%06d.zdw", L"tb??????.zdw"},
    {eObject_Zeichnung, eFileType_Zeichnung, L"ze%06d.000", L"ze??????.000"},
    {eObject_Plan, eFileType_Plan, L"pb%06d.zpl", L"pb??????.zpl"},
};

const Row* rowOf(ObjectType type) {
  for (const Row& row : kRows) {
    if (row.type == type) return &row;
  }
  return nullptr;
}

}  // namespace

std::wstring objectFileName(ObjectType type, int number) {
  const Row* row = rowOf(type);
  return row != nullptr ? platform::formatWide(row->name, number) : std::wstring();
}

std::wstring objectFilePattern(ObjectType type) {
  const Row* row = rowOf(type);
  return row != nullptr ? row->pattern : std::wstring();
}

std::optional<ObjectType> objectTypeOf(int fileType) {
  for (const Row& row : kRows) {
    if (row.fileType == fileType) return row.type;
  }
  return std::nullopt;
}

}  // namespace Quorvel::FileAccess
