#include "toolkit/FtpDialogue.h"

#include "platform/Text.h"
#include "toolkit/FtpListing.h"
#include "toolkit/FtpReply.h"
#include "toolkit/Progress.h"

namespace Quorvel::FileAccess {

namespace {
constexpr std::size_t kMostText = std::size_t{64} * 1024;
}  // namespace

void FtpDialogue::begin() {
  text_.clear();
  forgetReply();
}

void FtpDialogue::forgetReply() {
  lastText_.clear();
  lastCode_ = 0;
}

void FtpDialogue::command(std::string_view line) {
  add("> ", line);
  if (receiver_ != nullptr) receiver_->setLastMessage(nameOf(line).c_str());
}

void FtpDialogue::reply(const FtpReply& reply) {
  add("< ", reply.text);
  lastCode_ = reply.code;
  lastText_ = reply.text;
  if (receiver_ == nullptr) return;
  const std::wstring text = nameOf(reply.text);
  receiver_->setLastMessage(text.c_str());
  receiver_->onReply(reply.code, text.c_str());
}

void FtpDialogue::note(std::string_view text) {
  add("", text);
}

void FtpDialogue::add(std::string_view mark, std::string_view text) {
  if (text_.size() > kMostText) {
    const std::size_t cut = text_.find('\n', text_.size() - kMostText / 2);
    text_.erase(0, cut == std::string::npos ? text_.size() : cut + 1);
  }
  text_.append(mark).append(text).push_back('\n');
}

}  // namespace Quorvel::FileAccess
