// Many commands sent ahead of their replies, so that a thousand of them cost a few round trips.
#pragma once

#include <cstddef>
#include <functional>
#include <string>

namespace Quorvel::FileAccess {

class FtpSession;
struct FtpReply;

/// Sends command(0) to command(count - 1) and hands out their replies in order. At most 64 are under way, which neither
/// side's buffers can fail to hold. The session was prepared.
/// @return false when the session is gone
bool sendAhead(FtpSession& session, std::size_t count, const std::function<std::string(std::size_t)>& command,
               const std::function<void(std::size_t, const FtpReply&)>& onReply);

}  // namespace Quorvel::FileAccess
