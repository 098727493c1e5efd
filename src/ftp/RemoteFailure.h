// What a primitive says when it fails: one row each.
#pragma once

#include <string>

#include "platform/WindowsTypes.h"

namespace Quorvel::FileAccess {

struct RemoteFailure {
  const wchar_t* text;  ///< what it was about follows
  const wchar_t* caption;
  DWORD code;  ///< 0 is meant where it stands: callers look at the failed flag as well
};

/// Retry and cancel, with the sign of an error.
constexpr UINT kRetryBox = 21;
static_assert(kRetryBox == (MB_RETRYCANCEL | MB_ICONHAND));

namespace failure {

// 3 is kept for a directory that is not there, which no dialog tells; any other failure to reach one is 58.
constexpr RemoteFailure kChangeDirectory = {L"Failed to change directory ", L"FTP Operation", ERROR_BAD_NET_RESP};
constexpr RemoteFailure kDownloadFile = {L"Failed to download file ", L"Download File", ERROR_FILE_NOT_FOUND};
constexpr RemoteFailure kUploadFile = {L"Failed to upload file ", L"Upload File", ERROR_WRITE_FAULT};
constexpr RemoteFailure kUploadData = {L"Failed to upload data to server ", L"Upload Data", ERROR_WRITE_FAULT};
constexpr RemoteFailure kReadFilePart = {L"Failed to download file \"", L"Download file", ERROR_SUCCESS};
constexpr RemoteFailure kGetFiles = {L"Failed to get files ", L"Get Files", ERROR_SUCCESS};
constexpr RemoteFailure kGetDirectories = {L"Failed to get directories ", L"get directories", ERROR_SUCCESS};
constexpr RemoteFailure kGetFileData = {L"Failed to get file data on \"", L"Runtime error", ERROR_SUCCESS};
constexpr RemoteFailure kDeleteFile = {L"Failed to delete file ", L"Delete file ", ERROR_ACCESS_DENIED};
constexpr RemoteFailure kCreateDirectory = {L"Failed to create directory ", L"Create Directory ", ERROR_CANNOT_MAKE};
// Text and caption are those that users and their notes have known for long.
constexpr RemoteFailure kRenameFile = {L"Failed to rename directory ", L"Delete directory ", ERROR_INVALID_ACCESS};
constexpr RemoteFailure kDeleteDirectory = {L"Failed to delete directory ", L"Delete directory ", ERROR_INVALID_ACCESS};

}  // namespace failure

/// Writes a text to the error log line by line.
void logLines(const std::wstring& text);

}  // namespace Quorvel::FileAccess
