#include "toolkit/FtpAddress.h"

#include <gtest/gtest.h>

namespace {

using namespace Quorvel::FileAccess;

std::string shown(const std::optional<FtpHost>& host) {
  return host ? host->name + " " + std::to_string(host->port) : "";
}
std::string shown(const std::optional<FtpPassiveAddress>& address) {
  return address ? address->address + " " + std::to_string(address->port) : "";
}

TEST(FtpAddress, HostNamesCarryPorts) {
  const std::pair<const char*, const char*> table[] = {
      {"ftp.example.com", "ftp.example.com 0"},
      {"ftp.example.com:2121", "ftp.example.com 2121"},
      {"[::1]", "::1 0"},
      {"[fe80::1]:990", "fe80::1 990"},
      {"m\xC3\xBCller.example:21", "m\xC3\xBCller.example 21"},
      {"", ""},
      {":21", ""},
      {"host:0", ""},
      {"host:99999999999", ""},
      {"host:2a", ""},
      {"ftp://host", ""},
      {"host\r\nDELE x", ""},
      {"[::1]21", ""},
      {"[host]:21", ""},
      {"1:2:3", ""},
  };
  for (const auto& [text, expected] : table) EXPECT_EQ(shown(parseHost(text)), expected) << text;
  EXPECT_FALSE(parseHost(std::string_view("host\0x", 6)));
  EXPECT_FALSE(parseHost(std::string(256, 'a')));
}

TEST(FtpAddress, PassiveAddressesAreFoundInTheirReplies) {
  const std::pair<const char*, const char*> table[] = {
      {"227 Entering Passive Mode (127,0,0,1,195,149).", "127.0.0.1 50069"},
      {"227 Entering Passive Mode. 10,1,2,3,0,21", "10.1.2.3 21"},
      {"227 Entering Passive Mode (127,0,0,1,0,0)", ""},
      {"227 Entering Passive Mode (127,0,0,1,256,1)", ""},
      {"227 Entering Passive Mode (127,0,0,1,-195,149)", ""},
      {"227 Entering Passive Mode (127.0.0.1.195.149)", ""},
      {"227 Entering Passive Mode (127,0,0,1,99999999999,1)", ""},
      {"", ""},
  };
  for (const auto& [text, expected] : table) EXPECT_EQ(shown(parsePassive(text)), expected) << text;
}

TEST(FtpAddress, ExtendedPassivePortsAreFoundWithAnyDelimiter) {
  const std::pair<const char*, const char*> table[] = {
      {"229 Entering Extended Passive Mode (|||50001|)", " 50001"},
      {"229 OK (!!!21!).", " 21"},
      {"229 (|1|10.0.0.1|6275|)", " 6275"},
      {"229 Entering Extended Passive Mode (|||0|)", ""},
      {"229 Entering Extended Passive Mode (|||65536|)", ""},
      {"229 Entering Extended Passive Mode (||50001|)", ""},
      {"229 Entering Extended Passive Mode (1115000111)", ""},
      {"", ""},
  };
  for (const auto& [text, expected] : table) EXPECT_EQ(shown(parseExtendedPassive(text)), expected) << text;
}

}  // namespace
