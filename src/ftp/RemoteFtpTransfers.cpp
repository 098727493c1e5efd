// The primitives that move the content of files.
#include <algorithm>
#include <limits>

#include "ftp/ByteCountAndAbort.h"
#include "ftp/RemoteFailure.h"
#include "ftp/RemoteThreadData.h"
#include "ftp/RestReply.h"
#include "host/Trace.h"
#include "platform/Files.h"
#include "toolkit/ByteData.h"

namespace Quorvel::FileAccess {
namespace {

/// Has the client report to a receiver, ten times a second at least, while it lives.
class Reporting {
 public:
  Reporting(IRemoteClient& client, ByteCountAndAbort& receiver) : client_(client) {
    constexpr std::int32_t kHeartbeatMilliseconds = 100;
    client_.setEventCallback(&receiver);
    client_.put_HeartbeatMs(kHeartbeatMilliseconds);
  }
  ~Reporting() {
    client_.setEventCallback(nullptr);
    client_.put_HeartbeatMs(0);
  }
  Reporting(const Reporting&) = delete;
  Reporting& operator=(const Reporting&) = delete;

 private:
  IRemoteClient& client_;
};

RemoteStatus noClient() {
  SetLastError(ERROR_INVALID_PARAMETER);
  return {.failed = true, .error = ERROR_INVALID_PARAMETER};
}

/// The server said no before it touched its file.
bool wasRefused(const IRemoteClient& client) {
  constexpr int kFirstPermanentFailure = 500;
  constexpr int kFileBusy = 450;
  constexpr int kStorageFailures[] = {551, 552};  // come while the data do
  const int code = client.lastReplyCode();
  if (client.bytesOfLastTransfer() != 0) return false;
  if (std::find(std::begin(kStorageFailures), std::end(kStorageFailures), code) != std::end(kStorageFailures)) {
    return false;
  }
  return code == kFileBusy || code >= kFirstPermanentFailure;
}

}  // namespace

RemoteStatus RemoteFtp::downloadFile(RemoteRetryContext& context, const std::wstring& remoteName,
                                     const std::wstring& localPath) {
  IRemoteClient* used = client();
  if (used == nullptr) return noClient();
  ByteCountAndAbort receiver;
  bool done = false;
  {
    const Reporting reporting(*used, receiver);
    done = used->GetFile(remoteName.c_str(), localPath.c_str());
  }
  bytesTransferred = used->bytesOfLastTransfer();
  if (done) return {};
  return failed(context, failure::kDownloadFile, placeOf(remoteName) + L" to " + localPath);
}

RemoteStatus RemoteFtp::uploadFile(RemoteRetryContext& context, const std::wstring& localPath,
                                   const std::wstring& remoteName) {
  ThreadData* data = find();
  if (data == nullptr || data->client == nullptr) return noClient();
  ByteCountAndAbort receiver;
  bool done = false;
  {
    const Reporting reporting(*data->client, receiver);
    done = data->client->PutFile(localPath.c_str(), remoteName.c_str());
  }
  bytesTransferred = data->client->bytesOfLastTransfer();
  if (done) {
    data->mayHaveLeftPart = false;
    return {};
  }
  // A directory replaces its file whole or not at all.
  const bool isLocalFault = GetFileAttributesW(localPath.c_str()) == INVALID_FILE_ATTRIBUTES;
  if (receiver.isStoreSent() && !isDirectoryStore() && !wasRefused(*data->client)) data->mayHaveLeftPart = true;
  // No other connection brings back a file that is not here.
  if (isLocalFault) context.retriesLeft = 0;
  return failed(context, failure::kUploadFile, localPath + L" to server " + hostName + L"/" + remoteName);
}

RemoteStatus RemoteFtp::uploadData(RemoteRetryContext& context, const CkByteData& data, const std::wstring& remoteName,
                                   std::int32_t bufferSize) {
  IRemoteClient* used = client();
  if (used == nullptr) return noClient();
  if (bufferSize != 0) used->put_SendBufferSize(bufferSize);
  ByteCountAndAbort receiver;
  bool done = false;
  {
    const Reporting reporting(*used, receiver);
    done = used->PutFileFromBinaryData(remoteName.c_str(), data);
  }
  bytesTransferred = used->bytesOfLastTransfer();
  if (done) return {};
  return failed(context, failure::kUploadData, placeOf(remoteName));
}

RemoteStatus RemoteFtp::readWholeFile(RemoteRetryContext& context, const std::wstring& remoteName, CkByteData& data,
                                      std::int64_t& receivedSize) {
  IRemoteClient* used = client();
  ByteCountAndAbort receiver;
  bool done = false;
  {
    const Reporting reporting(*used, receiver);
    done = used->GetRemoteFileBinaryData(remoteName.c_str(), data);
  }
  bytesTransferred = used->bytesOfLastTransfer();
  receivedSize = static_cast<std::int64_t>(data.getSize());
  if (done) return {};
  return failed(context, failure::kReadFilePart, placeOf(remoteName));
}

RemoteStatus RemoteFtp::readFilePart(RemoteRetryContext& context, const std::wstring& remoteName, std::int64_t offset,
                                     std::int64_t size, CkByteData& data, std::int64_t& receivedOffset,
                                     std::int64_t& receivedSize) {
  IRemoteClient* used = client();
  data.clear();
  receivedOffset = 0;
  receivedSize = 0;
  if (used == nullptr) return noClient();
  if (offset == 0 && size == kWholeFile) return readWholeFile(context, remoteName, data, receivedSize);
  if (offset < 0 || size < 0 || size > std::numeric_limits<std::int64_t>::max() - offset) return noClient();

  const bool fromOffset = supportsRest_;
  if (fromOffset) {
    const auto position = static_cast<unsigned long long>(offset);
    if (!used->Quote(platform::formatWide(L"REST %lu", position).c_str()) && !isRestAccepted(*used, offset)) {
      // A connection that is gone tells nothing about what the server can.
      if (!used->get_IsConnected()) return failed(context, failure::kReadFilePart, placeOf(remoteName));
      lfperrC(L"%s: %s does not take an offset, reading from the beginning from now on\n",
              L"Quorvel::FileAccess::RemoteFtp::readFilePart", hostName);
      restFailed_ = true;
      supportsRest_ = false;
      // It may hold the offset all the same, and would begin there.
      if (!used->Quote(L"REST 0") && !used->get_IsConnected()) {
        return failed(context, failure::kReadFilePart, placeOf(remoteName));
      }
      return readFilePart(context, remoteName, offset, size, data, receivedOffset, receivedSize);
    }
  } else {
    receivedOffset = offset;
  }

  const std::int64_t wanted = receivedOffset + size;
  bool done = false;
  {
    // The end of a partial read is the abort at the limit.
    ByteCountAndAbort receiver(wanted);
    const Reporting reporting(*used, receiver);
    done = used->GetRemoteFileBinaryData(remoteName.c_str(), data);
  }
  bytesTransferred = used->bytesOfLastTransfer();
  const auto received = static_cast<std::int64_t>(data.getSize());
  if (received < wanted) {
    static_cast<void>(done);  // a file that ends before what was asked for is a failure too
    return failed(context, failure::kReadFilePart, placeOf(remoteName));
  }
  receivedSize = size;
  return {};
}

}  // namespace Quorvel::FileAccess
