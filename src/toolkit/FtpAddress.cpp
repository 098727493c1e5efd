#include "toolkit/FtpAddress.h"

#include <algorithm>
#include <array>
#include <boost/asio/ip/address_v6.hpp>
#include <charconv>

namespace Quorvel::FileAccess {

namespace {

constexpr std::size_t kLongestHostName = 255;
constexpr std::size_t kCodeLength = 3;

bool isDigit(char c) {
  return c >= '0' && c <= '9';
}

/// A decimal number without sign that fills the whole text. @return -1 when it is none, or larger than `most`
int toNumber(std::string_view text, int most) {
  int value = 0;
  if (text.empty() || !std::all_of(text.begin(), text.end(), isDigit)) return -1;
  const auto result = std::from_chars(text.data(), text.data() + text.size(), value);
  return result.ec == std::errc() && value <= most ? value : -1;
}

std::optional<std::uint16_t> toPort(std::string_view text) {
  const int port = toNumber(text, 65535);
  if (port < 1) return std::nullopt;
  return static_cast<std::uint16_t>(port);
}

bool isV6Address(const std::string& text) {
  boost::system::error_code error;
  boost::asio::ip::make_address_v6(text, error);
  return !error;
}

bool isHostName(std::string_view text) {
  if (text.empty() || text.size() > kLongestHostName) return false;
  return std::all_of(text.begin(), text.end(), [](char c) {
    return static_cast<unsigned char>(c) > 0x20 && c != 0x7F &&
           std::string_view("/\\@[]<>\"?#").find(c) == std::string_view::npos;
  });
}

std::string_view withoutBlanks(std::string_view text) {
  text.remove_prefix(std::min(text.find_first_not_of(" \t"), text.size()));
  return text.substr(0, text.find_last_not_of(" \t") + 1);
}

/// "[v6]" and "[v6]:port"
std::optional<FtpHost> parseBracketed(std::string_view text) {
  const std::size_t close = text.find(']');
  if (close == std::string_view::npos) return std::nullopt;
  FtpHost host{std::string(text.substr(1, close - 1))};
  if (!isV6Address(host.name)) return std::nullopt;
  const std::string_view rest = text.substr(close + 1);
  if (rest.empty()) return host;
  const auto port = toPort(rest.substr(1));
  if (rest[0] != ':' || !port) return std::nullopt;
  host.port = *port;
  return host;
}

/// The digits at the start of a text, which are cut off.
std::string_view takeDigits(std::string_view& text) {
  const auto end = std::find_if_not(text.begin(), text.end(), isDigit);
  const std::string_view digits = text.substr(0, static_cast<std::size_t>(end - text.begin()));
  text.remove_prefix(digits.size());
  return digits;
}

/// "h1,h2,h3,h4,p1,p2" at the start of a text; blanks behind a comma do not matter.
std::optional<FtpPassiveAddress> takeSixNumbers(std::string_view text) {
  std::array<int, 6> numbers{};
  for (std::size_t i = 0; i < numbers.size(); ++i) {
    if (i > 0) {
      if (text.empty() || text[0] != ',') return std::nullopt;
      text.remove_prefix(std::min(text.find_first_not_of(' ', 1), text.size()));
    }
    numbers[i] = toNumber(takeDigits(text), 255);
    if (numbers[i] < 0) return std::nullopt;
  }
  const int port = numbers[4] * 256 + numbers[5];
  if (port == 0 || (!text.empty() && text[0] == ',')) return std::nullopt;
  FtpPassiveAddress address;
  for (std::size_t i = 0; i < 4; ++i) address.address += (i > 0 ? "." : "") + std::to_string(numbers[i]);
  address.port = static_cast<std::uint16_t>(port);
  return address;
}

std::string_view withoutCode(std::string_view reply) {
  const bool hasCode = reply.size() >= kCodeLength && std::all_of(reply.begin(), reply.begin() + kCodeLength, isDigit);
  return hasCode ? reply.substr(kCodeLength) : reply;
}

}  // namespace

std::optional<FtpHost> parseHost(std::string_view text) {
  text = withoutBlanks(text);
  if (text.empty()) return std::nullopt;
  if (text[0] == '[') return parseBracketed(text);
  if (std::count(text.begin(), text.end(), ':') > 1) {
    FtpHost host{std::string(text)};
    return isV6Address(host.name) ? std::optional(host) : std::nullopt;
  }
  const std::size_t colon = text.find(':');
  FtpHost host{std::string(text.substr(0, colon))};
  if (!isHostName(host.name)) return std::nullopt;
  if (colon == std::string_view::npos) return host;
  const auto port = toPort(text.substr(colon + 1));
  if (!port) return std::nullopt;
  host.port = *port;
  return host;
}

std::optional<FtpPassiveAddress> parsePassive(std::string_view reply) {
  // RFC 1123 has the numbers searched for: neither brackets nor the words before them are to be relied upon.
  const std::string_view text = withoutCode(reply);
  char before = ' ';
  for (std::size_t i = 0; i < text.size(); before = text[i++]) {
    if (!isDigit(text[i]) || isDigit(before) || before == ',') continue;
    if (auto address = takeSixNumbers(text.substr(i))) return address;
  }
  return std::nullopt;
}

std::optional<FtpPassiveAddress> parseExtendedPassive(std::string_view reply) {
  std::string_view text = withoutCode(reply);
  text.remove_prefix(std::min(text.find('('), text.size()));
  if (text.size() < 2) return std::nullopt;
  const char delimiter = text[1];
  if (delimiter < 33 || delimiter > 126 || isDigit(delimiter)) return std::nullopt;
  // Protocol and address are to be empty; where they are not, the control connection's address counts all the same.
  std::size_t position = 1;
  for (int field = 0; field < 2 && position != std::string_view::npos; ++field) {
    position = text.find(delimiter, position + 1);
  }
  if (position == std::string_view::npos) return std::nullopt;
  text.remove_prefix(position + 1);
  const auto port = toPort(takeDigits(text));
  if (!port || text.substr(0, 2) != std::string{delimiter, ')'}) return std::nullopt;
  return FtpPassiveAddress{{}, *port};
}

}  // namespace Quorvel::FileAccess
