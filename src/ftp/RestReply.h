// The reply to REST, which announces where the next transfer begins.
#pragma once

#include <cstdint>

namespace Quorvel::FileAccess {

class IRemoteClient;

/// True when the client's last reply took the offset: code 350, with the offset's digits in the text. A server that
/// answers without them is not trusted with an offset.
bool isRestAccepted(const IRemoteClient& client, std::int64_t offset);

}  // namespace Quorvel::FileAccess
