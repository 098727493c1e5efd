#include "toolkit/Ftp2W.h"

#include <algorithm>
#include <limits>

#include "platform/Text.h"
#include "platform/Time.h"
#include "toolkit/ByteData.h"
#include "toolkit/ClsFtp2.h"
#include "toolkit/FtpListing.h"
#include "toolkit/StringW.h"

namespace Quorvel::FileAccess {

namespace {

constexpr std::int32_t kDefaultSendBuffer = 65535;
constexpr std::int32_t kLeastSendBuffer = 300;
constexpr std::int32_t kMostSendBuffer = 3000000;

std::wstring textOf(const wchar_t* text) {
  return text != nullptr ? std::wstring(text) : std::wstring();
}

bool isIn(const FtpEntryList& entries, std::int32_t index) {
  return index >= 0 && static_cast<std::size_t>(index) < entries.size();
}

}  // namespace

CkFtp2W::CkFtp2W() : client_(std::make_unique<ClsFtp2>()) {}

CkFtp2W::~CkFtp2W() = default;

void CkFtp2W::put_Hostname(const wchar_t* host) {
  client_->settings().hostname = textOf(host);
}

void CkFtp2W::put_Username(const wchar_t* user) {
  client_->settings().user = textOf(user);
}

void CkFtp2W::put_Password(const wchar_t* password) {
  client_->settings().password = textOf(password);
}

void CkFtp2W::put_AutoFeat(bool automatic) {
  client_->settings().autoFeat = automatic;
}

void CkFtp2W::put_UseEpsv(bool use) {
  client_->settings().useEpsv = use;
}

void CkFtp2W::put_Passive(bool /*passive*/) {}

void CkFtp2W::put_ReadTimeout(std::int32_t seconds) {
  client_->settings().readTimeoutSeconds = std::max(seconds, 0);
}

void CkFtp2W::put_ConnectTimeout(std::int32_t seconds) {
  client_->settings().connectTimeoutSeconds = std::max(seconds, 0);
}

void CkFtp2W::put_DirListingCharset(const wchar_t* /*charset*/) {}

void CkFtp2W::put_Port(std::int32_t port) {
  client_->settings().port = std::clamp(port, 0, 65535);
}

void CkFtp2W::put_AuthTls(bool use) {
  client_->settings().authTls = use;
}

void CkFtp2W::put_Ssl(bool use) {
  client_->settings().implicitTls = use;
}

void CkFtp2W::put_TrustedCertificates(const wchar_t* path) {
  client_->settings().trustedCertificates = textOf(path);
}

const FtpServerFacts& CkFtp2W::facts() {
  return client_->facts();
}

std::int64_t CkFtp2W::roundTripMicroseconds() const {
  return client_->session().roundTripMicroseconds();
}

bool CkFtp2W::Connect() {
  return client_->connect();
}

bool CkFtp2W::Disconnect() {
  return client_->disconnect();
}

bool CkFtp2W::get_IsConnected() {
  return client_->isConnected();
}

std::int32_t CkFtp2W::get_ConnectFailReason() const {
  return client_->session().failReason();
}

std::wstring CkFtp2W::lastErrorText() const {
  return nameOf(client_->dialogue().text());
}

int CkFtp2W::lastReplyCode() const {
  return client_->dialogue().lastCode();
}

std::wstring CkFtp2W::lastReplyText() const {
  return nameOf(client_->dialogue().lastText());
}

bool CkFtp2W::Feat(CkStringW& out) {
  std::wstring text;
  const bool isKnown = client_->feat(text);
  out.setString(std::move(text));
  return isKnown;
}

bool CkFtp2W::Quote(const wchar_t* command) {
  return client_->quote(textOf(command));
}

bool CkFtp2W::ChangeRemoteDir(const wchar_t* path) {
  return client_->changeDirectory(textOf(path));
}

void CkFtp2W::doubtRemoteDir() {
  client_->doubtDirectory();
}

bool CkFtp2W::CreateRemoteDir(const wchar_t* name) {
  return client_->createDirectory(textOf(name));
}

bool CkFtp2W::RemoveRemoteDir(const wchar_t* path) {
  return client_->removeDirectory(textOf(path));
}

bool CkFtp2W::DeleteTree() {
  return client_->deleteTree();
}

bool CkFtp2W::DeleteRemoteFile(const wchar_t* name) {
  return client_->deleteFile(textOf(name));
}

bool CkFtp2W::RenameRemoteFile(const wchar_t* oldName, const wchar_t* newName) {
  return client_->rename(textOf(oldName), textOf(newName));
}

bool CkFtp2W::GetFile(const wchar_t* remote, const wchar_t* local) {
  return client_->getFile(textOf(remote), textOf(local));
}

bool CkFtp2W::PutFile(const wchar_t* local, const wchar_t* remote) {
  return client_->putFile(textOf(local), textOf(remote));
}

bool CkFtp2W::GetRemoteFileBinaryData(const wchar_t* remote, CkByteData& out) {
  return client_->getData(textOf(remote), out);
}

bool CkFtp2W::PutFileFromBinaryData(const wchar_t* remote, const CkByteData& data) {
  return client_->putData(textOf(remote), data);
}

std::int32_t CkFtp2W::GetSizeByName(const wchar_t* name) {
  const std::int64_t size = GetSizeByName64(name);
  return size > std::numeric_limits<std::int32_t>::max() ? -1 : static_cast<std::int32_t>(size);
}

std::int64_t CkFtp2W::GetSizeByName64(const wchar_t* name) {
  return client_->size(textOf(name));
}

void CkFtp2W::ClearDirCache() {
  client_->forgetListing();
}

void CkFtp2W::put_ListPattern(const wchar_t* pattern) {
  client_->setPattern(textOf(pattern));
}

std::int32_t CkFtp2W::get_NumFilesAndDirs() {
  return client_->countEntries();
}

bool CkFtp2W::GetFilename(std::int32_t index, CkStringW& name) {
  if (!isIn(client_->entries(), index)) return false;
  name.setString(client_->nameAt(static_cast<std::size_t>(index)));
  return true;
}

bool CkFtp2W::GetIsDirectory(std::int32_t index) {
  const FtpEntryList& entries = client_->entries();
  return isIn(entries, index) && entries.isDirectory(static_cast<std::size_t>(index));
}

std::int64_t CkFtp2W::GetSize64(std::int32_t index) {
  const FtpEntryList& entries = client_->entries();
  const auto at = static_cast<std::size_t>(index);
  if (!isIn(entries, index) || (entries.isLink(at) && !client_->hasDetails(at))) return -1;
  return entries.bytes(at);
}

bool CkFtp2W::GetLastModifiedFTime(std::int32_t index, FILETIME& time) {
  const FtpEntryList& entries = client_->entries();
  if (!isIn(entries, index)) return false;
  const auto at = static_cast<std::size_t>(index);
  if (!client_->hasDetails(at)) return false;
  const std::optional<FILETIME> known = entries.time(at);
  if (known) time = *known;
  return known.has_value();
}

bool CkFtp2W::GetLastModifiedTime(std::int32_t index, SYSTEMTIME& time) {
  FILETIME utc{};
  SYSTEMTIME utcFields{};
  return GetLastModifiedFTime(index, utc) && FileTimeToSystemTime(&utc, &utcFields) != FALSE &&
         SystemTimeToTzSpecificLocalTime(nullptr, &utcFields, &time) != FALSE;
}

void CkFtp2W::setEventCallback(CkFtp2ProgressW* receiver) {
  client_->setReceiver(receiver);
}

void CkFtp2W::put_HeartbeatMs(std::int32_t milliseconds) {
  client_->setHeartbeat(milliseconds);
}

void CkFtp2W::put_SendBufferSize(std::int32_t bytes) {
  const std::int32_t size = bytes < 1 ? kDefaultSendBuffer : std::clamp(bytes, kLeastSendBuffer, kMostSendBuffer);
  client_->settings().sendPieceBytes = static_cast<std::size_t>(size);
  client_->settings().sendBufferBytes = size;
}

std::int64_t CkFtp2W::bytesOfLastTransfer() const {
  return client_->bytesOfLastTransfer();
}

}  // namespace Quorvel::FileAccess
