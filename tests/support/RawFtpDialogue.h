// A control connection by hand, for the tests of the servers themselves.
#pragma once

#include <arpa/inet.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

#include <string>

namespace zephor_test {

class RawFtpDialogue {
 public:
  RawFtpDialogue(const std::string& address, std::uint16_t port) : socket_(::socket(AF_INET, SOCK_STREAM, 0)) {
    sockaddr_in peer{};
    peer.sin_family = AF_INET;
    peer.sin_port = htons(port);
    ::inet_pton(AF_INET, address.c_str(), &peer.sin_addr);
    const timeval limit{30, 0};
    ::setsockopt(socket_, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit);
    if (::connect(socket_, reinterpret_cast<const sockaddr*>(&peer), sizeof peer) != 0) text_ = "not connected";
  }
  ~RawFtpDialogue() { ::close(socket_); }
  RawFtpDialogue(const RawFtpDialogue&) = delete;
  RawFtpDialogue& operator=(const RawFtpDialogue&) = delete;

  /// The last line of the next reply; empty at the end of the connection.
  std::string reply() {
    for (;;) {
      const std::string line = readLine();
      if (line.empty() || (line.size() > 3 && line[3] == ' ' && line[0] >= '1' && line[0] <= '5')) return line;
    }
  }
  std::string send(const std::string& command) {
    const std::string bytes = command + "\r\n";
    if (::send(socket_, bytes.data(), bytes.size(), MSG_NOSIGNAL) < 0) return {};
    return reply();
  }
  /// All that comes until the end.
  std::string readAll() {
    char buffer[4096];
    for (ssize_t count = 0; (count = ::recv(socket_, buffer, sizeof buffer, 0)) > 0;) {
      text_.append(buffer, static_cast<std::size_t>(count));
    }
    return text_;
  }
  /// Sends bytes and closes the sending side.
  void sendAll(const std::string& bytes) {
    ::send(socket_, bytes.data(), bytes.size(), MSG_NOSIGNAL);
    ::shutdown(socket_, SHUT_WR);
  }

 private:
  std::string readLine() {
    for (;;) {
      const auto end = text_.find('\n');
      if (end != std::string::npos) {
        std::string line = text_.substr(0, end);
        text_.erase(0, end + 1);
        if (!line.empty() && line.back() == '\r') line.pop_back();
        return line;
      }
      char buffer[1024];
      const ssize_t count = ::recv(socket_, buffer, sizeof buffer, 0);
      if (count <= 0) return {};
      text_.append(buffer, static_cast<std::size_t>(count));
    }
  }

  int socket_;
  std::string text_;
};

/// The data port that a reply to EPSV tells.
inline std::uint16_t portOfEpsv(const std::string& reply) {
  const auto start = reply.find("|||");
  return start == std::string::npos ? std::uint16_t{0} : static_cast<std::uint16_t>(std::stoi(reply.substr(start + 3)));
}

}  // namespace zephor_test
