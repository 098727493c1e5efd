// Sizes, times and check sums of files here and on the server.
#include <exception>

#include "diagnostics/ErrorBox.h"
#include "ftp/FtpConnection.h"
#include "ftp/ServerPaths.h"
#include "ftp/SyncSteps.h"
#include "host/Trace.h"
#include "host/UserMessages.h"
#include "platform/Files.h"
#include "toolkit/ByteData.h"
#include "zephor/Diagnostics.h"

namespace Quorvel::FileAccess {
namespace {

/// Size and write time of one file. @return false when there is none
bool findFile(const wchar_t* path, std::int64_t& size, FILETIME& time) {
  WIN32_FIND_DATAW data{};
  const HANDLE find = FindFirstFileW(path, &data);
  if (find == INVALID_HANDLE_VALUE) return false;
  FindClose(find);
  auto bytes = static_cast<std::uint64_t>(data.nFileSizeHigh) << 32U;
  if (data.nFileSizeLow != INVALID_FILE_SIZE) bytes |= data.nFileSizeLow;
  size = static_cast<std::int64_t>(bytes);
  time = data.ftLastWriteTime;
  return true;
}

/// Sets all three times of a file. @return 0, or the error
DWORD setTimes(const std::wstring& path, const FILETIME& time) {
  const HANDLE file = CreateFileW(path.c_str(), FILE_WRITE_ATTRIBUTES, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                                  OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
  if (file == INVALID_HANDLE_VALUE) return GetLastError();
  const DWORD error = SetFileTime(file, &time, &time, &time) != FALSE ? ERROR_SUCCESS : GetLastError();
  CloseHandle(file);
  return error;
}

}  // namespace

bool CZepFtpConnection::getLocalFileSizeAndTime(std::int64_t& size, const wchar_t* path, FILETIME& time) {
  size = 0;
  time = FILETIME{};
  if (path == nullptr) return false;
  try {
    return findFile(path, size, time);
  } catch (const std::exception&) {
    ConnectionLogger::InternetExceptionSetMessageText((std::wstring(L"getLocalFileSizeAndTime ") + path).c_str());
    ConnectionLogger::InternetExceptionResolve();
    return false;
  }
}

bool CZepFtpConnection::getServerFileSizeAndTime(std::int64_t* size, const wchar_t* path, FILETIME* time) {
  if (!initialised_ || path == nullptr) return false;
  const CTimeTrace timer(timeTraceLevel(),
                         platform::formatWide(L"getServerFileSizeAndTime: \"%s%s", remote_.hostName, path), 1, false,
                         true);
  const ServerPath parts = splitServerPath(path);
  RemoteFileEntry entry;
  const RemoteStatus status =
      retry({[&](RemoteRetryContext& context) {
               return parts.directory.empty() ? RemoteStatus{} : remote_.changeDirectory(context, parts.directory);
             },
             [&](RemoteRetryContext& context) { return remote_.getConnectionFile(context, parts.name, entry); }});
  if (!status.isSuccess()) return false;
  if (size != nullptr) *size = entry.size;
  if (time != nullptr) *time = entry.time;
  return true;
}

bool CZepFtpConnection::updateFileTime(const wchar_t* name, const wchar_t* dir, const int* pathNr,
                                       const RemoteFileEntry* entry) {
  if (!initialised_ || name == nullptr) return false;
  const int localNr = localNumberOf(pathNr);
  const std::wstring local = localPathOf(&localNr, dir, name);
  FILETIME time = entry != nullptr ? entry->time : FILETIME{};
  // A time that the server does not tell stays 0, which leaves the local one as it is.
  const std::wstring server = entry == nullptr ? serverDirectoryOf(pathNr, dir) : std::wstring();
  if (!server.empty()) getServerFileSizeAndTime(nullptr, joinServerPath(server, name).c_str(), &time);
  for (;;) {
    const DWORD error = setTimes(local, time);
    if (error == ERROR_SUCCESS) return true;
    const std::wstring text = L"UpdateFileTime(" + local + L")";
    lfperrC(L"%s: error %d\n", text, error);
    SetLastError(error);
    ConnectionLogger::InternetExceptionSetMessageText(text.c_str());
    const bool mayAsk = retrySettings_.top().interactive && !remote_.getDialogsSuppressed();
    if (ConnectionLogger::ResolveInternetException(mayAsk) != IDRETRY) return false;
  }
}

bool CZepFtpConnection::getCRC(std::uint32_t& crc, const wchar_t* name, const wchar_t* dir, const int* pathNr) {
  if (!initialised_ || name == nullptr) return false;
  CkByteData data;
  if (isOnline()) {
    const std::wstring directory = serverDirectoryOf(pathNr, dir);
    const CTimeTrace timer(timeTraceLevel(), L"getCRC: \"" + urlOf(directory, name), 1, false, true);
    RemoteFileEntry entry;
    std::int64_t offset = 0;
    std::int64_t size = 0;
    const RemoteStatus status =
        retry({[&](RemoteRetryContext& context) { return remote_.changeDirectory(context, directory); },
               [&](RemoteRetryContext& context) { return remote_.getConnectionFile(context, name, entry); },
               [&](RemoteRetryContext& context) {
                 return remote_.readFilePart(context, name, 0, RemoteConfiguration::kWholeFile, data, offset, size);
               }});
    if (!status.isSuccess()) return false;
  } else {
    const std::wstring local = localPathOf(pathNr, dir, name);
    const CTimeTrace timer(timeTraceLevel(), L"getCRC: \"" + local, 1, false, true);
    if (!data.loadFile(local)) return false;
  }
  crc = CkZipCrc::CalculateCrc(data);
  return true;
}

}  // namespace Quorvel::FileAccess
