// Where to connect: host names with ports, and what a server answers to PASV and EPSV. Pure.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace Quorvel::FileAccess {

struct FtpHost {
  std::string name;        ///< name or address, without brackets
  std::uint16_t port = 0;  ///< 0: none was given
};

/// "name", "name:port", "1.2.3.4:port", "[v6]", "[v6]:port", a bare v6 address.
/// @return empty for a text that is none of these, and for a port outside 1 to 65535
std::optional<FtpHost> parseHost(std::string_view text);

struct FtpPassiveAddress {
  std::string address;  ///< dotted IPv4; empty where only the port is told
  std::uint16_t port = 0;
};

/// "227 Entering Passive Mode (127,0,0,1,195,149)." (RFC 959, RFC 1123), with or without brackets.
std::optional<FtpPassiveAddress> parsePassive(std::string_view reply);
/// "229 Entering Extended Passive Mode (|||50001|)" (RFC 2428), with any delimiter.
std::optional<FtpPassiveAddress> parseExtendedPassive(std::string_view reply);

}  // namespace Quorvel::FileAccess
