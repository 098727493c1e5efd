#include "ftp/FtpConnection.h"

#include <algorithm>
#include <string_view>

#include "diagnostics/ConnectionLog.h"
#include "ftp/UpdateVerdict.h"
#include "host/System.h"
#include "platform/Paths.h"
#include "zephor/Diagnostics.h"
#include "zephor/Service.h"

namespace Quorvel::FileAccess {

using ConnectionLogger::traceFmt;

namespace {

/// A per-user number, written with its default when it is missing.
int settingOr(const wchar_t* key, int byDefault) {
  int value = byDefault;
  if (!ZSYST_ZepRegGetNumber(L"HKCU", key, value)) ZSYST_ZepRegPutNumber(L"HKCU", key, byDefault);
  return value;
}

RetrySettings defaultRetrySettings() {
  RetrySettings settings;
  settings.logErrors = getFileAccessTrace() > 1;
  return settings;
}

bool isDifference(VerdictReason reason) {
  return reason == VerdictReason::CountersDiffer || reason == VerdictReason::GuidsDiffer;
}

/// True for a part of a path with a component "..".
bool leavesItsDirectory(const wchar_t* part) {
  if (part == nullptr) return false;
  const std::wstring_view text = part;
  for (std::size_t begin = 0; begin <= text.size();) {
    const std::size_t end = std::min(text.find_first_of(L"/\\", begin), text.size());
    if (text.substr(begin, end - begin) == L"..") return true;
    begin = end + 1;
  }
  return false;
}

}  // namespace

CZepFtpConnection::CZepFtpConnection()
    : retrySettings_(defaultRetrySettings()), remote_(settingOr(L"Settings\\WGOUseDirectoryListingCache", 0) != 0) {}

bool CZepFtpConnection::initialize(Initialize_forIZepInetFileTransfer& record) {
  if (record.serverName == nullptr || *record.serverName == L'\0') {
    initialised_ = false;
    return false;
  }
  const CServerProperties properties(record.serverName);
  RemoteConfiguration& configuration = remote_;
  const bool hostChanged = configuration.take(properties);
  remote_.keepDowngrade();
  setServerName(configuration.hostName.c_str());
  remote_.setParentWindow(record.parentWindow);
  if (!logRemoved_) {
    ConnectionLogger::ResetConnectionLog();
    logRemoved_ = true;
  }
  initialised_ = true;
  if (hostChanged) configuration.reconnectRequired = true;
  return true;
}

std::wstring CZepFtpConnection::localPathOf(const int* pathNr, const wchar_t* dir, const wchar_t* name) {
  const std::wstring root = getPathFromNr(pathNr);
  // Without a root the path would begin at the process's directory.
  if (root.empty() || root == kNoPathText || leavesItsDirectory(dir) || leavesItsDirectory(name)) return {};
  std::wstring path = root;
  for (const wchar_t* part : {dir, name}) {
    if (part != nullptr && *part != L'\0') path = platform::joinPath(path, part);
  }
  std::replace(path.begin(), path.end(), L'/', L'\\');
  return path;
}

std::wstring CZepFtpConnection::serverDirectoryOf(const int* pathNr, const wchar_t* dir) {
  std::wstring path = getServerPathFromNr(pathNr);
  if (path == kNoPathText || leavesItsDirectory(dir)) return {};
  if (dir == nullptr || *dir == L'\0') return path;
  std::wstring below = dir;
  std::replace(below.begin(), below.end(), L'\\', L'/');
  if (below.front() != L'/' && (path.empty() || (path.back() != L'/' && path.back() != L'\\'))) path += L'/';
  return path + below;
}

RemoteStatus CZepFtpConnection::retry(std::initializer_list<RemoteStep> steps) {
  return runWithRetries(remote_, retrySettings_.top(), steps);
}

// There is no helper process to end: nothing starts one.
void CZepFtpConnection::shutdown() {
  if (!initialised_) return;
  initialised_ = false;
  remote_.closeConnection();
}

int CZepFtpConnection::timeTraceLevel() const {
  return retrySettings_.top().keepTimeTrace ? WGO_GetTrace() : 0;
}

void CZepFtpConnection::releaseThreadData() {
  remote_.releaseThreadData();
}

bool CZepFtpConnection::getDialogsSuppressed() {
  return remote_.getDialogsSuppressed();
}

void CZepFtpConnection::setDialogsSuppressed(bool suppressed) {
  remote_.setDialogsSuppressed(suppressed);
}

UpdateVerdict CZepFtpConnection::objectNeedsUpdate(const int* objectNumber, const ObjectType* type, const int* pathNr,
                                                   std::uint32_t localVersion, const GUID& localGuid,
                                                   std::uint32_t serverVersion, const GUID& serverGuid,
                                                   const CompareMode* mode) {
  std::wstring name;
  getObjectFileName(objectNumber, type, name, pathNr);
  return fileNeedsUpdate(name.c_str(), type, localVersion, localGuid, serverVersion, serverGuid, mode);
}

UpdateVerdict CZepFtpConnection::fileNeedsUpdate(const wchar_t* name, const ObjectType* type,
                                                 std::uint32_t localVersion, const GUID& localGuid,
                                                 std::uint32_t serverVersion, const GUID& serverGuid,
                                                 const CompareMode* mode) {
  const VersionVerdict result =
      compareVersions(FileVersion{localVersion, localGuid}, FileVersion{serverVersion, serverGuid}, wrapTestOf(type),
                      mode != nullptr ? *mode : CompareMode{});
  if (!verbose()) return result.verdict;
  traceFmt(0, L"fileNeedsUpdate: VersLocal = %d, VersServer = %d", static_cast<std::int32_t>(localVersion),
           static_cast<std::int32_t>(serverVersion));
  traceFmt(0, verdictLine(result.reason), name);
  if (isDifference(result.reason)) traceFmt(0, verdictLine(VerdictReason::ServerNewer), name);
  return result.verdict;
}

void CZepFtpConnection::clearTransferRecords() {
  transferRecords_.clear();
}

bool CZepFtpConnection::addTransferRecord(const TransferRecord& record) {
  return transferRecords_.add(record);
}

std::size_t CZepFtpConnection::getTransferRecords(std::vector<TransferRecord>& out) {
  out = transferRecords_.all();
  return out.size();
}

bool CZepFtpConnection::getTransferRecord(int objectNumber, std::int32_t& state,
                                          bool (*filter)(const TransferRecord&)) {
  return transferRecords_.stateOf(objectNumber, state, filter);
}

}  // namespace Quorvel::FileAccess
