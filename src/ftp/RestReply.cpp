#include "ftp/RestReply.h"

#include <string>

#include "toolkit/RemoteClient.h"

namespace Quorvel::FileAccess {

bool isRestAccepted(const IRemoteClient& client, std::int64_t offset) {
  constexpr int kFileActionPending = 350;
  return client.lastReplyCode() == kFileActionPending &&
         client.lastReplyText().find(std::to_wstring(offset)) != std::wstring::npos;
}

}  // namespace Quorvel::FileAccess
