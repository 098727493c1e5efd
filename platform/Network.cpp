#include "platform/Network.h"

#include <arpa/inet.h>
#include <netdb.h>
#include <sys/socket.h>

#include <array>
#include <memory>

#include "platform/Text.h"

namespace platform {

std::wstring resolveIpv4(const std::wstring& host) {
  const std::string name = toUtf8(host);
  if (name.find('\0') != std::string::npos) return {};
  in_addr address{};
  if (::inet_pton(AF_INET, name.c_str(), &address) == 1) return host;
  addrinfo hints{};
  hints.ai_family = AF_INET;
  hints.ai_socktype = SOCK_STREAM;
  addrinfo* first = nullptr;
  if (::getaddrinfo(name.c_str(), nullptr, &hints, &first) != 0) return {};
  const std::unique_ptr<addrinfo, decltype(&::freeaddrinfo)> answers(first, &::freeaddrinfo);
  std::array<char, 66> text{};
  const auto* const found = reinterpret_cast<const sockaddr_in*>(answers->ai_addr);
  if (::inet_ntop(AF_INET, &found->sin_addr, text.data(), text.size()) == nullptr) return {};
  return fromUtf8(text.data());
}

}  // namespace platform
