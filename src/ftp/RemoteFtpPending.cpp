// Primitives that have no client behind them yet. Each answers its failure value and touches nothing.
#include "ftp/RemoteFtp.h"

namespace Quorvel::FileAccess {
namespace {

RemoteStatus notBuilt() {
  return {false, true, false, ERROR_INVALID_DATA};
}

}  // namespace

RemoteStatus RemoteFtp::enableConnection(RemoteRetryContext& /*context*/) {
  return notBuilt();
}

RemoteStatus RemoteFtp::changeDirectory(RemoteRetryContext& /*context*/, const std::wstring& /*directory*/) {
  return notBuilt();
}

RemoteStatus RemoteFtp::downloadFile(RemoteRetryContext& /*context*/, const std::wstring& /*remoteName*/,
                                     const std::wstring& /*localPath*/) {
  return notBuilt();
}

RemoteStatus RemoteFtp::uploadFile(RemoteRetryContext& /*context*/, const std::wstring& /*localPath*/,
                                   const std::wstring& /*remoteName*/) {
  return notBuilt();
}

RemoteStatus RemoteFtp::getFileNames(RemoteRetryContext& /*context*/, const std::wstring& /*pattern*/,
                                     std::vector<std::wstring>& /*out*/) {
  return notBuilt();
}

RemoteStatus RemoteFtp::getFileInfos(RemoteRetryContext& /*context*/, const std::wstring& /*pattern*/,
                                     std::vector<RemoteFileEntry>& /*out*/) {
  return notBuilt();
}

RemoteStatus RemoteFtp::getConnectionFile(RemoteRetryContext& /*context*/, const std::wstring& /*name*/,
                                          RemoteFileEntry& /*out*/) {
  return notBuilt();
}

RemoteStatus RemoteFtp::remoteFileExists(RemoteRetryContext& /*context*/, const std::wstring& /*name*/,
                                         bool& /*found*/) {
  return notBuilt();
}

RemoteStatus RemoteFtp::getDirectoryInfos(RemoteRetryContext& /*context*/, std::vector<RemoteFileEntry>& /*out*/) {
  return notBuilt();
}

RemoteStatus RemoteFtp::getDirectoryNames(RemoteRetryContext& /*context*/, std::vector<std::wstring>& /*out*/) {
  return notBuilt();
}

RemoteStatus RemoteFtp::readFilePart(RemoteRetryContext& /*context*/, const std::wstring& /*remoteName*/,
                                     std::int64_t /*offset*/, std::int64_t /*size*/, CkByteData& /*data*/,
                                     std::int64_t& /*receivedOffset*/, std::int64_t& /*receivedSize*/) {
  return notBuilt();
}

RemoteStatus RemoteFtp::uploadData(RemoteRetryContext& /*context*/, const CkByteData& /*data*/,
                                   const std::wstring& /*remoteName*/, std::int32_t /*bufferSize*/) {
  return notBuilt();
}

RemoteStatus RemoteFtp::deleteFile(RemoteRetryContext& /*context*/, const std::wstring& /*name*/) {
  return notBuilt();
}

RemoteStatus RemoteFtp::createDirectory(RemoteRetryContext& /*context*/, const std::wstring& /*path*/) {
  return notBuilt();
}

RemoteStatus RemoteFtp::renameFile(RemoteRetryContext& /*context*/, const std::wstring& /*oldName*/,
                                   const std::wstring& /*newName*/) {
  return notBuilt();
}

RemoteStatus RemoteFtp::deleteDirectory(RemoteRetryContext& /*context*/, const std::wstring& /*path*/) {
  return notBuilt();
}

}  // namespace Quorvel::FileAccess
