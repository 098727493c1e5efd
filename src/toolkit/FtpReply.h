// Replies of an FTP server (RFC 959, section 4.2) read from the bytes of the control connection.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace Quorvel::FileAccess {

struct FtpReply {
  int code = 0;
  /// All lines without their line ends, joined by line feeds, the code at the start of each left as it came.
  std::string text;

  bool isPreliminary() const { return code >= 100 && code < 200; }
  bool isSuccess() const { return code >= 200 && code < 300; }
  bool isIntermediate() const { return code >= 300 && code < 400; }
  bool isTemporary() const { return code >= 400 && code < 500; }
};

/// Takes bytes as they arrive and gives replies as they are complete.
class FtpReplyParser {
 public:
  void append(std::string_view bytes);
  /// @return empty when the next reply is not complete yet, or the parser is broken
  std::optional<FtpReply> next();
  /// No byte waits.
  bool isEmpty() const;
  /// What came is no reply: a line without a code at the start, a line or reply that is too long. It stays so.
  bool isBroken() const;
  void reset();

 private:
  std::string bytes_;
  bool broken_ = false;
};

}  // namespace Quorvel::FileAccess
