// A real FTP server of its own for one test: vsftpd, proftpd or pure-ftpd, on a loopback address of its own, with a
// fresh directory as its root and one login.
//
//   const FtpServerVariant variant{FtpServerKind::Vsftpd, FtpTls::Explicit};
//   if (const std::string why = RealFtpServer::whyNot(variant); !why.empty()) GTEST_SKIP() << why;
//   RealFtpServer server(variant);
//   server.write("notes.txt", "text");              // in the root
//   ... server.host(), server.user(), server.password(), server.authorityFile() ...
//   server.kill();                                  // as if its machine had lost power
//   server.restart();
//
// The login sees the root as "/" and cannot leave it. As root the server listens at port 21 or 990 and runs its
// sessions as "nobody"; otherwise, in a user namespace, at 2121 or 9990 as the user of the test, and host() names the
// port. A server that demands TLS (explicit or implicit) refuses plain logins and plain data, and vsftpd and proftpd
// demand that data connections resume the control connection's session. The server ends with this object, and also when
// the test crashes.
#pragma once

#include <cstdint>
#include <ctime>
#include <ostream>
#include <string>
#include <vector>

#include "tests/support/ServerProcess.h"
#include "tests/support/TestCertificates.h"

namespace zephor_test {

enum class FtpServerKind { Vsftpd, Proftpd, PureFtpd };
enum class FtpTls { None, Explicit, Implicit };

struct FtpServerVariant {
  FtpServerKind kind = FtpServerKind::Vsftpd;
  FtpTls tls = FtpTls::None;
};

/// "VsftpdExplicitTls": for INSTANTIATE_TEST_SUITE_P.
std::string nameOf(const FtpServerVariant& variant);
inline void PrintTo(const FtpServerVariant& variant, std::ostream* out) {
  *out << nameOf(variant);
}
/// Every server with every kind of TLS that it has: pure-ftpd has no implicit TLS.
std::vector<FtpServerVariant> allFtpServers();
std::vector<FtpServerVariant> ftpServersWith(FtpTls tls);

struct RealFtpServerOptions {
  CertificateKind certificate = CertificateKind::Good;
  bool onlyTls12 = false;
  /// proftpd only: FEAT tells of no MLST, and MLSD and MLST are not known.
  bool withoutFacts = false;
  /// 0: many.
  int maximumConnections = 0;
  /// Of one session in either direction; 0 for no limit.
  int bytesPerSecond = 0;
  /// The root is a file system of this size of its own, see canLimitDisk(); 0: the machine's disk.
  std::int64_t diskBytes = 0;
};

class RealFtpServer {
 public:
  /// Empty when this variant can run here; otherwise what is missing, for GTEST_SKIP.
  static std::string whyNot(const FtpServerVariant& variant);
  /// A file system of its own needs root with the right to mount.
  static bool canLimitDisk();

  /// Started and ready to take connections. Throws std::runtime_error with the server's own words.
  explicit RealFtpServer(const FtpServerVariant& variant, const RealFtpServerOptions& options = {});
  ~RealFtpServer();
  RealFtpServer(const RealFtpServer&) = delete;
  RealFtpServer& operator=(const RealFtpServer&) = delete;

  const FtpServerVariant& variant() const { return variant_; }
  /// Address, and the port where it is not the usual one.
  std::wstring host() const;
  std::uint16_t port() const;
  std::wstring user() const { return L"ada"; }
  std::wstring password() const { return L"lovelace"; }
  /// Library path of the root certificate that the client has to trust; empty without TLS.
  std::wstring authorityFile() const;

  /// Path of the system of what the login sees as "/".
  std::string root() const;
  /// Path of the system of a name in the root; the name may go deeper.
  std::string path(const std::string& name) const { return root() + "/" + name; }
  /// Makes a file with the directories that it needs, owned by the login.
  void write(const std::string& name, const std::string& bytes);
  void makeDirectory(const std::string& name);
  /// Empty when there is no such file.
  std::string read(const std::string& name) const;
  bool exists(const std::string& name) const;
  void setTime(const std::string& name, std::time_t time);

  /// Ends the server and all its sessions at once, without a word to their clients but a closed connection.
  void kill();
  /// Starts it again at the same address.
  void restart();
  /// Ends the sessions only, the same way.
  void killSessions();
  /// What the server wrote: its output and its log.
  std::string log() const;

 private:
  void start();
  void waitUntilReady();
  void giveToLogin(const std::string& path) const;

  FtpServerVariant variant_;
  RealFtpServerOptions options_;
  std::string address_;
  std::string directory_;
  CertificateFiles certificates_;
  ServerProcess process_;
};

}  // namespace zephor_test
