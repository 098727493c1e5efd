#include "toolkit/FtpTransfer.h"

#include <array>
#include <charconv>

#include "toolkit/FtpData.h"
#include "toolkit/FtpDialogue.h"
#include "toolkit/FtpSettings.h"

namespace Quorvel::FileAccess {

namespace {

// How long a server may take to refuse a transfer whose data connection it has closed itself.
constexpr std::chrono::seconds kRefusal{5};
constexpr int kRestartPending = 350;

/// The two that end a transfer well. Any other success is the answer to another command.
bool isEndOfTransfer(int code) {
  return code == 226 || code == 250;
}

/// "150 Opening BINARY mode data connection for a (1234 bytes)."
std::optional<std::int64_t> announcedSize(std::string_view text) {
  const std::size_t end = text.rfind(" bytes)");
  const std::size_t open = end == std::string_view::npos ? end : text.rfind('(', end);
  if (open == std::string_view::npos) return std::nullopt;
  std::int64_t size = 0;
  const auto [stop, error] = std::from_chars(text.data() + open + 1, text.data() + end, size);
  if (error != std::errc() || stop != text.data() + end || size < 0) return std::nullopt;
  return size;
}

}  // namespace

FtpTransfer::FtpTransfer(FtpSession& session) : session_(session), meter_(session.loop().receiver()) {}

FtpLoop::Clock::time_point FtpTransfer::idleDeadline() const {
  return FtpLoop::deadlineIn(session_.settings().readLimit());
}

bool FtpTransfer::retrieve(const std::string& command, FtpSink& sink) {
  isRetrieve_ = true;
  const bool isReceived = begin(command) && receive(sink) && awaitFinal(false);
  const bool isKept = sink.finish(isReceived && !isRefused());
  if (!isReceived) return false;
  if (!isKept && !sink.error().empty()) session_.dialogue().note("Error: " + sink.error());
  return isWhole() && isKept;
}

bool FtpTransfer::store(const std::string& command, FtpSource& source) {
  return begin(command) && send(source) && awaitFinal(true) && isWhole();
}

bool FtpTransfer::begin(const std::string& command) {
  for (bool mayRepeat = true;; mayRepeat = false) {
    const std::optional<FtpDataPort> port = session_.dataPort();
    if (!port || (!mayRepeat && !repeatOffset())) return false;
    Step step = connectData(*port, command);
    if (step == Step::Done && session_.tls() != nullptr) step = secureData();
    if (step == Step::Done) break;
    if (step == Step::Stale && mayRepeat) continue;
    if (data_) data_->reset();
    return false;
  }
  return true;
}

bool FtpTransfer::repeatOffset() {
  if (offset_ == 0) return true;
  const std::optional<FtpReply> answer = session_.exchange("REST " + std::to_string(offset_));
  return answer && answer->code == kRestartPending;
}

FtpTransfer::Step FtpTransfer::connectData(const FtpDataPort& port, const std::string& command) {
  final_.reset();
  announced_.reset();
  isBegun_ = false;
  FtpSocket& data = data_.emplace(session_.loop());
  data.beginConnect({session_.peerAddress(), port.number}, session_.settings().sendBufferBytes);
  if (data.connectState() == FtpConnectState::Refused) {
    session_.dialogue().note("Error: no data connection can be made: " + data.connectError());
    return Step::Failed;
  }
  if (!session_.control().send(command)) return Step::Failed;
  const auto deadline = FtpLoop::deadlineIn(session_.settings().connectLimit());
  for (;;) {
    if (!takeReplies()) return Step::Failed;
    // The server gave the port up: it may do so when the question was asked long ago. A refusal counts before a
    // connection that was made meanwhile: nobody may ever take that up, and nobody close it (vsftpd's listener is open
    // in two processes).
    if (isRefused()) return port.isSentAhead && final_->code == 425 ? Step::Stale : Step::Refused;
    const FtpConnectState state = data.connectState();
    if (state == FtpConnectState::Connected) return Step::Done;
    if (state == FtpConnectState::Refused) {
      if (port.isSentAhead) return awaitRefusal() ? Step::Stale : Step::Failed;
      session_.control().fail(FtpFailure::Lost, "Error: the data connection was refused: " + data.connectError());
      return Step::Failed;
    }
    if (!watch(FtpInterest::Connect, deadline)) return Step::Failed;
  }
}

bool FtpTransfer::awaitRefusal() {
  const auto deadline = FtpLoop::Clock::now() + kRefusal;
  while (takeReplies()) {
    if (final_) return true;
    const FtpWaited waited = session_.loop().wait({{session_.control().socket(), FtpInterest::Read}}, deadline);
    if (waited == FtpWaited::Ready) continue;
    session_.control().fail(waited == FtpWaited::Aborted ? FtpFailure::Aborted : FtpFailure::TimedOut,
                            "Error: the server does not answer for the data connection");
  }
  return false;
}

FtpTransfer::Step FtpTransfer::secureData() {
  FtpSocket& data = *data_;
  if (!data.secure(*session_.tls(), nullptr, &session_.tlsSession())) {
    abandon("Error: " + data.error());
    return Step::Failed;
  }
  const auto deadline = FtpLoop::deadlineIn(session_.settings().connectLimit());
  while (!isRefused()) {
    const FtpIo status = data.handshake();
    if (status == FtpIo::Done) return Step::Done;
    if (status != FtpIo::AgainRead && status != FtpIo::AgainWrite) {
      // A server that refuses the transfer itself may close the data connection before its reply arrives.
      const std::string error = data.error();
      data.reset();
      if (awaitRefusal() && !isRefused()) isBroken_ = true;
      if (!isRefused()) session_.dialogue().note("Error: TLS of the data connection failed: " + error);
      return Step::Refused;
    }
    if (!watch(status == FtpIo::AgainWrite ? FtpInterest::Write : FtpInterest::Read, deadline)) return Step::Failed;
  }
  return Step::Refused;
}

bool FtpTransfer::receive(FtpSink& sink) {
  for (;;) {
    const FtpSpace space = sink.space();
    if (space.size == 0) return abandon("Error: " + sink.error());
    const FtpMoved moved = data_->read(space.data, space.size);
    switch (moved.status) {
      case FtpIo::Done:
        if (!sink.filled(moved.bytes)) return abandon("Error: " + sink.error());
        if (!countOn(moved.bytes)) return false;
        continue;
      case FtpIo::AgainRead:
      case FtpIo::AgainWrite: {
        if (isRefused()) return true;
        const bool forWrite = moved.status == FtpIo::AgainWrite;
        if (!watch(forWrite ? FtpInterest::Write : FtpInterest::Read, idleDeadline())) return false;
        continue;
      }
      case FtpIo::End:
        return true;
      case FtpIo::Truncated:
        isTruncated_ = true;
        return true;
      case FtpIo::Failed:
        break;
    }
    isBroken_ = true;
    session_.dialogue().note("Error: the data connection broke: " + data_->error());
    return true;
  }
}

bool FtpTransfer::send(FtpSource& source) {
  for (;;) {
    const std::string_view piece = source.next();
    if (source.failed()) return abandon("Error: " + source.error());
    if (piece.empty()) return true;
    const FtpMoved moved = data_->write(piece.data(), piece.size());
    if (moved.status == FtpIo::Done) {
      source.consumed(moved.bytes);
      if (!countOn(moved.bytes)) return false;
      continue;
    }
    if (moved.status != FtpIo::AgainRead && moved.status != FtpIo::AgainWrite) {
      isBroken_ = true;
      session_.dialogue().note("Error: the data connection broke: " + data_->error());
      return true;
    }
    const bool forWrite = moved.status == FtpIo::AgainWrite;
    if (!watch(forWrite ? FtpInterest::Write : FtpInterest::Read, idleDeadline())) return false;
    if (final_) {
      // The server's last word before all was sent: its disk may be full.
      isBroken_ = true;
      return true;
    }
  }
}

bool FtpTransfer::awaitFinal(bool drain) {
  // Over TLS an upload ends with the end of TLS and the half-close; the server's own end and its sessions are read
  // before the connection is closed, since bytes left unread would turn the close into a reset. A plain one has nothing
  // to read.
  if (drain && !isBroken_ && session_.tls() != nullptr) {
    while (data_->finishSending() == FtpIo::AgainWrite && !final_) {
      if (!watch(FtpInterest::Write, idleDeadline())) return false;
    }
  } else {
    data_->close();
    drain = false;
  }
  std::array<char, 4096> rest{};
  while (!final_) {
    if (!takeReplies()) return false;
    if (final_) break;
    if (drain) {
      const FtpMoved moved = data_->read(rest.data(), rest.size());
      drain = moved.status == FtpIo::Done || moved.status == FtpIo::AgainRead;
      if (!drain) data_->close();
      if (moved.status == FtpIo::Done) continue;
    }
    if (drain) {
      if (!watch(FtpInterest::Read, idleDeadline())) return false;
      continue;
    }
    const FtpWaited waited = session_.loop().wait({{session_.control().socket(), FtpInterest::Read}}, idleDeadline());
    if (waited == FtpWaited::Aborted) return abandon("Error: aborted");
    if (waited == FtpWaited::TimedOut) {
      session_.control().fail(FtpFailure::TimedOut, "Error: the server does not answer at the end of the transfer");
      return false;
    }
  }
  data_->close();
  return true;
}

bool FtpTransfer::isWhole() {
  if (isRefused() || isBroken_) return false;
  if (announced_ && offset_ == 0 && bytes() < *announced_) {
    session_.dialogue().note("Error: " + std::to_string(bytes()) + " bytes arrived of the " +
                             std::to_string(*announced_) + " that the server announced");
    return false;
  }
  if (!isTruncated_) return true;
  // Somebody on the way may have cut it: the server's word that it sent all does not tell that all arrived. Only the
  // size that it announced does, which may be that of the whole file or of the rest behind an offset.
  const auto offset = static_cast<std::int64_t>(offset_);
  if (announced_ && (bytes() == *announced_ || bytes() + offset == *announced_)) return true;
  session_.dialogue().note("Error: the data connection ended without the end of TLS");
  return false;
}

bool FtpTransfer::watch(FtpInterest interest, FtpLoop::Clock::time_point deadline) {
  FtpControl& control = session_.control();
  const FtpWaited waited =
      final_ ? session_.loop().wait({{*data_, interest}}, deadline)
             : session_.loop().wait({{*data_, interest}, {control.socket(), FtpInterest::Read}}, deadline);
  if (waited == FtpWaited::Aborted) return abandon("Error: aborted");
  if (waited == FtpWaited::Ready) return final_ || takeReplies();
  data_->reset();
  control.fail(FtpFailure::TimedOut, "Error: no data moved within the time allowed");
  return false;
}

bool FtpTransfer::takeReplies() {
  FtpControl& control = session_.control();
  while (!final_) {
    std::optional<FtpReply> reply = control.tryReply();
    if (!reply) break;
    if (reply->isPreliminary()) {
      // The name of an uploaded file may look like a size.
      if (isRetrieve_) announced_ = announcedSize(reply->text);
      isBegun_ = true;
    } else if (reply->isSuccess() && !(isBegun_ && isEndOfTransfer(reply->code))) {
      control.fail(FtpFailure::Lost, "Error: the server's replies are out of step");
    } else {
      final_ = std::move(reply);
    }
  }
  if (control.isOpen()) return true;
  if (data_) data_->reset();
  return false;
}

bool FtpTransfer::countOn(std::size_t moved) {
  meter_.add(moved);
  return !session_.loop().isAbortAsked() || abandon("Error: aborted");
}

bool FtpTransfer::abandon(const std::string& why) {
  session_.dialogue().note(why);
  data_->reset();
  const int owed = isBegun_ ? 1 : 2;
  session_.abandonTransfer(final_ ? 0 : owed);
  return false;
}

}  // namespace Quorvel::FileAccess
