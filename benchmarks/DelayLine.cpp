// Two network namespaces joined by a line that holds every packet for a while: a far server on one machine.
//
// Usage: delay-line MILLISECONDS      half of the round trip; a fraction is allowed
//
// Prints two process numbers, each of a holder of one end: 10.77.0.1 the first, 10.77.0.2 the second. Programs enter
// with `nsenter -t NUMBER -n`. Ends, with both holders, when its input ends. Needs the right to make network namespaces
// and TUN devices: root. Packets are delayed one by one and in order, nothing is answered in the middle, so the
// clients' and the server's TCP see the line as it is.
#include <arpa/inet.h>
#include <fcntl.h>
#include <linux/if_tun.h>
#include <net/if.h>
#include <poll.h>
#include <sched.h>
#include <signal.h>
#include <sys/ioctl.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <string>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;

[[noreturn]] void fail(const char* what) {
  std::perror(what);
  std::exit(1);
}

struct Packet {
  Clock::time_point due;
  std::vector<char> bytes;
};

struct End {
  int device = -1;
  pid_t holder = -1;
  std::deque<Packet> waiting;  ///< to be written here
};

/// Room in the device for a burst that one TCP window may be.
constexpr int kQueueLength = 10000;

void setAddress(int socket, ifreq& request, unsigned long what, const char* text) {
  auto* const address = reinterpret_cast<sockaddr_in*>(&request.ifr_addr);
  *address = {};
  address->sin_family = AF_INET;
  ::inet_pton(AF_INET, text, &address->sin_addr);
  if (::ioctl(socket, what, &request) != 0) fail("address of the line");
}

void raise(int socket, const char* name) {
  ifreq request{};
  std::strncpy(request.ifr_name, name, IFNAMSIZ - 1);
  request.ifr_flags = IFF_UP | IFF_RUNNING;
  if (::ioctl(socket, SIOCSIFFLAGS, &request) != 0) fail("raising the line");
}

/// Leaves this process in the new namespace.
End makeEnd(const char* local, const char* remote) {
  End end;
  if (::unshare(CLONE_NEWNET) != 0) fail("network namespace");
  end.device = ::open("/dev/net/tun", O_RDWR | O_NONBLOCK | O_CLOEXEC);
  if (end.device < 0) fail("/dev/net/tun");
  ifreq request{};
  std::strncpy(request.ifr_name, "line", IFNAMSIZ - 1);
  request.ifr_flags = IFF_TUN | IFF_NO_PI;
  if (::ioctl(end.device, TUNSETIFF, &request) != 0) fail("TUN device");
  const int socket = ::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
  request.ifr_qlen = kQueueLength;
  if (::ioctl(socket, SIOCSIFTXQLEN, &request) != 0) fail("queue of the line");
  setAddress(socket, request, SIOCSIFADDR, local);
  setAddress(socket, request, SIOCSIFDSTADDR, remote);
  raise(socket, "line");
  raise(socket, "lo");
  ::close(socket);

  end.holder = ::fork();
  if (end.holder == 0) {
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    for (;;) ::pause();
  }
  return end;
}

/// Takes what came in at one end to the other's queue.
void take(const End& from, End& to, Clock::duration delay) {
  std::array<char, 65536> buffer;
  for (ssize_t count = 0; (count = ::read(from.device, buffer.data(), buffer.size())) > 0;) {
    to.waiting.push_back({Clock::now() + delay, {buffer.data(), buffer.data() + count}});
  }
}

void giveDue(End& end) {
  const auto now = Clock::now();
  while (!end.waiting.empty() && end.waiting.front().due <= now) {
    const std::vector<char>& bytes = end.waiting.front().bytes;
    if (::write(end.device, bytes.data(), bytes.size()) < 0) std::perror("a packet was lost");
    end.waiting.pop_front();
  }
}

timespec untilNext(const End& a, const End& b) {
  Clock::duration left = std::chrono::seconds(1);
  const auto now = Clock::now();
  for (const End* const end : {&a, &b}) {
    if (!end->waiting.empty()) left = std::min(left, end->waiting.front().due - now);
  }
  const auto nanoseconds = std::chrono::nanoseconds(std::max(left, Clock::duration::zero())).count();
  return {static_cast<time_t>(nanoseconds / 1'000'000'000), static_cast<long>(nanoseconds % 1'000'000'000)};
}

}  // namespace

int main(int argc, char** argv) {
  const double milliseconds = argc == 2 ? std::atof(argv[1]) : -1;
  if (milliseconds < 0) {
    std::fprintf(stderr, "usage: delay-line MILLISECONDS\n");
    return 2;
  }
  const auto delay =
      std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double, std::milli>(milliseconds));
  ::prctl(PR_SET_TIMERSLACK, 1);
  End near = makeEnd("10.77.0.1", "10.77.0.2");
  End far = makeEnd("10.77.0.2", "10.77.0.1");
  std::printf("%d %d\n", near.holder, far.holder);
  std::fflush(stdout);

  for (bool goesOn = true; goesOn;) {
    std::array<pollfd, 3> sources{{{near.device, POLLIN, 0}, {far.device, POLLIN, 0}, {STDIN_FILENO, POLLIN, 0}}};
    const timespec wait = untilNext(near, far);
    ::ppoll(sources.data(), sources.size(), &wait, nullptr);
    if ((sources[0].revents & POLLIN) != 0) take(near, far, delay);
    if ((sources[1].revents & POLLIN) != 0) take(far, near, delay);
    giveDue(near);
    giveDue(far);
    char byte = 0;
    if (sources[2].revents != 0) goesOn = ::read(STDIN_FILENO, &byte, 1) > 0;
  }
  for (const End* const end : {&near, &far}) {
    ::kill(end->holder, SIGKILL);
    ::waitpid(end->holder, nullptr, 0);
  }
  return 0;
}
