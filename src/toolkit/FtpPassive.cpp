#include "toolkit/FtpPassive.h"

#include "toolkit/FtpAddress.h"
#include "toolkit/FtpReply.h"

namespace Quorvel::FileAccess {

namespace {
constexpr std::chrono::seconds kLongestAhead{10};
constexpr int kPassive = 227;
constexpr int kExtendedPassive = 229;
constexpr int kFirstRefusal = 400;
}  // namespace

void FtpPassive::begin(std::optional<bool> useEpsv, bool isV6) {
  // PASV tells an IPv4 address only.
  useEpsv_ = isV6 || useEpsv.value_or(true);
  mayFallBack_ = !isV6 && !useEpsv.has_value();
  isAwaited_ = false;
  ready_.reset();
}

void FtpPassive::noteSentAhead() {
  isAwaited_ = true;
  askedAt_ = FtpLoop::Clock::now();
}

bool FtpPassive::isAnswer(const FtpReply& reply) {
  return reply.code == kPassive || reply.code == kExtendedPassive || reply.code >= kFirstRefusal;
}

bool FtpPassive::takeAwaited(const FtpReply& reply) {
  isAwaited_ = false;
  ready_ = read(reply);
  if (ready_) ready_->isSentAhead = true;
  return isAnswer(reply);
}

std::optional<FtpDataPort> FtpPassive::takeReady() {
  const std::optional<FtpDataPort> port = ready_;
  ready_.reset();
  if (FtpLoop::Clock::now() - askedAt_ > kLongestAhead) return std::nullopt;
  return port;
}

std::optional<FtpDataPort> FtpPassive::read(const FtpReply& reply) {
  std::optional<FtpPassiveAddress> told;
  if (reply.code == kExtendedPassive) told = parseExtendedPassive(reply.text);
  if (reply.code == kPassive) told = parsePassive(reply.text);
  if (!told) return std::nullopt;
  // The address told is not taken: behind a router it is wrong, and a server could aim the client at another host.
  return FtpDataPort{told->port, false};
}

bool FtpPassive::fallBack(const FtpReply& refusal) {
  if (!useEpsv_ || !mayFallBack_ || refusal.code < 500) return false;
  useEpsv_ = false;
  return true;
}

}  // namespace Quorvel::FileAccess
