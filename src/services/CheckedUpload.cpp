#include <exception>
#include <set>

#include "background/FileLists.h"
#include "core/LastError.h"
#include "core/ObjectNames.h"
#include "host/Events.h"
#include "host/Files.h"
#include "host/Locking.h"
#include "host/Project.h"
#include "host/System.h"
#include "host/Trace.h"
#include "platform/Text.h"
#include "platform/UserInterface.h"
#include "services/DisplayAllowed.h"
#include "services/FileServicesState.h"
#include "services/ServedProject.h"
#include "zephor/FileServices.h"
#include "zephor/NotUploadedFiles.h"

namespace Quorvel::FileAccess {
namespace {

constexpr const wchar_t* kFunction = L"Quorvel::FileAccess::WGO_CheckLockAndUploadFile";
constexpr const wchar_t* kConverted = L"Quorvel::FileAccess::WGO_uploadConvertedFilesAfterDatwa";
constexpr int kNotLockedTextId = 1502500;

/// Keeps an object's file for the time when the running data conversion has ended.
void keepForLater(int number, int type) {
  if (type != eFileType_Teilbild && type != eFileType_Plan) return;
  int error = 0;
  const std::wstring name = lfznamC(type, number, 0, error);
  if (error != 0) return;
  fileServicesState().convertedFiles.emplace(name, platform::formatWide(L"%s%s", lfinigC(1), name));
}

bool isWithoutLock(int number, ObjectType type) {
  IZepFileLockingManager& locks = getFileLockingManager();
  return !locks.IsLockingOff() && locks.GetLockOwner(number, type, 0) == -1;
}

void tellNotLocked(const std::wstring& name) {
  lfperrC(L"%s: file is not locked, no upload possible %s\n", kFunction, name);
  const std::wstring text = name + L'\n' + CQuoString().GetQuorvotParText(kNotLockedTextId, nullptr, 0, 256).text();
  MessageBoxW(nullptr, text.c_str(), L"Quorvel", MB_ICONHAND);
}

/// Remembers files whose upload did not come to a good end, also when it was left by an exception.
class ScopedNotUploaded {
 public:
  explicit ScopedNotUploaded(const std::set<std::wstring>& paths) : paths_(&paths) {}
  ~ScopedNotUploaded() {
    if (paths_ == nullptr) return;
    try {
      for (const std::wstring& path : *paths_) addEntryToNotUploadedFilesList(path.c_str());
    } catch (const std::exception& error) {
      lfperrC(L"%s: converted files can't be remembered: %s\n", kConverted, platform::fromUtf8(error.what()));
    }
  }
  ScopedNotUploaded(const ScopedNotUploaded&) = delete;
  ScopedNotUploaded& operator=(const ScopedNotUploaded&) = delete;

  void dismiss() { paths_ = nullptr; }

 private:
  const std::set<std::wstring>* paths_;
};

}  // namespace

unsigned long WGO_CheckLockAndUploadFile(int number, int type) {
  if (globalEventManager::instance().get(kDatwaRunningEvent, nullptr)) {
    keepForLater(number, type);
    return ERROR_SUCCESS;
  }
  if (!ZSYST_IsOndrathServer(currentHost()) || number < 0) return ERROR_SUCCESS;
  int error = 0;
  const std::wstring name = lfznamC(type, number, 0, error);
  if (error != 0) {
    lfperrC(L"%s: could not get filename for type = %d nr = %d\n", kFunction, type, number);
    return answered(static_cast<unsigned long>(error));
  }
  const std::optional<ObjectType> objectType = objectTypeOf(type);
  if (!objectType) {
    lfperrC(L"%s: could not get wgoObjectType for type = %d\n", kFunction, type);
    return answered(1);
  }
  const IZepFileLockingAgent::ScopedSuspend suspend;
  if (isWithoutLock(number, *objectType)) {
    tellNotLocked(name);
    return answered(1);
  }
  const ScopedDisplayAllowed display;
  return WGO_uploadFile(name.c_str());
}

bool WGO_uploadConvertedFilesAfterDatwa() {
  if (globalEventManager::instance().get(kDatwaRunningEvent, nullptr)) return true;
  const PRJ active = get_ActivePrj();
  if (!active.IsOndrathProject()) return true;
  const ScopedAniCursor cursor(WGO_GetDisplayAniCursor());
  std::set<std::wstring> paths;
  for (const auto& file : fileServicesState().convertedFiles) paths.insert(file.second);
  // A group that fails leaves the later ones untried, and nothing else would remember those. One that went all the same
  // is found in step by the next retry.
  ScopedNotUploaded remembered(paths);
  // Emptied before: a question of the upload may let the host call this service again.
  fileServicesState().convertedFiles.clear();
  // A conversion changes objects that nobody locked here. Those that somebody else holds the server refuses.
  const IZepFileLockingAgent::ScopedSuspend suspend;
  if (!WGO_UploadFilesInternals(active, paths, true)) return false;
  remembered.dismiss();
  return true;
}

}  // namespace Quorvel::FileAccess
