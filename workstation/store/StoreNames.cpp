// Names of stored files and what they tell, and dates as listings show them.
#include <algorithm>

#include "host/FileTypes.h"
#include "platform/Paths.h"
#include "platform/Text.h"
#include "platform/Time.h"
#include "workstation/store/CloudStore.h"

namespace workstation {

bool normaliseStoreName(const std::wstring& given, std::wstring& name) {
  std::wstring candidate = given;
  std::replace(candidate.begin(), candidate.end(), L'/', L'\\');
  if (!candidate.empty() && candidate.front() == L'\\') candidate.erase(0, 1);
  if (!platform::isSafeRelativeName(candidate)) return false;
  name = std::move(candidate);
  return true;
}

FileClass classOfName(const std::wstring& name) {
  if (platform::startsWithIgnoreCase(name, L"BIM\\")) return FileClass::Bim;
  QuorvelFileType type = eFileType_Unknown;
  int number = -1;
  if (!GetTypeFromFilePathName(name, type, number)) return FileClass::Ordinary;
  // Objects lie in the project's directory itself; a copy of one in a folder is a file like any other.
  if (number > 0 && name.find(L'\\') != std::wstring::npos) return FileClass::Ordinary;
  if (type == eFileType_Teilbild) return FileClass::Teilbild;
  return type == eFileType_Plan ? FileClass::Plan : FileClass::Resource;
}

std::wstring storeDateText(const FILETIME& time) {
  SYSTEMTIME at{};
  if (FileTimeToSystemTime(&time, &at) == FALSE) return {};
  return platform::formatWide(L"%02d.%02d.%04d %02d:%02d:%02d", at.wDay, at.wMonth, at.wYear, at.wHour, at.wMinute,
                              at.wSecond);
}

}  // namespace workstation
