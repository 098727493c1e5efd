#include "toolkit/FtpControl.h"

#include "toolkit/FtpDialogue.h"

namespace Quorvel::FileAccess {

namespace {
constexpr int kNotAvailable = 421;
}

FtpControl::FtpControl(FtpLoop& loop, FtpDialogue& dialogue) : loop_(loop), dialogue_(dialogue) {}

FtpSocket& FtpControl::renew() {
  parser_.reset();
  output_.clear();
  failure_ = FtpFailure::None;
  return socket_.emplace(loop_);
}

void FtpControl::close() {
  if (socket_) socket_->close();
  parser_.reset();
  output_.clear();
}

void FtpControl::fail(FtpFailure failure, std::string_view text) {
  failure_ = failure;
  dialogue_.note(text);
  close();
}

void FtpControl::queue(std::string_view line, std::string_view shown) {
  dialogue_.command(shown);
  output_.append(line).append("\r\n");
}

bool FtpControl::send(std::string_view line, std::string_view shown) {
  queue(line, shown);
  return flush();
}

bool FtpControl::flush() {
  if (!isOpen()) {
    fail(FtpFailure::NotConnected, "Error: there is no connection to the server");
    return false;
  }
  std::size_t sent = 0;
  const auto deadline = FtpLoop::deadlineIn(timeoutSeconds_);
  while (sent < output_.size()) {
    const FtpMoved moved = socket_->write(output_.data() + sent, output_.size() - sent);
    sent += moved.bytes;
    if (moved.status == FtpIo::Done) continue;
    if (moved.status != FtpIo::AgainRead && moved.status != FtpIo::AgainWrite) {
      // The server may have said why before it went; its farewell closes as well.
      const std::string error = socket_->error();
      while (tryReply()) continue;
      fail(FtpFailure::Lost, "Error: the server closed the connection: " + error);
      return false;
    }
    const bool forWrite = moved.status == FtpIo::AgainWrite;
    const FtpWaited waited = loop_.wait({{*socket_, forWrite ? FtpInterest::Write : FtpInterest::Read}}, deadline);
    if (waited == FtpWaited::Ready) continue;
    const bool aborted = waited == FtpWaited::Aborted;
    fail(aborted ? FtpFailure::Aborted : FtpFailure::TimedOut,
         aborted ? "Error: aborted" : "Error: the server takes no commands");
    return false;
  }
  output_.clear();
  return true;
}

std::optional<FtpReply> FtpControl::takeParsed() {
  std::optional<FtpReply> reply = parser_.next();
  if (reply) {
    dialogue_.reply(*reply);
    if (reply->code == kNotAvailable) fail(FtpFailure::Lost, "The server ended the session");
  } else if (parser_.isBroken()) {
    fail(FtpFailure::Lost, "Error: what the server sent is no FTP reply");
  }
  return reply;
}

std::optional<FtpReply> FtpControl::tryReply() {
  while (isOpen()) {
    if (std::optional<FtpReply> reply = takeParsed()) return reply;
    if (!isOpen()) break;
    const FtpMoved moved = socket_->read(input_.data(), input_.size());
    if (moved.status == FtpIo::AgainRead || moved.status == FtpIo::AgainWrite) break;
    if (moved.status != FtpIo::Done) {
      fail(FtpFailure::Lost, moved.status == FtpIo::Failed ? "Error: the connection broke: " + socket_->error()
                                                           : "Error: the server closed the connection");
      break;
    }
    parser_.append({input_.data(), moved.bytes});
  }
  return std::nullopt;
}

std::optional<FtpReply> FtpControl::reply() {
  for (;;) {
    if (std::optional<FtpReply> reply = tryReply()) return reply;
    if (!isOpen()) {
      if (failure_ == FtpFailure::None) failure_ = FtpFailure::NotConnected;
      return std::nullopt;
    }
    const FtpWaited waited = loop_.wait({{*socket_, FtpInterest::Read}}, FtpLoop::deadlineIn(timeoutSeconds_));
    if (waited == FtpWaited::TimedOut) fail(FtpFailure::TimedOut, "Error: the server does not answer");
    if (waited == FtpWaited::Aborted) fail(FtpFailure::Aborted, "Error: aborted");
    if (waited != FtpWaited::Ready) return std::nullopt;
  }
}

std::optional<FtpReply> FtpControl::replyWithin(std::int64_t milliseconds) {
  const auto deadline = FtpLoop::Clock::now() + std::chrono::milliseconds(milliseconds);
  for (;;) {
    if (std::optional<FtpReply> reply = tryReply()) return reply;
    if (!isOpen()) return std::nullopt;
    const FtpWaited waited = loop_.wait({{*socket_, FtpInterest::Read}}, deadline);
    if (waited == FtpWaited::Aborted) fail(FtpFailure::Aborted, "Error: aborted");
    if (waited != FtpWaited::Ready) return std::nullopt;
  }
}

}  // namespace Quorvel::FileAccess
