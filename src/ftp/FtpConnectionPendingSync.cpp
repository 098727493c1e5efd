// Operations that have no client behind them yet. Each answers its failure value and touches nothing.
#include "ftp/FtpConnection.h"

namespace Quorvel::FileAccess {

UpdateVerdict CZepFtpConnection::fileNeedsUpdate(const wchar_t* /*name*/, const wchar_t* /*dir*/, const int* /*pathNr*/,
                                                 unsigned /*flags*/, std::uint32_t* /*lockMask*/) {
  return eVerdict_Equal;
}

DWORD CZepFtpConnection::syncServerDirectory(const int* /*pathNr*/, const wchar_t* /*directory*/,
                                             const WGO_FileFilter* /*filter*/, int /*progress*/) {
  return ERROR_INVALID_DATA;
}

DWORD CZepFtpConnection::syncServerDirectoryTree(const wchar_t* /*directory*/, const int* /*pathNr*/,
                                                 const WGO_FileFilter* /*filter*/, int /*progress*/,
                                                 bool /*recursive*/) {
  return ERROR_INVALID_DATA;
}

bool CZepFtpConnection::createLockFile(int /*objectNumber*/, const int* /*objectType*/, const wchar_t* /*name*/,
                                       const wchar_t* /*text*/) {
  return false;
}

bool CZepFtpConnection::deleteLockFile(int /*objectNumber*/, const int* /*objectType*/, const wchar_t* /*name*/) {
  return false;
}

bool CZepFtpConnection::readLockFile(const wchar_t* /*name*/, std::wstring& /*text*/) {
  return false;
}

bool CZepFtpConnection::lockFileExists(int /*objectNumber*/, const int* /*objectType*/, const wchar_t* /*name*/,
                                       const wchar_t* /*pattern*/) {
  return false;
}

std::size_t CZepFtpConnection::fillLockInfo(const wchar_t* /*project*/, std::vector<LockFileInfo>& out,
                                            int /*userFilter*/) {
  out.clear();
  return 0;
}

std::size_t CZepFtpConnection::fillLockInfo(const int* /*pathNr*/, int /*userFilter*/, std::vector<LockFileInfo>& out) {
  out.clear();
  return 0;
}

}  // namespace Quorvel::FileAccess
