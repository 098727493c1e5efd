// Descriptors of cloud projects on this workstation: made here, or fetched from the server.
#include <ctime>
#include <utility>

#include "cloud/CloudCall.h"
#include "cloud/ProjectInformation.h"
#include "diagnostics/ErrorTexts.h"
#include "host/Files.h"
#include "host/Guid.h"
#include "host/System.h"
#include "host/Users.h"
#include "platform/Files.h"
#include "platform/Time.h"
#include "services/ProjectPlace.h"
#include "zephor/ProjectAdministration.h"
#include "zephor/Projects.h"

namespace Quorvel::FileAccess {
namespace {

constexpr int kCloudRoot = 41;
constexpr int kAdministrationPath = 18;
constexpr std::int32_t kFormatNumber = 586;
/// Marks a descriptor that was never read and stands before a fetch.
constexpr std::int32_t kFetchFormatNumber = 520;
constexpr std::int32_t kCloudShareKind = 2;
constexpr const wchar_t* kDescriptorFile = L"Project1.Dat.xml";

void trace(const std::wstring& text) {
  const CConsoleTrace line(text, 1);
}

std::wstring errorText(DWORD error) {
  return ConnectionLogger::errorText(error);
}

/// Makes the directory of a project's descriptor. @return 0, or the error, which the trace tells
DWORD makeDescriptorFolder(const wchar_t* function, const std::wstring& projectUuid, std::wstring& folder) {
  const std::wstring root = lfinigC(kCloudRoot);
  folder = platform::formatWide(L"%s\\%s.prj", root, projectUuid);
  DWORD error = root.empty() ? ERROR_PATH_NOT_FOUND : ERROR_INVALID_NAME;
  if (!root.empty() && isPlainName(projectUuid)) {
    error = static_cast<DWORD>(SHCreateDirectoryExW(nullptr, folder.c_str(), nullptr));
  }
  if (error == ERROR_SUCCESS || error == ERROR_ALREADY_EXISTS) return ERROR_SUCCESS;
  trace(platform::formatWide(L"\n%s::SHCreateDirectoryEx(%s) failed!\nError: %s\n\n", function, folder,
                             errorText(error)));
  return error;
}

template <std::size_t Size>
void copyText(wchar_t (&target)[Size], const std::wstring& text) {
  target[text.copy(target, Size - 1)] = L'\0';
}

std::int32_t localTimeNow() {
  SYSTEMTIME now{};
  GetLocalTime(&now);
  std::tm parts{};
  parts.tm_year = now.wYear - 1900;
  parts.tm_mon = now.wMonth - 1;
  parts.tm_mday = now.wDay;
  parts.tm_hour = now.wHour;
  parts.tm_min = now.wMinute;
  parts.tm_sec = now.wSecond;
  parts.tm_isdst = -1;
  return static_cast<std::int32_t>(std::mktime(&parts));
}

void describe(PRJ& prj, const OndrathPrj& link) {
  copyText(prj.directoryName, link.projectUuid());
  copyText(prj.host, kOndrathHost);
  prj.formatNumber = kFormatNumber;
  // Not the main release, with which a project's release is compared: readers have always found this one here.
  prj.mainRelease = static_cast<std::uint8_t>(get_InternSubRelease() / 10);
  prj.projectNumber = kRemoteOnlineProjectNumber;
  prj.creationTime = localTimeNow();
  prj.countryNumber = GetInstalledDefaultCountryNumber();
  prj.projectGuid = GetGUID();
  QuorvelUser user;
  lz_GetCurrentUserInfo(user);
  prj.owner = user.number;
  prj.setMember(static_cast<unsigned>(user.number));
  prj.shareKind = kCloudShareKind;
  prj.SetOndrathProject(link);
}

/// The UUID that a cloud project's directory is called by.
std::wstring uuidOfDirectory(const std::wstring& name) {
  constexpr std::wstring_view kEnding = L".prj";
  const bool hasEnding = name.size() > kEnding.size() && platform::endsWithIgnoreCase(name, kEnding);
  return hasEnding ? name.substr(0, name.size() - kEnding.size()) : name;
}

/// Tells the trace when the descriptor that has arrived is none, or another project's.
void checkDescriptor(const wchar_t* function, const std::wstring& folder, const std::wstring& projectUuid) {
  PRJ check;
  if (NetID_ReadPrjInfoByPath(folder, check) != 0) {
    trace(platform::formatWide(L"\n%s::NetID_ReadPrjInfoByPath(%s) failed!\n\n", function, folder));
  } else if (check.GetOndrathProjectUuid() != projectUuid) {
    trace(
        platform::formatWide(L"\n%s::Ondrath_getProjectInfoFromOnlineServer() failed!\n\n"
                             L"[%s]: (from project1.dat.xml)\n[%s]: (from server)\n\n",
                             function, check.GetOndrathProjectUuid(), projectUuid));
  }
}

unsigned long fetchThroughCache(const PRJ& prj, PRJ& out) {
  std::wstring directory;
  if (make_prj_dir(prj, directory) != 0) return ERROR_PATH_NOT_FOUND;
  const bool isMissing = _waccess(directory.c_str(), 0) != 0;
  if (isMissing) ldirmkc(directory);
  const CloudStatus status = Ondrath_getProjectInfoFromOnlineServer(directory, prj.GetOndrathProjectUuid(), out);
  // An empty directory would look like a cache.
  if (status != 0 && isMissing) RemoveDirectoryW(directory.c_str());
  return statusCode(status);
}

}  // namespace

bool WGO_createNewShareProjectInfo(std::wstring teamUuid, std::wstring teamName, std::wstring projectUuid,
                                   std::wstring projectName, PRJ& prj) {
  constexpr const wchar_t* kFunction = L"Quorvel::FileAccess::WGO_createNewShareProjectInfo";
  prj.clear();
  std::wstring folder;
  if (makeDescriptorFolder(kFunction, projectUuid, folder) != ERROR_SUCCESS) return false;
  const ScopedPathPut path(kAdministrationPath, folder + L"\\");
  if (NetID_ReadPrjInfo(kAdministrationPath, prj) == 0 && prj.GetOndrathTeamUuid() == teamUuid &&
      prj.GetOndrathProjectUuid() == projectUuid) {
    return true;
  }
  describe(prj, OndrathPrj(std::move(teamName), std::move(teamUuid), std::move(projectName), std::move(projectUuid)));
  return NetID_WritePrjInfo(kAdministrationPath, prj, 0) == 0;
}

unsigned long WGO_getSaveProjectInfoFromOnlineServer(const std::wstring& projectUuid, PRJ& prj) {
  constexpr const wchar_t* kFunction = L"Quorvel::FileAccess::WGO_getSaveProjectInfoFromOnlineServer";
  prj.clear();
  std::wstring folder;
  DWORD result = makeDescriptorFolder(kFunction, projectUuid, folder);
  if (result != ERROR_SUCCESS) return result;
  const std::wstring file = platform::formatWide(L"%s\\%s", folder, kDescriptorFile);
  if (DeleteFileW(file.c_str()) == FALSE && GetLastError() != ERROR_FILE_NOT_FOUND) {
    result = GetLastError();
    trace(platform::formatWide(L"\n%s::DeleteFile(%s) failed!\nError: %s\n\n", kFunction, file, errorText(result)));
  }
  const CloudStatus status = Ondrath_getProjectInfoFromOnlineServer(folder, projectUuid, prj);
  if (status != 0) {
    trace(platform::formatWide(L"\n%s::Ondrath_getProjectInfoFromOnlineServer(%s) failed!\nError: %s\n\n", kFunction,
                               projectUuid, errorText(statusCode(status))));
    return statusCode(status);
  }
  checkDescriptor(kFunction, folder, projectUuid);
  return result;
}

unsigned long WGO_getProjectInfoFromOnlineServer(const PRJ& prj, PRJ& out, bool /*flag*/) {
  return prj.IsOndrathProject() ? fetchThroughCache(prj, out) : ERROR_INVALID_DATA;
}

unsigned long WGO_getProjectInfoFromOnlineServer(const wchar_t* host, const wchar_t* name, PRJ& out, bool /*flag*/) {
  if (host == nullptr || name == nullptr) {
    lfperrC(L"%s: wrong parameter\n", L"Quorvel::FileAccess::WGO_getProjectInfoFromOnlineServer");
    return ERROR_INVALID_DATA;
  }
  if (!ZSYST_IsOndrathServer(host)) return 0;
  PRJ lazy = WGO_CreateLazyOnlinePRJ(host, name);
  lazy.formatNumber = kFetchFormatNumber;
  lazy.SetOndrathProject(OndrathPrj(L"", L"", L"", uuidOfDirectory(name)));
  return fetchThroughCache(lazy, out);
}

}  // namespace Quorvel::FileAccess
