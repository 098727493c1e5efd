#include "core/HandleResolver.h"

#include <cstdio>

#include "host/FileTypes.h"
#include "platform/Files.h"
#include "platform/Paths.h"
#include "platform/Text.h"

namespace Quorvel::FileAccess {
namespace {

/// File types of the transfer object; those of the structure files have no object type.
constexpr int kBimType = 5;
constexpr int kLayoutType = 10;

bool isEmptyFile(HANDLE file) {
  DWORD high = 0;
  return GetFileSize(file, &high) == 0 && high == 0;
}

QuorvelFileType structureFileType(const std::wstring& path) {
  const std::wstring name = platform::fileNameOf(path);
  if (platform::equalsIgnoreCase(name, L"QuorvelBim.xml")) return eFileType_QuorvelBim;
  if (platform::equalsIgnoreCase(name, L"QuorvelLayout.xml")) return eFileType_QuorvelLayout;
  return eFileType_Unknown;
}

bool translate(QuorvelFileType hostType, int hostNumber, int& type, int& number) {
  switch (hostType) {
    case eFileType_Teilbild:
      type = 0;
      number = hostNumber;
      return true;
    case eFileType_Zeichnung:
      type = 1;
      number = hostNumber;
      return true;
    case eFileType_Plan:
      type = 2;
      number = hostNumber;
      return true;
    case eFileType_QuorvelBim:
      type = kBimType;
      number = 0;
      return true;
    case eFileType_QuorvelLayout:
      type = kLayoutType;
      number = 0;
      return true;
    default:
      return false;
  }
}

}  // namespace

bool resolveFileHandle(HANDLE file, int& type, int& number, std::wstring& name) {
  if (file != nullptr) {
    type = -1;
    number = -1;
    // A file that was just created stands for nothing yet; callers rely on its refusal.
    if (isEmptyFile(file)) {
      std::fputs("Cannot map a file with a length of zero.\n", stderr);
      return false;
    }
    name = platform::pathOfHandle(file);
  }
  if (name.empty()) return false;

  QuorvelFileType hostType = eFileType_Unknown;
  int hostNumber = -1;
  if (!GetTypeFromFilePathName(name, hostType, hostNumber)) hostType = structureFileType(name);
  return translate(hostType, hostNumber, type, number);
}

}  // namespace Quorvel::FileAccess
