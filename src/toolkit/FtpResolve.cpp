#include "toolkit/FtpResolve.h"

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <condition_variable>
#include <mutex>
#include <system_error>
#include <thread>

namespace Quorvel::FileAccess {

using boost::asio::ip::tcp;

namespace {

struct Answer {
  std::mutex mutex;
  std::condition_variable arrived;
  bool isDone = false;
  std::vector<std::string> addresses;
  std::string error;
};

void lookUp(const std::shared_ptr<Answer>& answer, const std::string& name) {
  std::vector<std::string> found;
  std::string problem;
  try {
    boost::asio::io_context context;
    tcp::resolver resolver(context);
    boost::system::error_code error;
    for (const auto& entry : resolver.resolve(name, "", error)) {
      std::string address = entry.endpoint().address().to_string();
      if (std::find(found.begin(), found.end(), address) == found.end()) found.push_back(std::move(address));
    }
    if (error) problem = error.message();
  } catch (const std::exception& failure) {
    problem = failure.what();
  }
  const std::lock_guard lock(answer->mutex);
  answer->addresses = std::move(found);
  answer->error = std::move(problem);
  answer->isDone = true;
  answer->arrived.notify_all();
}

}  // namespace

FtpResolved resolveHost(FtpLoop& loop, const std::string& name, FtpLoop::Clock::time_point deadline) {
  boost::system::error_code notAnAddress;
  const auto address = boost::asio::ip::make_address(name, notAnAddress);
  if (!notAnAddress) return {FtpWaited::Ready, {address.to_string()}, {}};
  auto answer = std::make_shared<Answer>();
  try {
    // The system's look-up can't be interrupted; one that is given up ends alone, and what it shares is its own.
    std::thread(lookUp, answer, name).detach();
  } catch (const std::system_error& failure) {
    return {FtpWaited::Ready, {}, failure.what()};
  }
  const FtpWaited waited = loop.run(
      [&](FtpLoop::Clock::duration slice) {
        std::unique_lock lock(answer->mutex);
        return answer->arrived.wait_for(lock, slice, [&] { return answer->isDone; });
      },
      deadline);
  if (waited != FtpWaited::Ready) return {waited, {}, {}};
  const std::lock_guard lock(answer->mutex);
  return {waited, std::move(answer->addresses), answer->error};
}

}  // namespace Quorvel::FileAccess
