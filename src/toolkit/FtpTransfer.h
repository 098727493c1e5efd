// One transfer over a data connection (RFC 959, section 3.2; over TLS RFC 4217, section 12).
//
// The command is sent while the data connection is being made, and both connections are watched together until the
// server's last word: a refusal, or an end on either side, is seen at once.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "toolkit/FtpReply.h"
#include "toolkit/FtpSession.h"
#include "toolkit/FtpSocket.h"

namespace Quorvel::FileAccess {

class FtpSink;
class FtpSource;

class FtpTransfer {
 public:
  /// The session was prepared.
  explicit FtpTransfer(FtpSession& session);

  /// @return true when the data ended in order and the server answers that they are whole
  bool retrieve(const std::string& command, FtpSink& sink);
  /// @return true when the server answers that it has them all
  bool store(const std::string& command, FtpSource& source);

  /// Bytes of data moved, also when it failed.
  std::int64_t bytes() const { return bytes_; }
  /// The server's last reply to the transfer; 0 when none came.
  int finalCode() const { return final_ ? final_->code : 0; }
  /// The whole may be longer than what arrives: the size that the server tells is not looked at.
  void setPartial() { isPartial_ = true; }

 private:
  enum class Step : std::uint8_t { Done, Refused, Stale, Failed };

  bool begin(const std::string& command);
  Step connectData(const FtpDataPort& port, const std::string& command);
  /// The data connection could not be brought up: the server will say so.
  bool awaitRefusal();
  Step secureData();
  bool receive(FtpSink& sink);
  bool send(FtpSource& source);
  bool awaitFinal(bool drain);
  bool isWhole();
  /// Waits for the data connection or the server's word. @return false when the transfer is over, noted
  bool watch(FtpInterest interest, FtpLoop::Clock::time_point deadline);
  bool takeReplies();
  bool isRefused() const { return final_ && !final_->isSuccess(); }
  bool tellProgress();
  /// Breaks off: the session is brought in step by the next command.
  bool abandon(const std::string& why);
  FtpLoop::Clock::time_point idleDeadline() const;

  FtpSession& session_;
  std::optional<FtpSocket> data_;
  std::optional<FtpReply> final_;
  std::optional<std::int64_t> announced_;
  FtpLoop::Clock::time_point begun_{};
  std::int64_t bytes_ = 0;
  bool isPartial_ = false;
  bool isBegun_ = false;  // the server said so
  bool isTruncated_ = false;
  bool isBroken_ = false;
};

}  // namespace Quorvel::FileAccess
