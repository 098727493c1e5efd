// How each FTP server is told what a test wants: its configuration files, its command line, its environment.
#pragma once

#include <string>
#include <vector>

#include "tests/support/RealFtpServer.h"

namespace zephor_test {

struct FtpServerSetup {
  FtpServerVariant variant;
  RealFtpServerOptions options;
  std::string address;
  std::uint16_t port = 0;
  std::string directory;  ///< for the files made here, and for logs; the login's root is "root" in it
  CertificateFiles certificates;
  std::string login;
  std::string password;
  unsigned uid = 0;  ///< of the sessions, as user and as group; 0 where the server is root in a world of its own
};

struct FtpServerCommand {
  std::vector<std::string> arguments;  ///< the program's path first
  std::vector<std::string> environment;
};

/// Directory into which the servers' packages were unpacked.
std::string ftpServersDirectory();
std::string ftpServerProgram(FtpServerKind kind);
/// Writes what the server reads. Throws std::runtime_error.
FtpServerCommand prepareFtpServer(const FtpServerSetup& setup);

}  // namespace zephor_test
