#include "toolkit/FtpLoop.h"

#include <boost/asio/io_context.hpp>
#include <boost/system/system_error.hpp>

#include "toolkit/FtpSocket.h"
#include "toolkit/Progress.h"

namespace Quorvel::FileAccess {

namespace {
constexpr std::chrono::minutes kLongestSlice{10};
}

FtpLoop::FtpLoop() = default;

FtpLoop::~FtpLoop() = default;

bool FtpLoop::prepare() {
  if (context_) return true;
  try {
    context_ = std::make_unique<boost::asio::io_context>(1);
  } catch (const boost::system::system_error&) {
    return false;
  }
  return true;
}

FtpLoop::Clock::time_point FtpLoop::deadlineIn(std::int32_t seconds) {
  return seconds <= 0 ? kNoDeadline : Clock::now() + std::chrono::seconds(seconds);
}

bool FtpLoop::isAbortAsked() {
  if (receiver_ == nullptr) return false;
  asked_ = Clock::now();
  bool abort = false;
  receiver_->onAbortCheck(abort);
  return abort;
}

bool FtpLoop::isQuestionDue(Clock::time_point now) const {
  return receiver_ != nullptr && heartbeat_ > Clock::duration::zero() && now - asked_ >= heartbeat_;
}

FtpLoop::Clock::time_point FtpLoop::nextQuestion(Clock::time_point now) const {
  if (receiver_ == nullptr || heartbeat_ <= Clock::duration::zero()) return now + kLongestSlice;
  return std::max(asked_ + heartbeat_, now);
}

FtpWaited FtpLoop::wait(std::initializer_list<FtpWatch> watches, Clock::time_point deadline) {
  for (const FtpWatch& watch : watches) watch.socket.arm(watch.interest);
  const auto isOneReady = [&] {
    return std::any_of(watches.begin(), watches.end(),
                       [](const FtpWatch& watch) { return watch.socket.isReady(watch.interest); });
  };
  return run(
      [&](Clock::duration slice) {
        if (isOneReady()) return true;
        context_->restart();
        context_->run_one_for(slice);
        return isOneReady();
      },
      deadline);
}

}  // namespace Quorvel::FileAccess
