#include "tests/support/FtpServerSetup.h"

#include <crypt.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <sstream>
#include <stdexcept>

namespace zephor_test {

namespace {

void writeText(const std::string& path, const std::string& text) {
  std::ofstream file(path, std::ios::binary);
  file << text;
  file.close();
  if (!file) throw std::runtime_error("can't write " + path);
  ::chmod(path.c_str(), 0600);
}

/// A cheap hash: what costs seconds in these servers is the hash, and it is not under test.
std::string hashOf(const std::string& password) {
  crypt_data data{};
  const char* const hash = crypt_r(password.c_str(), "$6$rounds=1000$zephortests$", &data);
  if (hash == nullptr) throw std::runtime_error("no password hash");
  return hash;
}

std::string vsftpdText(const FtpServerSetup& setup) {
  std::ostringstream text;
  const RealFtpServerOptions& options = setup.options;
  text << "listen=YES\nbackground=NO\nlisten_address=" << setup.address << "\nlisten_port=" << setup.port
       << "\nanonymous_enable=NO\nlocal_enable=YES\nwrite_enable=YES\nlocal_umask=022\nuse_localtime=NO\n"
       << "delay_failed_login=0\ndelay_successful_login=0\nseccomp_sandbox=NO\nisolate=NO\nisolate_network=NO\n"
       << "xferlog_enable=YES\nxferlog_std_format=NO\nlog_ftp_protocol=YES\nvsftpd_log_file=" << setup.directory
       << "/log\n";
  // Before the login the server wants a directory that it can't write to; the empty one would be its own.
  text << "chroot_local_user=YES\nallow_writeable_chroot=YES\nnopriv_user=" << (setup.uid == 0 ? "root" : "nobody")
       << "\nsecure_chroot_dir=" << (setup.uid == 0 ? "/usr" : setup.directory + "/empty") << "\n";
  if (options.maximumConnections > 0) text << "max_clients=" << options.maximumConnections << "\n";
  if (options.bytesPerSecond > 0) text << "local_max_rate=" << options.bytesPerSecond << "\n";
  if (setup.variant.tls != FtpTls::None) {
    text << "ssl_enable=YES\nallow_anon_ssl=NO\nforce_local_data_ssl=YES\nforce_local_logins_ssl=YES\n"
         << "require_ssl_reuse=YES\nssl_ciphers=HIGH\nrsa_cert_file=" << setup.certificates.both << "\n";
    if (setup.variant.tls == FtpTls::Implicit) text << "implicit_ssl=YES\n";
  }
  return text.str();
}

std::string proftpdText(const FtpServerSetup& setup) {
  std::ostringstream text;
  const RealFtpServerOptions& options = setup.options;
  text << "ServerType standalone\nServerName test\nDefaultAddress " << setup.address << "\nSocketBindTight on\nPort "
       << setup.port << "\nUseIPv6 off\nUseReverseDNS off\nModulePath " << ftpServersDirectory()
       << "/usr/lib/proftpd\nAuthOrder mod_auth_file.c\nAuthUserFile " << setup.directory << "/users\nAuthGroupFile "
       << setup.directory << "/groups\nRequireValidShell off\nUseFtpUsers off\nWtmpLog off\nTransferLog none\nPidFile "
       << setup.directory << "/pid\nScoreboardFile none\nDelayEngine off\nControlsEngine off\nSystemLog "
       << setup.directory
       << "/log\nUmask 022\nAllowOverwrite on\nAllowStoreRestart on\nTimesGMT on\nListOptions \"-a\"\n"
       << "AllowRetrieveRestart on\n<Limit ALL>\nAllowAll\n</Limit>\n";
  text << (setup.uid == 0 ? "User root\nGroup root\nRootLogin on\n" : "User nobody\nGroup nogroup\n")
       << "DefaultRoot ~\n";
  if (options.maximumConnections > 0) text << "MaxClients " << options.maximumConnections << "\n";
  if (options.bytesPerSecond > 0) text << "TransferRate RETR,STOR " << options.bytesPerSecond / 1024.0 << "\n";
  if (options.withoutFacts) text << "FactsAdvertise off\n<Limit MLSD MLST>\nDenyAll\n</Limit>\n";
  if (setup.variant.tls != FtpTls::None) {
    text << "LoadModule mod_tls.c\nTLSEngine on\nTLSLog " << setup.directory
         << "/tls-log\nTLSRequired on\nTLSProtocol TLSv1.2" << (options.onlyTls12 ? "" : " TLSv1.3")
         << "\nTLSECCertificateFile " << setup.certificates.certificate << "\nTLSECCertificateKeyFile "
         << setup.certificates.key << "\n";
    if (setup.variant.tls == FtpTls::Implicit) text << "TLSOptions UseImplicitSSL\n";
  }
  return text.str();
}

FtpServerCommand prepareVsftpd(const FtpServerSetup& setup) {
  writeText(setup.directory + "/vsftpd.conf", vsftpdText(setup));
  ::mkdir((setup.directory + "/empty").c_str(), 0755);
  return {{ftpServerProgram(FtpServerKind::Vsftpd), setup.directory + "/vsftpd.conf"}, {}};
}

FtpServerCommand prepareProftpd(const FtpServerSetup& setup) {
  const std::string ids = std::to_string(setup.uid) + ":" + std::to_string(setup.uid);
  writeText(setup.directory + "/users", setup.login + ":" + hashOf(setup.password) + ":" + ids + ":" + setup.login +
                                            ":" + setup.directory + "/root:/bin/sh\n");
  writeText(setup.directory + "/groups", setup.login + ":x:" + std::to_string(setup.uid) + ":" + setup.login + "\n");
  writeText(setup.directory + "/proftpd.conf", proftpdText(setup));
  return {{ftpServerProgram(FtpServerKind::Proftpd), "-n", "-q", "-c", setup.directory + "/proftpd.conf"}, {}};
}

FtpServerCommand preparePureFtpd(const FtpServerSetup& setup) {
  const std::string users = setup.directory + "/users";
  const std::string id = std::to_string(setup.uid);
  writeText(users, setup.login + ":" + hashOf(setup.password) + ":" + id + ":" + id + "::" + setup.directory +
                       "/root/./::::::::::::\n");
  const std::string makeDatabase =
      "'" + ftpServersDirectory() + "/usr/bin/pure-pw' mkdb '" + users + ".pdb' -f '" + users + "'";
  if (std::system(makeDatabase.c_str()) != 0)
    throw std::runtime_error("pure-pw can't write " + users + ".pdb");  // NOLINT

  const RealFtpServerOptions& options = setup.options;
  const std::string many = std::to_string(options.maximumConnections > 0 ? options.maximumConnections : 200);
  std::vector<std::string> arguments{ftpServerProgram(FtpServerKind::PureFtpd), "-AEHD", "-S",
                                     setup.address + "," + std::to_string(setup.port)};
  const std::string pidFile = setup.directory + "/pid";
  arguments.insert(arguments.end(), {"-l", "puredb:" + users + ".pdb", "-g", pidFile, "-u", "1", "-L", "1000000:50"});
  arguments.insert(arguments.end(), {"-C", many, "-c", many, "-U", "133:022", "-f", "none"});
  if (options.bytesPerSecond > 0) {
    const std::string rate = std::to_string((options.bytesPerSecond + 1023) / 1024);
    arguments.insert(arguments.end(), {"-T", rate + ":" + rate});
  }
  if (setup.variant.tls == FtpTls::Explicit)
    arguments.insert(arguments.end(), {"-2", setup.certificates.both, "-Y", "3"});
  return {arguments, {}};
}

}  // namespace

std::string ftpServersDirectory() {
  const char* const chosen = std::getenv("ZEPHOR_FTP_SERVERS");  // NOLINT(concurrency-mt-unsafe)
  return chosen != nullptr ? chosen : ZEPHOR_FTP_SERVERS_DEFAULT;
}

std::string ftpServerProgram(FtpServerKind kind) {
  const char* const name = kind == FtpServerKind::Vsftpd    ? "vsftpd"
                           : kind == FtpServerKind::Proftpd ? "proftpd"
                                                            : "pure-ftpd";
  return ftpServersDirectory() + "/usr/sbin/" + name;
}

FtpServerCommand prepareFtpServer(const FtpServerSetup& setup) {
  FtpServerCommand command = setup.variant.kind == FtpServerKind::Vsftpd    ? prepareVsftpd(setup)
                             : setup.variant.kind == FtpServerKind::Proftpd ? prepareProftpd(setup)
                                                                            : preparePureFtpd(setup);
  command.environment.insert(command.environment.end(),
                             {"PATH=/usr/sbin:/usr/bin:/sbin:/bin",
                              "LD_LIBRARY_PATH=" + ftpServersDirectory() + "/usr/lib/" ZEPHOR_MULTIARCH ":" +
                                  ftpServersDirectory() + "/lib/" ZEPHOR_MULTIARCH});
  if (setup.variant.kind == FtpServerKind::Vsftpd || setup.uid == 0) {
    command.environment.insert(command.environment.end(),
                               {"LD_PRELOAD=" ZEPHOR_FTP_LOGIN_SHIM, "ZEPHOR_FTP_LOGIN=" + setup.login,
                                "ZEPHOR_FTP_PASSWORD=" + setup.password, "ZEPHOR_FTP_ROOT=" + setup.directory + "/root",
                                "ZEPHOR_FTP_UID=" + std::to_string(setup.uid)});
  }
  if (setup.options.onlyTls12) {
    // The one switch that all three obey.
    const std::string path = setup.directory + "/openssl.conf";
    writeText(path,
              "openssl_conf = top\n[top]\nssl_conf = ssl\n[ssl]\nsystem_default = limits\n[limits]\n"
              "MaxProtocol = TLSv1.2\n");
    command.environment.push_back("OPENSSL_CONF=" + path);
  }
  return command;
}

}  // namespace zephor_test
