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

}  // namespace Quorvel::FileAccess
