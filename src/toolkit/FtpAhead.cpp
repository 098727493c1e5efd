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
    if (sent < count && sent - answered <= kMostUnderWay / 2) {
      for (; sent < count && sent - answered < kMostUnderWay; ++sent) {
        const std::string line = command(sent);
        control.queue(line, line);
      }
      if (!control.flush()) return false;
    }
    const std::optional<FtpReply> reply = session.reply();
    if (!reply || !control.isOpen()) return false;
    onReply(answered, *reply);
  }
  return true;
}

}  // namespace Quorvel::FileAccess
