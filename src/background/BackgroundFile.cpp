#include "background/BackgroundFile.h"

#include "platform/Text.h"

namespace Quorvel::FileAccess {

std::wstring BackgroundFile::key() const {
  return platform::toLower(path());
}

bool liesBelow(const std::wstring& path, const std::wstring& directory) {
  return !directory.empty() && path.size() > directory.size() + 1 && path[directory.size()] == L'\\' &&
         platform::startsWithIgnoreCase(path, directory);
}

void leaveToSynchronisation(const BackgroundFile& file, unsigned long action) {
  if (platform::equalsIgnoreCase(get_ActPrjPath(), file.projectDirectory)) {
    ltbproC_updateDirChanges(file.path(), action);
  }
}

}  // namespace Quorvel::FileAccess
