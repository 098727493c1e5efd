#include "cloud/CloudPaths.h"
#include "cloud/Ondrath_Services.h"
#include "core/LastError.h"
#include "host/Project.h"
#include "host/System.h"
#include "host/Trace.h"
#include "platform/Files.h"
#include "platform/Text.h"
#include "services/ServedProject.h"
#include "zephor/FileServices.h"
#include "zephor/Service.h"

namespace Quorvel::FileAccess {
namespace {

constexpr const wchar_t* kUpload = L"Quorvel::FileAccess::WGO_uploadFile";
constexpr const wchar_t* kUploadEx = L"Quorvel::FileAccess::WGO_uploadFileEx";
constexpr const wchar_t* kUploadFree = L"Quorvel::FileAccess::WGO_uploadFreeFile";

unsigned long uploadTo(const PRJ& prj, const std::wstring& directory, const wchar_t* file) {
  const std::wstring path = Ondrath_ResolveProjectPath(prj, directory, file);
  return answered(Ondrath_uploadFile(prj, path) ? ERROR_SUCCESS : ERROR_INVALID_DATA);
}

bool isSeparator(wchar_t c) {
  return c == L'\\' || c == L'/';
}

/// Position behind the directory's text where it stands for whole components of the path, or npos.
std::size_t behindDirectory(const std::wstring& path, const std::wstring& directory) {
  const std::wstring_view text = path;
  for (std::size_t from = 0; !directory.empty();) {
    const std::size_t found = platform::findIgnoreCase(text.substr(from), directory);
    if (found == std::wstring::npos) break;
    const std::size_t begin = from + found;
    const std::size_t end = begin + directory.size();
    const bool begins = begin == 0 || isSeparator(text[begin - 1]) || isSeparator(text[begin]);
    const bool ends = end == text.size() || isSeparator(text[end]) || isSeparator(text[end - 1]);
    if (begins && ends) return end;
    from = begin + 1;
  }
  return std::wstring::npos;
}

/// What stands behind the project's directory, or behind the last backslash of a path that does not hold it. Without a
/// project the path stays whole: its last component alone could be another file's name.
std::wstring nameInProject(const std::wstring& path, const std::wstring& projectDirectory) {
  if (projectDirectory.empty()) return path;
  const std::size_t end = behindDirectory(path, projectDirectory);
  if (end == std::wstring::npos) return path.substr(path.rfind(L'\\') + 1);
  std::wstring name = path.substr(end);
  name.erase(0, name.find_first_not_of(L"\\/"));
  return name;
}

}  // namespace

unsigned long WGO_uploadFile(const PRJ& prj, const wchar_t* file, bool /*ignored*/) {
  if (file == nullptr) {
    lfperrC(L"%s: invalid parameter\n", kUpload);
    return answered(ERROR_INVALID_DATA);
  }
  if (WGO_isBlockedUpload()) return ERROR_SUCCESS;
  const ScopedAniCursor cursor(WGO_GetDisplayAniCursor());
  if (!prj.IsOndrathProject()) return ERROR_SUCCESS;
  return uploadTo(prj, prj.GetDirectoryName(), file);
}

unsigned long WGO_uploadFile(const wchar_t* host, const wchar_t* dir, const wchar_t* file, unsigned /*ignored1*/,
                             bool /*ignored2*/, bool /*ignored3*/) {
  if (host == nullptr || dir == nullptr || file == nullptr) {
    lfperrC(L"%s: invalid parameter\n", kUpload);
    return answered(ERROR_INVALID_DATA);
  }
  if (WGO_isBlockedUpload()) return ERROR_SUCCESS;
  const ScopedAniCursor cursor(WGO_GetDisplayAniCursor());
  if (!ZSYST_IsOndrathServer(host)) return ERROR_SUCCESS;
  const std::optional<PRJ> active = activeProjectOn(host, kUpload);
  return active ? uploadTo(*active, dir, file) : answered(ERROR_INVALID_DATA);
}

unsigned long WGO_uploadFile(const wchar_t* fullPath) {
  if (fullPath == nullptr) {
    lfperrC(L"%s: invalid parameter\n", kUpload);
    return answered(ERROR_INVALID_DATA);
  }
  const std::wstring host = currentHost();
  if (!ZSYST_IsOndrathServer(host) || WGO_isBlockedUpload()) return ERROR_SUCCESS;
  const std::wstring directory = currentProjectDirectory();
  const std::wstring name = nameInProject(fullPath, directory);
  if (name.empty()) {
    lfperrC(L"%s: could not get file for %s\n", kUpload, fullPath);
    return answered(ERROR_INVALID_DATA);
  }
  return WGO_uploadFile(host.c_str(), directory.c_str(), name.c_str(), 0, false, false);
}

unsigned long WGO_uploadFileEx(const wchar_t* fullPath) {
  if (WGO_isBlockedUpload()) return ERROR_SUCCESS;
  if (fullPath == nullptr) {
    lfperrC(L"%s: invalid parameter\n", kUploadEx);
    return answered(ERROR_INVALID_PARAMETER);
  }
  if (_waccess(fullPath, 0) != 0) {
    lfperrC(L"%s: cannot access %s\n", kUploadEx, fullPath);
    return answered(ERROR_FILE_NOT_FOUND);
  }
  const std::wstring host = currentHost();
  if (!ZSYST_IsOndrathServer(host)) return ERROR_SUCCESS;
  const ScopedAniCursor cursor(WGO_GetDisplayAniCursor());
  const std::optional<PRJ> active = activeProjectOn(host, kUploadEx);
  if (!active) return answered(ERROR_INVALID_DATA);
  // A failed upload answers 1 here, and 13 from the other forms.
  return answered(Ondrath_uploadFile(*active, fullPath) ? 0 : 1);
}

unsigned long WGO_uploadFreeFile(const PRJ& prj, const wchar_t* file, const std::wstring& name, void* context) {
  if (WGO_isBlockedUpload()) return ERROR_SUCCESS;
  if (file == nullptr) return answered(ERROR_INVALID_PARAMETER);
  const ScopedAniCursor cursor(WGO_GetDisplayAniCursor());
  const CTimeTrace timer(WGO_GetTrace(), platform::formatWide(L"%s: %s", kUploadFree, file), 1, false, true);
  const CloudTransferOptions options =
      context != nullptr ? *static_cast<const CloudTransferOptions*>(context) : CloudTransferOptions();
  return answered(static_cast<std::uint32_t>(Threading::Ondrath_uploadFreeFileEx(prj, file, name, options)));
}

unsigned long WGO_uploadFreeFile(const PRJ& prj, const wchar_t* file, unsigned pathNumber) {
  if (!prj.IsOndrathProject()) return answered(ERROR_INVALID_PARAMETER);
  if (WGO_isBlockedUpload()) return ERROR_SUCCESS;
  if (file == nullptr) return answered(ERROR_INVALID_PARAMETER);
  const ScopedAniCursor cursor(WGO_GetDisplayAniCursor());
  const CTimeTrace timer(WGO_GetTrace(), platform::formatWide(L"%s: %s", kUploadFree, file), 1, false, true);
  return answered(
      static_cast<std::uint32_t>(Threading::Ondrath_uploadFreeFile(prj, file, static_cast<int>(pathNumber))));
}

}  // namespace Quorvel::FileAccess
