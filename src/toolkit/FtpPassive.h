// Where data connections go: EPSV (RFC 2428) and PASV (RFC 959), asked for when needed or ahead of need.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

#include "toolkit/FtpLoop.h"

namespace Quorvel::FileAccess {

struct FtpReply;

struct FtpDataPort {
  std::uint16_t number = 0;
  bool isSentAhead = false;  ///< it may be stale
};

/// The state of the question. Sends nothing itself.
class FtpPassive {
 public:
  /// A new control connection. @param useEpsv  empty: EPSV, and PASV once it was refused
  void begin(std::optional<bool> useEpsv, bool isV6);
  std::string_view command() const { return useEpsv_ ? "EPSV" : "PASV"; }

  /// The question went out ahead of need; its reply stands before all others.
  void noteSentAhead();
  bool isAwaited() const { return isAwaited_; }
  /// @return false for a reply to something else
  bool takeAwaited(const FtpReply& reply);
  /// The port asked for ahead, once, unless it is so old that the server may have closed it.
  std::optional<FtpDataPort> takeReady();
  void forget() { ready_.reset(); }
  bool isReady() const { return ready_.has_value(); }

  /// False for a reply that no server gives to the question: replies are out of step.
  static bool isAnswer(const FtpReply& reply);
  std::optional<FtpDataPort> read(const FtpReply& reply);
  /// After a refusal. @return true when there is another command to try
  bool fallBack(const FtpReply& refusal);

 private:
  bool useEpsv_ = true;
  bool mayFallBack_ = true;
  bool isAwaited_ = false;
  FtpLoop::Clock::time_point askedAt_{};
  std::optional<FtpDataPort> ready_;
};

}  // namespace Quorvel::FileAccess
