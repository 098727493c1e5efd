#include "workstation/objects/ObjectNames.h"

#include <array>

#include "host/Files.h"
#include "platform/Paths.h"
#include "platform/Text.h"
#include "platform/WindowsTypes.h"

namespace workstation {
namespace {

struct Kind {
  QuorvelFileType type;
  int objectType;
  int loadObject;
  int highest;
  const wchar_t* prefix;
  const wchar_t* ending;
  const wchar_t* expression;
};

constexpr std::array kKinds = {
    Kind{eFileType_Teilbild, 0, 1, 9999, L"tb", L".zdw", L"^tb00(?!0000)[0-9]{4}\\.zdw$"},
    Kind{eFileType_Zeichnung, 1, 3, 999999, L"ze", L".000", L"^ze(?!000000)[0-9]{6}\\.000$"},
    Kind{eFileType_Plan, 2, 2, 999999, L"pb", L".zpl", L"^pb(?!000000)[0-9]{6}\\.zpl$"},
};
constexpr std::size_t kDigits = 6;

struct NamedKind {
  QuorvelFileType type;
  const wchar_t* name;
};
constexpr std::array kNamedFiles = {NamedKind{eFileType_QuorvelBim, L"QuorvelBim.xml"},
                                    NamedKind{eFileType_QuorvelLayout, L"QuorvelLayout.xml"}};
constexpr std::array kResourceEndings = {NamedKind{eFileType_ResourceA, L".zra"},
                                         NamedKind{eFileType_ResourceB, L".zrb"}};

const Kind* findKind(int type) {
  for (const Kind& kind : kKinds)
    if (kind.type == type) return &kind;
  return nullptr;
}

QuorvelFileType typeOfOtherFile(std::wstring_view name) {
  for (const NamedKind& kind : kNamedFiles)
    if (platform::equalsIgnoreCase(name, kind.name)) return kind.type;
  for (const NamedKind& kind : kResourceEndings)
    if (name.size() > std::wstring_view(kind.name).size() && platform::endsWithIgnoreCase(name, kind.name))
      return kind.type;
  return eFileType_Unknown;
}

}  // namespace

bool isObjectType(int type) {
  return findKind(type) != nullptr;
}

int highestNumber(int type) {
  const Kind* kind = findKind(type);
  return kind != nullptr ? kind->highest : 0;
}

bool isPossibleNumber(int type, int number) {
  return number >= 1 && number <= highestNumber(type);
}

std::wstring objectFileName(int type, int number) {
  if (!isPossibleNumber(type, number)) return {};
  const Kind* kind = findKind(type);
  return platform::formatWide(L"%s%06d%s", kind->prefix, number, kind->ending);
}

std::optional<ObjectName> parseObjectFileName(std::wstring_view fileName) {
  for (const Kind& kind : kKinds) {
    const std::wstring_view prefix = kind.prefix;
    const std::wstring_view ending = kind.ending;
    if (fileName.size() != prefix.size() + kDigits + ending.size()) continue;
    if (!platform::startsWithIgnoreCase(fileName, prefix) || !platform::endsWithIgnoreCase(fileName, ending)) continue;
    int number = 0;
    for (const wchar_t digit : fileName.substr(prefix.size(), kDigits)) {
      if (digit < L'0' || digit > L'9') return std::nullopt;
      number = number * 10 + static_cast<int>(digit - L'0');
    }
    if (!isPossibleNumber(kind.type, number)) return std::nullopt;
    return ObjectName{kind.type, number};
  }
  return std::nullopt;
}

QuorvelFileType fileTypeOfObjectType(int objectType) {
  for (const Kind& kind : kKinds)
    if (kind.objectType == objectType) return kind.type;
  return eFileType_Unknown;
}

int objectTypeOfFileType(int type) {
  const Kind* kind = findKind(type);
  return kind != nullptr ? kind->objectType : -1;
}

QuorvelFileType fileTypeOfLoadObject(int loadObject) {
  for (const Kind& kind : kKinds)
    if (kind.loadObject == loadObject) return kind.type;
  return eFileType_Unknown;
}

}  // namespace workstation

bool GetTypeFromFilePathName(const std::wstring& path, QuorvelFileType& type, int& number) {
  type = eFileType_Unknown;
  number = -1;
  const std::wstring name = platform::fileNameOf(path);
  if (const auto object = workstation::parseObjectFileName(name)) {
    type = object->type;
    number = object->number;
    return true;
  }
  type = workstation::typeOfOtherFile(name);
  if (type == eFileType_Unknown) return false;
  number = 0;
  return true;
}

const wchar_t* GetBoostRegExFilterExpression(QuorvelFileType type) {
  if (const workstation::Kind* kind = workstation::findKind(type)) return kind->expression;
  if (type == eFileType_ResourceA) return L"[^\\\\/]\\.zra$";
  if (type == eFileType_ResourceB) return L"[^\\\\/]\\.zrb$";
  if (type == eFileType_QuorvelBim) return L"^quorvelbim\\.xml$";
  if (type == eFileType_QuorvelLayout) return L"^quorvellayout\\.xml$";
  return nullptr;
}

std::wstring lfznamC(int type, int number, int /*flags*/, int& error) {
  std::wstring name = workstation::objectFileName(type, number);
  error = name.empty() ? static_cast<int>(ERROR_INVALID_PARAMETER) : 0;
  return name;
}
