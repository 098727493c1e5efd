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
#include "toolkit/TransferMeter.h"

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
  std::int64_t bytes() const { return meter_.bytes(); }
  /// The server's last reply to the transfer; 0 when none came.
  int finalCode() const { return final_ ? final_->code : 0; }
  /// REST was accepted for this retrieve. The size that the server tells may be that of the whole file.
  void setOffset(std::uint64_t offset) { offset_ = offset; }

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
  /// The server has forgotten the offset with the command that it refused. @return false when it is not taken again
  bool repeatOffset();
  bool takeReplies();
  bool isRefused() const { return final_ && !final_->isSuccess(); }
  /// @return false when the receiver wants no more; the transfer is then broken off
  bool countOn(std::size_t moved);
  /// Breaks off: the session is brought in step by the next command.
  bool abandon(const std::string& why);
  FtpLoop::Clock::time_point idleDeadline() const;

  FtpSession& session_;
  std::optional<FtpSocket> data_;
  std::optional<FtpReply> final_;
  std::optional<std::int64_t> announced_;
  TransferMeter meter_;
  std::uint64_t offset_ = 0;
  bool isRetrieve_ = false;
  bool isBegun_ = false;  // the server said so
  bool isTruncated_ = false;
  bool isBroken_ = false;
};

}  // namespace Quorvel::FileAccess
