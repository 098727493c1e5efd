// The control connection: commands out, replies in (RFC 959, section 4). No knowledge of what they mean, but for one:
// a reply 421 is the server's farewell, and the connection is closed with it.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "toolkit/FtpReply.h"
#include "toolkit/FtpSocket.h"

namespace Quorvel::FileAccess {

class FtpDialogue;

enum class FtpFailure : std::uint8_t {
  None,
  NotConnected,
  Lost,  ///< the connection ended or what came is no reply
  TimedOut,
  Aborted,  ///< by the receiver
};

class FtpControl {
 public:
  FtpControl(FtpLoop& loop, FtpDialogue& dialogue);

  /// A new, unconnected socket; what was left of an older one is dropped.
  FtpSocket& renew();
  FtpSocket& socket() { return *socket_; }
  bool isOpen() const { return socket_.has_value() && socket_->isOpen(); }
  void close();

  /// Idle time while a reply is waited for, in seconds.
  void setTimeout(std::int32_t seconds) { timeoutSeconds_ = seconds; }
  std::int32_t timeout() const { return timeoutSeconds_; }

  /// Adds a command to what flush() sends, so that several go out together. @param shown  for the dialogue
  void queue(std::string_view line, std::string_view shown);
  /// @return false, with the connection closed, when the server is gone
  bool flush();
  bool send(std::string_view line, std::string_view shown);
  bool send(std::string_view line) { return send(line, line); }

  /// A reply that has come already. Empty when there is none, or when the connection ended, which isOpen() tells.
  std::optional<FtpReply> tryReply();
  /// Waits for the next reply. Empty on a failure, which failure() tells; the connection is then closed, since replies
  /// would be taken for those of other commands.
  std::optional<FtpReply> reply();
  /// The same for at most a time, in milliseconds; when that passes the connection stays open.
  std::optional<FtpReply> replyWithin(std::int64_t milliseconds);
  FtpFailure failure() const { return failure_; }
  /// Bytes were received that no reply has used yet.
  bool hasUnread() const { return !parser_.isEmpty(); }
  /// Closes and notes why.
  void fail(FtpFailure failure, std::string_view text);

 private:
  std::optional<FtpReply> takeParsed();
  bool writePending();

  FtpLoop& loop_;
  FtpDialogue& dialogue_;
  std::optional<FtpSocket> socket_;
  FtpReplyParser parser_;
  std::string output_;
  std::array<char, 4096> input_{};
  std::int32_t timeoutSeconds_ = 0;
  FtpFailure failure_ = FtpFailure::None;
};

}  // namespace Quorvel::FileAccess
