// The one place where a client waits: for sockets, with a deadline, and with a look at the caller's wish to go on.
//
// Every wait of every phase goes through here, so that the heartbeat holds in all of them. One thread.
#pragma once

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <initializer_list>
#include <memory>

namespace boost::asio {
class io_context;
}

namespace Quorvel::FileAccess {

class CkFtp2ProgressW;
class FtpSocket;

enum class FtpInterest : std::uint8_t { Read, Write, Connect };

struct FtpWatch {
  FtpSocket& socket;
  FtpInterest interest;
};

enum class FtpWaited : std::uint8_t { Ready, TimedOut, Aborted };

class FtpLoop {
 public:
  using Clock = std::chrono::steady_clock;
  static constexpr Clock::time_point kNoDeadline = Clock::time_point::max();

  FtpLoop();
  ~FtpLoop();
  FtpLoop(const FtpLoop&) = delete;
  FtpLoop& operator=(const FtpLoop&) = delete;

  /// Before anything else. @return false when the system has no descriptors left
  bool prepare();
  boost::asio::io_context& context() { return *context_; }

  void setReceiver(CkFtp2ProgressW* receiver) { receiver_ = receiver; }
  CkFtp2ProgressW* receiver() const { return receiver_; }
  void setHeartbeat(std::int32_t milliseconds) { heartbeat_ = std::chrono::milliseconds(std::max(milliseconds, 0)); }

  /// @param seconds  0 for none
  static Clock::time_point deadlineIn(std::int32_t seconds);

  /// Asks the receiver now. @return true when it wants to end the operation
  bool isAbortAsked();

  /// Until one of the sockets is ready. Being ready is a promise to be tried, not one that holds.
  FtpWaited wait(std::initializer_list<FtpWatch> watches, Clock::time_point deadline);

  /// Calls `step` with a time to wait at most, until it answers true.
  template <typename Step>
  FtpWaited run(Step step, Clock::time_point deadline) {
    for (;;) {
      const Clock::time_point now = Clock::now();
      if (isQuestionDue(now) && isAbortAsked()) return FtpWaited::Aborted;
      if (now >= deadline) return step(Clock::duration::zero()) ? FtpWaited::Ready : FtpWaited::TimedOut;
      if (step(std::min(deadline, nextQuestion(now)) - now)) return FtpWaited::Ready;
    }
  }

 private:
  bool isQuestionDue(Clock::time_point now) const;
  Clock::time_point nextQuestion(Clock::time_point now) const;

  std::unique_ptr<boost::asio::io_context> context_;
  CkFtp2ProgressW* receiver_ = nullptr;
  Clock::duration heartbeat_{};
  Clock::time_point asked_{};
};

}  // namespace Quorvel::FileAccess
