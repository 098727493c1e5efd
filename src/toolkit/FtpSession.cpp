// The life of a session after its connect: commands, the current directory, being in step.
#include "toolkit/FtpSession.h"

#include "platform/Text.h"
#include "toolkit/FtpDialogue.h"
#include "toolkit/FtpListing.h"
#include "toolkit/FtpSettings.h"

namespace Quorvel::FileAccess {

namespace {
constexpr int kPathName = 257;
// Replies that may stand between an abandoned transfer and the answer to PWD: its 150, its 226 or 426, one of ABOR.
constexpr int kMostStrayReplies = 6;
// How long a server may keep silent about an abandoned transfer, beside some round trips; and how many times that it
// may take to answer PWD before a new session is the better way.
constexpr std::int64_t kPatienceMilliseconds = 300;
constexpr std::int64_t kLongestStep = 10;
// For a QUIT that the server does not even take.
constexpr std::int32_t kFarewellSeconds = 1;
}  // namespace

FtpSession::FtpSession(const FtpSettings& settings, FtpLoop& loop, FtpDialogue& dialogue)
    : settings_(settings), loop_(loop), dialogue_(dialogue), control_(loop, dialogue) {}

void FtpSession::disconnect() {
  // A server that has not ended an abandoned transfer yet might wait for its end before it answers.
  control_.setTimeout(kFarewellSeconds);
  if (control_.isOpen() && !isOutOfStep_ && control_.send("QUIT")) {
    if (passive_.isAwaited()) control_.replyWithin(patience());
    control_.replyWithin(patience());
  }
  control_.close();
}

bool FtpSession::isConnected() {
  if (!control_.isOpen()) return false;
  while (const std::optional<FtpReply> reply = control_.tryReply()) {
    if (passive_.isAwaited()) {
      takeAwaited(*reply);
    } else if (isOutOfStep_) {
      countOwed(*reply);
    } else {
      // Nothing was asked: whatever the server says, it is not what the next command would expect.
      control_.fail(FtpFailure::Lost, "The server spoke unasked; the session is given up");
    }
  }
  return control_.isOpen();
}

void FtpSession::takeAwaited(const FtpReply& reply) {
  if (!passive_.takeAwaited(reply)) control_.fail(FtpFailure::Lost, "Error: the server's replies are out of step");
}

std::optional<FtpReply> FtpSession::reply() {
  if (passive_.isAwaited()) {
    const std::optional<FtpReply> ahead = control_.reply();
    if (!ahead) return std::nullopt;
    takeAwaited(*ahead);
  }
  return control_.reply();
}

std::optional<FtpReply> FtpSession::replyAtHand() {
  std::optional<FtpReply> reply = control_.tryReply();
  if (!reply || !passive_.isAwaited()) return reply;
  takeAwaited(*reply);
  return control_.tryReply();
}

std::optional<FtpReply> FtpSession::exchange(std::string_view line, std::string_view shown) {
  const auto begin = FtpLoop::Clock::now();
  if (!control_.send(line, shown)) return std::nullopt;
  const bool isAlone = !passive_.isAwaited();
  std::optional<FtpReply> answer = reply();
  if (!answer || !isAlone) return answer;
  const auto taken = std::chrono::duration_cast<std::chrono::microseconds>(FtpLoop::Clock::now() - begin).count();
  if (roundTrip_ == 0 || taken < roundTrip_) roundTrip_ = std::max<std::int64_t>(taken, 1);
  return answer;
}

bool FtpSession::prepare() {
  // A reply that nobody asked for would be taken for the next command's, and all that follow would be one off.
  if (!isConnected()) {
    control_.fail(FtpFailure::NotConnected, "Error: there is no connection to the server");
    return false;
  }
  if (isOutOfStep_ && !resynchronise()) return false;
  if (!directory_.isChangeNeeded()) return true;
  const std::string wanted = directory_.wanted();
  const std::optional<FtpReply> answer = exchange("CWD " + wanted);
  if (!answer) return false;
  isConfirmed_ = answer->isSuccess();
  if (isConfirmed_) {
    directory_.confirm(wanted);
  } else {
    directory_.forgetServer();
  }
  return answer->isSuccess();
}

bool FtpSession::changeDirectory(const std::string& path) {
  const std::string target = absolutePath(directory_.wanted(), path);
  if (!isConnected()) {
    control_.fail(FtpFailure::NotConnected, "Error: there is no connection to the server");
    return false;
  }
  isConfirmed_ = false;
  if (directory_.isKnown(target)) {
    directory_.want(target);
    return true;
  }
  // A relative path is sent as it stands only where nobody knows what it is relative to.
  if (isOutOfStep_ && !resynchronise()) return false;
  const std::optional<FtpReply> answer = exchange("CWD " + target);
  if (!answer || !answer->isSuccess()) return false;
  if (!target.empty() && target.front() == '/') {
    directory_.confirm(target);
    directory_.want(target);
    isConfirmed_ = true;
    return true;
  }
  const std::optional<FtpReply> where = exchange("PWD");
  if (!where) return false;
  const std::optional<std::string> printed =
      where->code == kPathName ? parsePrintedDirectory(where->text) : std::nullopt;
  directory_.forgetAll();
  if (printed) {
    directory_.confirm(*printed);
    directory_.want(*printed);
  }
  return true;
}

const FtpFeatures& FtpSession::features() {
  if (!areFeaturesAsked_) {
    if (const std::optional<FtpReply> answer = exchange("FEAT")) takeFeatures(*answer);
    if (features_.utf8) exchange("OPTS UTF8 ON");
  }
  return features_;
}

const std::string& FtpSession::featureText() {
  features();
  return featureText_;
}

void FtpSession::takeFeatures(const FtpReply& reply) {
  areFeaturesAsked_ = true;
  if (reply.isSuccess()) {
    featureText_ = reply.text;
    features_ = parseFeatures(reply.text);
  } else {
    // Older than FEAT: both commands were widespread before it.
    features_ = {};
    features_.size = true;
    features_.mdtm = true;
  }
  facts_.rest = features_.rest;
  facts_.mlst = features_.mlst;
  facts_.mdtm = features_.mdtm;
  facts_.mfmt = features_.mfmt;
  facts_.utf8 = features_.utf8;
}

std::optional<FtpDataPort> FtpSession::dataPort() {
  if (passive_.isAwaited()) {
    const std::optional<FtpReply> ahead = control_.reply();
    if (!ahead) return std::nullopt;
    takeAwaited(*ahead);
  }
  if (std::optional<FtpDataPort> ready = passive_.takeReady()) return ready;
  for (;;) {
    const std::optional<FtpReply> answer = exchange(passive_.command());
    if (!answer) return std::nullopt;
    if (std::optional<FtpDataPort> port = passive_.read(*answer)) return port;
    if (!FtpPassive::isAnswer(*answer)) {
      control_.fail(FtpFailure::Lost, "Error: the server's replies are out of step");
      return std::nullopt;
    }
    if (!passive_.fallBack(*answer)) {
      dialogue_.note("Error: the server offers no data connection");
      return std::nullopt;
    }
  }
}

void FtpSession::noteTransferDone() {
  ++transfersInRow_;
  if (transfersInRow_ < 2 || passive_.isAwaited() || passive_.isReady()) return;
  // A second last word of the transfer must not be taken for the port.
  if (!isConnected()) return;
  if (control_.send(passive_.command())) passive_.noteSentAhead();
}

void FtpSession::abandonTransfer(int repliesOwed) {
  endRun();
  repliesOwed_ = repliesOwed;
  isOutOfStep_ = repliesOwed > 0;
}

void FtpSession::countOwed(const FtpReply& reply) {
  // pure-ftpd ends a transfer with 150 as well.
  repliesOwed_ = reply.isPreliminary() ? std::max(repliesOwed_ - 1, 0) : 0;
}

std::optional<std::uint64_t> FtpSession::takeRestart() {
  if (restart_ == 0 && isRestartDoubtful_ && !cancelRestart()) return std::nullopt;
  const std::uint64_t offset = restart_;
  restart_ = 0;
  isRestartDoubtful_ = false;
  return offset;
}

bool FtpSession::cancelRestart() {
  const bool isHeld = restart_ != 0 || isRestartDoubtful_;
  restart_ = 0;
  isRestartDoubtful_ = false;
  return !isHeld || exchange("REST 0").has_value();
}

std::int64_t FtpSession::patience() const {
  return kPatienceMilliseconds + 8 * roundTrip_ / 1000;
}

bool FtpSession::isInStepAgain() {
  // One reply of whatever code ends the abandoned transfer: 426, 226, or with pure-ftpd a second 150. PWD goes out only
  // then, since a server may swallow what arrives before; its 257 can't be taken for a reply of the transfer. pure-ftpd
  // says nothing at all after some transfers over TLS: silence ends the wait as well.
  while (repliesOwed_ > 0) {
    const std::optional<FtpReply> owed = control_.replyWithin(patience());
    if (!owed) break;
    countOwed(*owed);
  }
  repliesOwed_ = 0;
  if (!control_.isOpen() || !control_.send("PWD")) return false;
  for (int i = 0; i < kMostStrayReplies; ++i) {
    const std::optional<FtpReply> answer = control_.replyWithin(kLongestStep * patience());
    if (!answer || !control_.isOpen()) return false;
    if (answer->code == kPathName) {
      isOutOfStep_ = false;
      return true;
    }
  }
  return false;
}

bool FtpSession::resynchronise() {
  if (isInStepAgain()) return true;
  if (control_.failure() == FtpFailure::Aborted) return false;
  const std::string wanted = directory_.wanted();
  if (wanted.empty()) {
    // A new session would begin elsewhere, and nobody could tell.
    control_.fail(FtpFailure::Lost, "Error: the session did not outlive the end of a transfer");
    return false;
  }
  dialogue_.note("The session did not outlive the end of a transfer; connecting anew");
  if (!open()) return false;
  directory_.want(wanted);
  return true;
}

}  // namespace Quorvel::FileAccess
