#include "toolkit/FtpAhead.h"

#include "toolkit/FtpSession.h"

namespace Quorvel::FileAccess {

namespace {
constexpr std::size_t kMostUnderWay = 64;
}

bool sendAhead(FtpSession& session, std::size_t count, const std::function<std::string(std::size_t)>& command,
               const std::function<void(std::size_t, const FtpReply&)>& onReply) {
  FtpControl& control = session.control();
  std::size_t sent = 0;
  for (std::size_t answered = 0; answered < count; ++answered) {
    std::optional<FtpReply> reply = session.replyAtHand();
    if (!reply) {
      // Only now, so that replies that come together are answered together; and before the wait, since a server that
      // collects small packets holds its next replies back until it hears from us.
      for (; sent < count && sent - answered < kMostUnderWay; ++sent) {
        const std::string line = command(sent);
        control.queue(line, line);
      }
      if (!control.flush()) return false;
      reply = session.reply();
    }
    if (!reply || !control.isOpen()) return false;
    onReply(answered, *reply);
  }
  return true;
}

}  // namespace Quorvel::FileAccess
