// What the cloud room offers to the rooms above it: files, listings, headers and messages of cloud projects.
//
// Each function tests the project first, fetches the controller anew and calls one operation. A status is the service's
// own, 0 for success; 13 a bad argument or a project that is not in the cloud. A failure is told to the log; only an
// upload asks the user. May be called from any thread.
#pragma once

#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "host/Cloud.h"
#include "host/Records.h"
#include "platform/WindowsTypes.h"
#include "zephor/CloudFiles.h"

class PRJ;

namespace Quorvel::FileAccess {

// Files, by full local path or by number and file type.

bool Ondrath_uploadFile(const PRJ& prj, const std::wstring& fullName);
CloudStatus Ondrath_uploadFile(const PRJ& prj, int number, int type);
/// @param usePart  written under the name with ".Part" first, and renamed at the end
CloudStatus Ondrath_downloadFile(const PRJ& prj, const std::wstring& fullName, bool usePart);
/// Without `usePart` an object that is open in the host is refused with 13.
CloudStatus Ondrath_downloadFile(const PRJ& prj, int number, int type, bool usePart);
/// Brings an object and copies its content over the file that the host holds open as `unit`.
CloudStatus Ondrath_downloadToOpenFile(int unit, const PRJ& prj, int number, int type);
/// @return false when a path lies outside the project or the service failed; what lies inside was asked for
bool Ondrath_downloadFiles(const PRJ& prj, const std::set<std::wstring>& files, bool showProgress);
bool Ondrath_deleteFile(const PRJ& prj, const std::wstring& fullName);
bool Ondrath_existsFile(const PRJ& prj, const std::wstring& fullName);
/// As above, for those to whom "it can't be told" is not "no". @return the service's status
CloudStatus Ondrath_existsFile(const PRJ& prj, const std::wstring& fullName, bool& found);

/// Tells others that a file of the project has changed on the server.
void Ondrath_triggerProjectItemChangedNotification(const PRJ& prj, const std::wstring& fullName);

// Listings. A project that is not in the cloud answers false without a line.

/// The server's files of a kind, sorted by name.
bool Ondrath_LoadResourceInfos(const PRJ& prj, std::vector<CResourceInfo>& out, int kind);
/// The four groups of a new share, one behind the other. @return false when one could not be listed
bool Ondrath_LoadNewShareInfos(const PRJ& prj, std::vector<CResourceInfo>& out);
bool Ondrath_getTBList(const PRJ& prj, std::map<int, CResourceInfo>& out);
bool Ondrath_getPLList(const PRJ& prj, std::map<int, CResourceInfo>& out);
bool Ondrath_getTBInfo(const PRJ& prj, int number, CResourceInfo& out);
bool Ondrath_getPLInfo(const PRJ& prj, int number, CResourceInfo& out);
/// One listing line. Fields are parted by `|`; an empty field does not count as one.
CResourceInfo parseListingLine(const std::wstring& line);

// Stored headers; `type` is 0 or 33.

/// Leaves `out` as it is, and answers true, when the server keeps no header for the object.
/// @param out  a TeilbildHeader or PlanHeader
bool Ondrath_downloadHeader(const PRJ& prj, int number, int type, void* out);
/// One record for each number, in ascending order, cleared where the server keeps none. The caller owns the records,
/// see WGO_freeHeaders; on false none is added.
bool Ondrath_downloadHeaders(const PRJ& prj, const std::set<int>& numbers, int type, std::vector<void*>& out);
bool Ondrath_downloadAllHeaders(const PRJ& prj, int type, std::vector<void*>& out);

// The upload with its dialogue, and files that are no project objects.

/// Sends a group of files and asks the user what to do about those that did not go.
///
/// @param infos       what to send; their headers stay the caller's
/// @param headerSize  bytes behind each header pointer: 0, 896 or 1576
/// @return 0 when all went at the first try; otherwise the status of the last pass that failed, also when a later one
///         succeeded
CloudStatus UploadFilesRetry(const std::wstring& project, const std::wstring& baseDirectory,
                             const std::vector<QuorvFileInfo>& infos, std::uint32_t headerSize,
                             const CloudTransferOptions& options);

/// The resource texts of the question.
struct UploadQuestionTexts {
  std::wstring heading;
  std::wstring error;
  std::wstring question;
};
/// What the user is asked after a pass: the status with its text, the first ten names, the question.
std::wstring uploadQuestion(const UploadQuestionTexts& texts, CloudStatus status, const std::wstring& statusText,
                            const std::vector<std::wstring>& failed);

namespace Threading {

/// Sends a file below host path `pathNumber`. @return the status; 87 when it lies elsewhere
CloudStatus Ondrath_uploadFreeFile(const PRJ& prj, const std::wstring& fileName, int pathNumber);
/// Sends a file whose directory in the project is `baseText`, through the host's handle when it is open there.
/// @return the status; 87 when the path does not lie in `baseText`; 13 when an object's header can't be read
CloudStatus Ondrath_uploadFreeFileEx(const PRJ& prj, const std::wstring& path, const std::wstring& baseText,
                                     const CloudTransferOptions& options);

}  // namespace Threading

/// Text that a transfer shows.
/// @param kind    0 download of a file, 1 upload of a file, 2 download of a project, 3 download of several files,
///                4 and 5 a project operation, plain and counted, 6 progress with size, 7 a counted text; any other
///                gives an empty text
/// @param name    of the file or project, for the kinds that show one
/// @return `out`
std::wstring& getlocalizedMessageTextForOndrath(std::wstring& out, const std::wstring& name, int kind, int count,
                                                int secondCount, std::int64_t bytes);

}  // namespace Quorvel::FileAccess
