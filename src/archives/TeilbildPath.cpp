#include "archives/TeilbildPath.h"

#include "host/FileTypes.h"
#include "host/Files.h"

namespace Quorvel::FileAccess {

std::wstring teilbildPath(int pathNumber, int fileType, int number) {
  if (fileType != eFileType_Teilbild) return {};
  int error = 0;
  const std::wstring name = lfznamC(fileType, number, 0, error);
  const std::wstring directory = lfinigC(pathNumber);
  return error != 0 || directory.empty() ? std::wstring() : directory + name;
}

}  // namespace Quorvel::FileAccess
