#include "core/InetFileTransfer.h"

#include <array>

#include "core/HandleResolver.h"
#include "core/ObjectNames.h"
#include "host/System.h"
#include "host/Trace.h"
#include "platform/Files.h"
#include "platform/Text.h"
#include "zephor/Diagnostics.h"
#include "zephor/Projects.h"

namespace Quorvel::FileAccess {

using ConnectionLogger::traceFmt;

namespace {

constexpr int kLocalBimPath = 4;
constexpr int kServerBimPath = 12;
/// Stands for all objects of a type, as no number does.
constexpr int kAnyObject = -1;

int numberOf(const int* pathNr) {
  return pathNr != nullptr ? *pathNr : static_cast<int>(eNoPath);
}

/// Keeps the text of a path answer. One buffer for each number, so that a path can be asked for with another at hand.
const wchar_t* keptForThread(int number, std::wstring text) {
  thread_local std::array<std::wstring, PathTable::kLast + 1> buffers;
  const bool known = number > eNoPath && number <= PathTable::kLast;
  std::wstring& buffer = buffers[known ? static_cast<std::size_t>(number) : 0];
  buffer = std::move(text);
  return buffer.c_str();
}

/// Overwrites the last `%` with a blank. @return its position, or npos
std::size_t blankLastPercent(std::wstring& text) {
  const std::size_t position = text.rfind(L'%');
  if (position != std::wstring::npos) text[position] = L' ';
  return position;
}

void appendBackslash(std::wstring& path) {
  if (path.empty() || path.back() != L'\\') path += L'\\';
}

}  // namespace

CZepInetFileTransfer::CZepInetFileTransfer() : verbose_(getFileAccessTrace() > 1) {}

bool CZepInetFileTransfer::getFileInfoFromHandle(HANDLE file, int& type, int& number, std::wstring& name) {
  return resolveFileHandle(file, type, number, name);
}

void CZepInetFileTransfer::setServerName(const wchar_t* name) {
  if (name == nullptr) return;
  serverName_ = name;
  connectionType_ = ZSYST_IsInetServer(serverName_) ? ZSYST_getWorkgroupOnlineConnectionType(serverName_) : 0;
}

const wchar_t* CZepInetFileTransfer::getServerName() {
  return serverName_.c_str();
}

DWORD CZepInetFileTransfer::setProjectName(const wchar_t* name, bool check) {
  if (name == nullptr || *name == L'\0' || *name == L' ') {
    projectName_.clear();
    return ERROR_INVALID_DATA;
  }
  std::wstring directory = WGO_BuildProjectDirectoryName(name);
  if (check && !projectDirectoryExists(directory)) return ERROR_PATH_NOT_FOUND;
  projectName_ = std::move(directory);
  return ERROR_SUCCESS;
}

bool CZepInetFileTransfer::projectDirectoryExists(const std::wstring& directory) {
  const std::wstring root = pathOf(ePrjPath);
  if (connectionType_ != 0) return existDirectory(platform::formatWide(L"%s/%s", root, directory).c_str());
  return _waccess(platform::formatWide(L"%s\\%s", root, directory).c_str(), 0) == 0;
}

const wchar_t* CZepInetFileTransfer::getProjectName() {
  return projectName_.c_str();
}

const wchar_t* CZepInetFileTransfer::getPathFromNr(const int* pathNr) {
  const int number = numberOf(pathNr);
  return keptForThread(number, pathOf(number));
}

const wchar_t* CZepInetFileTransfer::getServerPathFromNr(const int* pathNr) {
  const int number = PathTable::serverNumberOf(numberOf(pathNr));
  return getPathFromNr(&number);
}

std::wstring CZepInetFileTransfer::pathOf(int number) const {
  if (number <= eNoPath || number > PathTable::kLast) return kNoPathText;
  switch (number) {
    case ePrjPath:
      if (serverName_.empty()) return paths_.entry(ePrjPath);
      return globalHostsManager::instance().getHostPath(serverName_);
    case kLocalBimPath:
      return localBimDirectory();
    case kServerBimPath:
      return serverBimDirectory();
    default:
      return paths_.entry(number);
  }
}

std::wstring CZepInetFileTransfer::localBimDirectory() const {
  std::wstring path = globalHostsManager::instance().getHostPath(serverName_);
  if (path.empty()) return path;
  appendBackslash(path);
  path += projectName_;
  appendBackslash(path);
  return path + L"BIM";
}

std::wstring CZepInetFileTransfer::serverBimDirectory() const {
  const std::wstring& projects = paths_.entry(eServerPrjPath);
  return platform::formatWide(projects == L"/" ? L"%s%s/BIM" : L"%s/%s/BIM", projects, projectName_);
}

void CZepInetFileTransfer::getObjectFileName(const int* objectNumber, const ObjectType* type, std::wstring& name,
                                             const int* /*pathNr*/) {
  name.clear();
  if (type == nullptr) return;
  const bool isOne = objectNumber != nullptr && *objectNumber != kAnyObject;
  name = isOne ? objectFileName(*type, *objectNumber) : objectFilePattern(*type);
  if (name.empty()) {
    lfperrC(L"%s: object type unknown %d\n", L"Quorvel::FileAccess::CZepInetFileTransfer::getObjectFileName",
            static_cast<int>(*type));
  }
}

void CZepInetFileTransfer::setConnectionType(const int* type) {
  if (type != nullptr) connectionType_ = *type;
}

int CZepInetFileTransfer::getConnectionType() {
  return connectionType_;
}

void CZepInetFileTransfer::setQuorvelUserID(int id) {
  userId_ = id;
  userIdText_ = platform::formatWide(L"%04d", id);
  if (verbose_) traceFmt(0, L"CZepInetFileTransfer::setQuorvelUserID: %s", userIdText_);
}

int CZepInetFileTransfer::getQuorvelUserID() {
  return userId_;
}

void CZepInetFileTransfer::setQuorvelUserName(const wchar_t* name) {
  userName_ = name != nullptr ? name : L"";
  if (verbose_) traceFmt(0, L"CZepInetFileTransfer::setQuorvelUserName: %s", userName_);
}

const wchar_t* CZepInetFileTransfer::getUserIdText() {
  return userIdText_.c_str();
}

const wchar_t* CZepInetFileTransfer::setPathFromNr(const wchar_t* path, const int* pathNr) {
  // Copied first: the path may be the answer of the call before, which this one overwrites.
  const std::wstring stored = path != nullptr ? withoutTrailingBackslashes(path) : std::wstring();
  pathResult_ = kNoPathText;
  if (path == nullptr) return pathResult_.c_str();

  const int number = numberOf(pathNr);
  const bool online = connectionType_ != 0 || ZSYST_IsOndrathServer(serverName_);
  pathResult_ = paths_.set(number, stored, PathTable::Roots{userIdText_, !online});

  // The stored value keeps its '%'; what is shown and what is answered do not.
  if (stored.find(L'%') != std::wstring::npos) blankLastPercent(pathResult_);
  tracePath(PathTable::label(number), stored);
  return pathResult_.c_str();
}

void CZepInetFileTransfer::tracePath(const std::wstring& label, std::wstring path) {
  if (!verbose_) return;
  const std::size_t position = blankLastPercent(path);
  if (position == std::wstring::npos) {
    traceFmt(0, L"CZepInetFileTransfer::setPathFromNr [%s][%s]", label, path);
  } else {
    traceFmt(1, L"CZepInetFileTransfer::setPathFromNr [%s] - invalid character at position %d: [%s]", label,
             static_cast<int>(position), path);
  }
}

void CZepInetFileTransfer::setCurrentName(const wchar_t* name) {
  currentName_ = name != nullptr ? name : L"/";
}

const wchar_t* CZepInetFileTransfer::getCurrentName() {
  return currentName_.c_str();
}

}  // namespace Quorvel::FileAccess
