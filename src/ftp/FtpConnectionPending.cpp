// Operations that have no client behind them yet. Each answers its failure value and touches nothing.
#include "ftp/FtpConnection.h"
#include "host/System.h"

namespace Quorvel::FileAccess {

DWORD CZepFtpConnection::renameFile(const wchar_t* /*oldName*/, const wchar_t* /*newName*/, const wchar_t* /*dir*/,
                                    const int* /*pathNr*/) {
  return ERROR_INVALID_DATA;
}

DWORD CZepFtpConnection::downloadToOpenFile(int /*hostFile*/, const wchar_t* /*name*/, const wchar_t* /*dir*/,
                                            const int* /*serverPathNr*/, const int* /*localPathNr*/, int* /*number*/,
                                            int /*objectNumber*/, unsigned /*flags*/) {
  return ERROR_INVALID_DATA;
}

DWORD CZepFtpConnection::downloadFile(const wchar_t* /*name*/, const wchar_t* /*dir*/, const int* /*serverPathNr*/,
                                      const int* /*localPathNr*/, int* /*number*/, int /*objectNumber*/,
                                      unsigned /*flags*/) {
  return ERROR_INVALID_DATA;
}

DWORD CZepFtpConnection::uploadFreeFile(const wchar_t* /*fullPath*/, const wchar_t* /*dir*/, const int* /*pathNr*/,
                                        bool /*silent*/) {
  return ERROR_INVALID_DATA;
}

DWORD CZepFtpConnection::uploadFile(const wchar_t* /*name*/, const wchar_t* /*dir*/, const int* /*pathNr*/,
                                    bool /*silent*/) {
  return ERROR_INVALID_DATA;
}

bool CZepFtpConnection::deleteServerPath(const wchar_t* /*path*/) {
  return false;
}

DWORD CZepFtpConnection::deleteFile(const wchar_t* /*name*/, const wchar_t* /*dir*/, const int* /*pathNr*/) {
  return ERROR_INVALID_DATA;
}

CPartialDownload* CZepFtpConnection::openFile(const wchar_t* /*name*/, const wchar_t* /*dir*/, const int* /*pathNr*/) {
  return nullptr;
}

int CZepFtpConnection::seekFile(CPartialDownload* /*record*/, long long /*offset*/, int /*origin*/) {
  return -1;
}

std::size_t CZepFtpConnection::readFilePartial(CPartialDownload* /*record*/, void* /*buffer*/, std::size_t /*size*/) {
  return 0;
}

DWORD CZepFtpConnection::closeFile(CPartialDownload* /*record*/) {
  return ERROR_INVALID_HANDLE;
}

bool CZepFtpConnection::existDirectory(const wchar_t* /*path*/) {
  return false;
}

bool CZepFtpConnection::existFile(const wchar_t* /*name*/) {
  return !ZSYST_IsInetServer(getServerName());
}

bool CZepFtpConnection::getCRC(std::uint32_t& /*crc*/, const wchar_t* /*name*/, const wchar_t* /*dir*/,
                               const int* /*pathNr*/) {
  return false;
}

DWORD CZepFtpConnection::getProjectDirectories(const wchar_t* /*project*/, std::vector<WIN32_FIND_DATAW>& /*out*/) {
  return ERROR_INVALID_DATA;
}

DWORD CZepFtpConnection::getServerFileInfos(const wchar_t* /*directory*/, const wchar_t* /*pattern*/,
                                            std::vector<RemoteFileEntry>& /*out*/, const WGO_ListOptions* /*options*/) {
  return ERROR_INVALID_DATA;
}

DWORD CZepFtpConnection::getServerFileNames(const wchar_t* /*directory*/, const wchar_t* /*pattern*/,
                                            std::vector<std::wstring>& /*out*/, const WGO_ListOptions* /*options*/) {
  return ERROR_INVALID_DATA;
}

DWORD CZepFtpConnection::getServerFiles(const wchar_t* /*directory*/, std::vector<RemoteFileEntry>& /*out*/) {
  return ERROR_INVALID_DATA;
}

bool CZepFtpConnection::getServerFileSizeAndTime(std::int64_t* /*size*/, const wchar_t* /*path*/, FILETIME* /*time*/) {
  return false;
}

bool CZepFtpConnection::updateFileTime(const wchar_t* /*name*/, const wchar_t* /*dir*/, const int* /*pathNr*/,
                                       const RemoteFileEntry* /*entry*/) {
  return false;
}

DWORD CZepFtpConnection::deleteServerDirectory(const wchar_t* /*path*/, const wchar_t* /*dir*/, const int* /*pathNr*/) {
  return ERROR_INVALID_DATA;
}

bool CZepFtpConnection::getServerDirectories(const wchar_t* /*directory*/, int /*mode*/,
                                             std::vector<std::wstring>& /*out*/) {
  return false;
}

bool CZepFtpConnection::createServerDirectory(const wchar_t* /*path*/) {
  return false;
}

}  // namespace Quorvel::FileAccess
