// An archive into a folder.
#include "archives/ArchiveMessages.h"
#include "archives/FreshDirectory.h"
#include "archives/ZipProgress.h"
#include "platform/Durable.h"
#include "platform/Files.h"
#include "zephor/ProjectArchives.h"

namespace Quorvel::FileAccess {
namespace {

constexpr const wchar_t* kOperation = L"Quorvel::FileAccess::WGO_unzipFolder";

/// Into a folder that is there nothing comes before all of the archive was read once.
bool extractInto(CkZipW& zip, const std::wstring& target) {
  if (!zip.CheckContent() || !zip.Extract(target.c_str())) return failWithMessage(kOperation, zip.lastErrorText());
  const DWORD error = platform::makeDurable(target);
  return error == ERROR_SUCCESS || failWithMessage(kOperation, target, error);
}

bool extractAsNew(CkZipW& zip, const std::wstring& target) {
  FreshDirectory fresh(target);
  if (fresh.error() != ERROR_SUCCESS) return failWithMessage(kOperation, fresh.path(), fresh.error());
  if (!zip.Extract(fresh.path().c_str())) return failWithMessage(kOperation, zip.lastErrorText());
  const DWORD error = fresh.takePlace(target);
  return error == ERROR_SUCCESS || failWithMessage(kOperation, target, error);
}

}  // namespace

bool WGO_unzipFolder(const wchar_t* zipPath, const wchar_t* target) {
  if (zipPath == nullptr || target == nullptr || *target == L'\0') return false;
  CkZipW zip;
  if (!zip.OpenZip(zipPath)) return failWithMessage(kOperation, zip.lastErrorText());
  std::wstring folder = target;
  while (folder.size() > 1 && (folder.back() == L'\\' || folder.back() == L'/')) folder.pop_back();
  bool isDone = false;
  {
    const ScopedZipProgress progress(zip, kUnpackingTextId, folder);
    isDone = platform::fileStatus(folder).exists ? extractInto(zip, folder) : extractAsNew(zip, folder);
  }
  zip.CloseZip();
  return isDone;
}

}  // namespace Quorvel::FileAccess
