#include "workstation/store/Replacement.h"

#include "platform/Files.h"
#include "platform/Paths.h"
#include "platform/Text.h"
#include "workstation/store/DiskFiles.h"
#include "workstation/store/LocalTree.h"
#include "workstation/store/StoreError.h"

namespace workstation {

namespace {

void bringBeside(const std::wstring& from, const std::string& beside) {
  const std::wstring target = platform::libraryPath(beside);
  if (MoveFileExW(from.c_str(), target.c_str(), 0) != FALSE) return;
  if (GetLastError() == ERROR_NOT_SAME_DEVICE && CopyFileW(from.c_str(), target.c_str(), TRUE) != FALSE) {
    syncPath(beside);
    return;
  }
  const DWORD code = GetLastError();
  throw StoreError{statusOfError(code), platform::formatWide(L"can't be replaced (error %u)", code)};
}

}  // namespace

CloudStatus replaceUnchanged(const std::wstring& from, const std::wstring& path, const FileContent& judged) {
  return answerOf([&] {
    const LocalPlace place = LocalTree(platform::directoryOf(path)).place(platform::fileNameOf(path));
    if (!contentAt(place).looksLike(judged)) throwChangedHere(place);
    const std::string beside = LocalTree::besides(place);
    try {
      bringBeside(from, beside);
      LocalTree::replace(beside, place, judged);
    } catch (const StoreError&) {
      removeFile(beside);
      throw;
    }
  });
}

}  // namespace workstation
