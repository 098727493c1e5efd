// What a client and its server said to each other in the last operation.
#pragma once

#include <string>
#include <string_view>

namespace Quorvel::FileAccess {

class CkFtp2ProgressW;
struct FtpReply;

class FtpDialogue {
 public:
  void setReceiver(CkFtp2ProgressW* receiver) { receiver_ = receiver; }

  /// A new operation: what stood here is forgotten.
  void begin();
  /// The replies that came are no answer any more; the text stays.
  void forgetReply();
  /// @param line  as it may be shown: without secrets and without its end
  void command(std::string_view line);
  void reply(const FtpReply& reply);
  /// What went wrong, or what the client did of its own accord.
  void note(std::string_view text);

  /// Lines of "> command", "< reply" and notes. A long operation keeps its last part only.
  const std::string& text() const { return text_; }
  int lastCode() const { return lastCode_; }
  const std::string& lastText() const { return lastText_; }

 private:
  void add(std::string_view mark, std::string_view text);

  CkFtp2ProgressW* receiver_ = nullptr;
  std::string text_;
  std::string lastText_;
  int lastCode_ = 0;
};

}  // namespace Quorvel::FileAccess
