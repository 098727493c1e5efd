#include "workstation/program/ObjectName.h"

#include "host/Files.h"
#include "platform/Text.h"
#include "workstation/objects/ObjectNames.h"

namespace workstation::program {

namespace {

constexpr std::size_t kMostDigits = 6;

std::optional<int> parseNumber(const std::wstring& text) {
  if (text.empty() || text.size() > kMostDigits) return std::nullopt;
  int number = 0;
  for (const wchar_t c : text) {
    if (c < L'0' || c > L'9') return std::nullopt;
    number = number * 10 + (c - L'0');
  }
  if (number == 0) return std::nullopt;
  return number;
}

std::optional<ObjectName> possible(QuorvelFileType type, int number) {
  if (!isPossibleNumber(type, number)) return std::nullopt;
  return ObjectName{type, number};
}

}  // namespace

int ObjectName::objectType() const {
  if (type == eFileType_Zeichnung) return 1;
  return type == eFileType_Plan ? 2 : 0;
}

std::wstring ObjectName::fileName() const {
  int error = 0;
  return lfznamC(type, number, 0, error);
}

std::wstring ObjectName::shortName() const {
  const wchar_t* prefix = L"tb";
  if (type == eFileType_Zeichnung) prefix = L"ze";
  if (type == eFileType_Plan) prefix = L"pb";
  return prefix + std::to_wstring(number);
}

QuorvelFileType fileTypeOf(int objectType) {
  if (objectType == 1) return eFileType_Zeichnung;
  return objectType == 2 ? eFileType_Plan : eFileType_Teilbild;
}

std::optional<QuorvelFileType> parseObjectType(const std::wstring& text) {
  const std::wstring lower = platform::toLower(text);
  if (lower == L"tb" || lower == L"teilbild") return eFileType_Teilbild;
  if (lower == L"pb" || lower == L"pl" || lower == L"plan") return eFileType_Plan;
  if (lower == L"ze" || lower == L"zeichnung") return eFileType_Zeichnung;
  return std::nullopt;
}

std::optional<ObjectName> parseObjectName(const std::wstring& text) {
  if (const auto number = parseNumber(text)) return possible(eFileType_Teilbild, *number);
  if (text.size() > 2) {
    const auto type = parseObjectType(text.substr(0, 2));
    const auto number = parseNumber(text.substr(2));
    if (type && number) return possible(*type, *number);
  }
  QuorvelFileType type = eFileType_Unknown;
  int number = 0;
  const bool plainName = text.find_first_of(L"\\/") == std::wstring::npos;
  const bool object = plainName && GetTypeFromFilePathName(text, type, number) && number > 0 &&
                      (type == eFileType_Teilbild || type == eFileType_Plan || type == eFileType_Zeichnung);
  if (!object) return std::nullopt;
  return possible(type, number);
}

}  // namespace workstation::program
