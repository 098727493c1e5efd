#include "archives/OpenProjectRow.h"

#include "host/Project.h"
#include "host/ProjectDatabase.h"
#include "platform/Paths.h"
#include "platform/Text.h"

namespace Quorvel::FileAccess {
namespace {

bool liesInOpenProject(const std::wstring& path) {
  const std::wstring project = platform::weaklyCanonical(get_ActPrjPath());
  return !project.empty() &&
         platform::equalsIgnoreCase(platform::weaklyCanonical(platform::directoryOf(path)), project);
}

}  // namespace

void storeOpenProjectRow(const std::wstring& path, int number, const TeilbildHeader& record) {
  const int unit = kgunit();
  if (unit < 0 || !liesInOpenProject(path)) return;
  ZP_ProjectDBTeilbildSets(unit).setTeilbildRecord(static_cast<unsigned>(number), record);
}

}  // namespace Quorvel::FileAccess
