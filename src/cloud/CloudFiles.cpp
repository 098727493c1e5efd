#include <optional>

#include "cloud/CloudCall.h"
#include "cloud/CloudPaths.h"
#include "cloud/ObjectHeaders.h"
#include "cloud/Ondrath_Services.h"
#include "host/FileTypes.h"
#include "host/Files.h"
#include "host/ObjectFiles.h"
#include "host/System.h"
#include "host/UserMessages.h"
#include "platform/Files.h"
#include "platform/Paths.h"
#include "platform/Text.h"
#include "zephor/NotUploadedFiles.h"
#include "zephor/Service.h"

namespace Quorvel::FileAccess {
namespace {

constexpr CloudStatus kBadArgument = ERROR_INVALID_DATA;
constexpr const wchar_t* kUpload = L"Quorvel::FileAccess::Ondrath_uploadFile";
constexpr const wchar_t* kDownload = L"Quorvel::FileAccess::Ondrath_downloadFile";
constexpr const wchar_t* kNoProjectPath = L"%s: \"%s\" is not a valid Ondrath project path!\n";
constexpr const wchar_t* kHasFileFailed = L"%s: HasFile \"%s\" failed with 0x%08lx.\n";
/// The suffix under which the service writes, and the ending that the local file is looked for with.
constexpr const wchar_t* kPartSuffix = L".Part";
constexpr const wchar_t* kPartEnding = L".part";

/// Full path of an object of the open project, none for a bad number or type.
std::optional<std::wstring> objectPath(int number, int type) {
  std::wstring name;
  if (number <= 0 || !Ondrath_FileNameFromNumber(static_cast<std::uint32_t>(number), type, name)) return std::nullopt;
  return platform::joinPath(lfinigC(1), name);
}

/// Sends a Teilbild or Plan with its header, with the dialogue.
CloudStatus uploadObject(const CloudCall& call, const std::wstring& base, const std::wstring& relative,
                         const std::wstring& fullName, const ObjectHeader& header, const std::wstring& text) {
  QuorvFileInfo info;
  info.name = relative;
  info.header = headerRecord(header);
  const CloudStatus status =
      UploadFilesRetry(call.project(), base, {info}, headerRecordSize(header), call.options(text));
  if (status != 0) lfperrC(L"%s: upload \"%s\" failed with 0x%08lx.\n", call.function(), fullName, statusCode(status));
  return status;
}

CloudStatus upload(const PRJ& prj, const std::wstring& fullName) {
  const CloudCall call(kUpload, prj);
  if (!call.requireCloudProject()) return kBadArgument;
  const CTimeTrace timer(WGO_GetTrace(), platform::formatWide(L"%s(): \"%s\"", kUpload, fullName), 1, false, true);
  std::wstring text;
  const CScopedDisplayInfo display(getlocalizedMessageTextForOndrath(text, fullName, 1, 0, 0, 0));
  std::wstring base;
  std::wstring relative;
  if (!splitAtProjectDirectory(call.project(), fullName, base, relative)) {
    lfperrC(kNoProjectPath, kUpload, fullName);
    return kBadArgument;
  }
  QuorvelFileType type = eFileType_Unknown;
  int number = -1;
  GetTypeFromFilePathName(fullName, type, number);
  if (type != eFileType_Teilbild && type != eFileType_Plan) {
    return call.run(L"%s: upload \"%s\" failed with 0x%08lx.\n", fullName,
                    [&](ICloudProjectService& service, const std::wstring& project) {
                      return service.UploadProjectFile(project, relative);
                    });
  }
  ObjectHeader header;
  if (!loadObjectHeader(prj, type, number, fullName, header)) return kBadArgument;
  const CloudStatus status = uploadObject(call, base, relative, fullName, header, text);
  if (status == 0 && type == eFileType_Teilbild) removeEntryFromNotUploadedFilesList(fullName.c_str());
  return status;
}

/// Steps of the progress indicator of a list: the programs that show their own get none.
std::uint32_t progressCount(std::size_t files, bool showProgress) {
  if (!showProgress || !isExecutedByQuorvel()) return 0;
  if (isAppRunning(L"QuorvelExchange.exe") || isAppRunning(L"LayoutAttributes.exe")) return 0;
  return static_cast<std::uint32_t>(files);
}

}  // namespace

bool Ondrath_uploadFile(const PRJ& prj, const std::wstring& fullName) {
  return upload(prj, fullName) == 0;
}

CloudStatus Ondrath_uploadFile(const PRJ& prj, int number, int type) {
  if (!CloudCall(kUpload, prj).requireCloudProject()) return kBadArgument;
  const std::optional<std::wstring> path = objectPath(number, type);
  return path ? upload(prj, *path) : kBadArgument;
}

CloudStatus Ondrath_downloadFile(const PRJ& prj, const std::wstring& fullName, bool usePart) {
  const CloudCall call(kDownload, prj);
  if (!call.requireCloudProject()) return kBadArgument;
  if (fullName.empty()) return 0;
  const CTimeTrace timer(WGO_GetTrace(), platform::formatWide(L"%s(): \"%s\"", kDownload, fullName), 1, false, true);
  std::wstring text;
  const CScopedDisplayInfo display(getlocalizedMessageTextForOndrath(text, fullName, 0, 0, 0, 0));
  std::wstring root;
  std::wstring relative;
  if (!Ondrath_SplitProjectPath(call.project(), fullName, root, relative)) {
    lfperrC(kNoProjectPath, kDownload, fullName);
    return kBadArgument;
  }
  return call.run(L"%s: download \"%s\" failed with 0x%08lx.\n", fullName,
                  [&](ICloudProjectService& service, const std::wstring& project) {
                    return service.DownloadFile(project, root, relative, usePart ? kPartSuffix : L"");
                  });
}

CloudStatus Ondrath_downloadFile(const PRJ& prj, int number, int type, bool usePart) {
  if (!CloudCall(kDownload, prj).requireCloudProject()) return kBadArgument;
  const std::optional<std::wstring> path = objectPath(number, type);
  if (!path) return kBadArgument;
  int handle = 0;
  if (!usePart && tbvglk(type, number, handle)) {
    lfperrC(L"%s: no download to open file\n", kDownload);
    return kBadArgument;
  }
  return Ondrath_downloadFile(prj, *path, usePart);
}

CloudStatus Ondrath_downloadToOpenFile(int unit, const PRJ& prj, int number, int type) {
  constexpr const wchar_t* kFunction = L"Quorvel::FileAccess::Ondrath_downloadToOpenFile";
  if (!CloudCall(kFunction, prj).requireCloudProject()) return kBadArgument;
  if (unit == 0 || unit == -1) {
    lfperrC(L"%s: invalid unit\n", kFunction);
    return 0;
  }
  const std::optional<std::wstring> path = objectPath(number, type);
  if (!path) return kBadArgument;
  const CloudStatus status = Ondrath_downloadFile(prj, *path, true);
  if (status != 0) return status;
  const std::wstring part = *path + kPartEnding;
  if (lcfile_ReConnect(unit, part) == 0) return 0;
  DeleteFileW(part.c_str());
  return kBadArgument;
}

bool Ondrath_downloadFiles(const PRJ& prj, const std::set<std::wstring>& files, bool showProgress) {
  const CloudCall call(L"Quorvel::FileAccess::Ondrath_downloadFiles", prj);
  if (!call.requireCloudProject()) return false;
  const int count = static_cast<int>(files.size());
  const CTimeTrace timer(WGO_GetTrace(), platform::formatWide(L"%s(): \"count = %d\"", call.function(), count), 1,
                         false, true);
  std::wstring text;
  getlocalizedMessageTextForOndrath(text, prj.GetProjectDisplayName(), 3, count, 0, 0);
  std::set<std::wstring> names;
  bool allInside = true;
  for (const std::wstring& file : files) {
    std::wstring root;
    std::wstring relative;
    if (Ondrath_SplitProjectPath(call.project(), file, root, relative)) {
      names.insert(std::move(relative));
    } else {
      lfperrC(kNoProjectPath, call.function(), file);
      allInside = false;
    }
  }
  const std::wstring directory = prj.GetFullProjectPath(true);
  if (directory.empty() || (names.empty() && !allInside)) return false;
  const CloudTransferOptions options = call.options(text, progressCount(files.size(), showProgress));
  const CloudStatus status = call.run(L"%s: download to \"%s\" failed with 0x%08lx.\n", directory,
                                      [&](ICloudProjectService& service, const std::wstring& project) {
                                        return service.DownloadFiles(project, directory, names, options);
                                      });
  return status == 0 && allInside;
}

bool Ondrath_deleteFile(const PRJ& prj, const std::wstring& fullName) {
  const CloudCall call(L"Quorvel::FileAccess::Ondrath_deleteFile", prj);
  if (!call.requireCloudProject()) return false;
  if (fullName.empty()) {
    lfperrC(L"%s: wrong parameter fullName\n", call.function());
    return false;
  }
  std::wstring root;
  std::wstring relative;
  if (!Ondrath_SplitProjectPath(call.project(), fullName, root, relative)) {
    lfperrC(kNoProjectPath, call.function(), fullName);
    return false;
  }
  // The line of a deletion speaks of HasFile: it has always been this text.
  return call.run(kHasFileFailed, fullName, [&](ICloudProjectService& service, const std::wstring& project) {
    return service.DeleteFile(project, relative);
  }) == 0;
}

bool Ondrath_existsFile(const PRJ& prj, const std::wstring& fullName) {
  bool found = false;
  return Ondrath_existsFile(prj, fullName, found) == 0 && found;
}

CloudStatus Ondrath_existsFile(const PRJ& prj, const std::wstring& fullName, bool& found) {
  found = false;
  const CloudCall call(L"Quorvel::FileAccess::Ondrath_existsFile", prj);
  if (!call.requireCloudProject()) return kBadArgument;
  if (fullName.empty()) {
    lfperrC(L"%s: wrong parameter fullName\n", call.function());
    return kBadArgument;
  }
  const std::wstring relative = Ondrath_RelativeFromFullName(prj.GetDirectoryName(), platform::directoryOf(fullName),
                                                             platform::fileNameOf(fullName));
  // The service takes the text with its leading backslash; without it, it has to be a name below the project.
  if (!platform::isSafeRelativeName(relative.starts_with(L'\\') ? relative.substr(1) : relative)) {
    lfperrC(kNoProjectPath, call.function(), fullName);
    return kBadArgument;
  }
  return call.run(kHasFileFailed, fullName, [&](ICloudProjectService& service, const std::wstring& project) {
    return service.HasFile(project, relative, found);
  });
}

}  // namespace Quorvel::FileAccess
