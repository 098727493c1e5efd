#include "tests/support/RealFtpServer.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <sched.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>
#include <stdexcept>
#include <thread>

#include "platform/Paths.h"
#include "platform/Text.h"
#include "tests/support/FtpServerSetup.h"

namespace zephor_test {

namespace fs = std::filesystem;

namespace {

constexpr auto kStartLimit = std::chrono::seconds(30);

bool isRoot() {
  return ::geteuid() == 0;
}

/// "nobody"; where the user of the test is not root, that user, whom the server then sees as root.
unsigned sessionUid() {
  return isRoot() ? 65534 : 0;
}

/// Half of the loopback network, cut up by the process's number: tests that run beside each other never meet.
std::string nextAddress() {
  static std::atomic<unsigned> next{0};
  const unsigned process = static_cast<unsigned>(::getpid()) & 0x1FFFFF;
  const unsigned number = 0x7F800000U | (process << 2U) | (next++ & 3U);
  std::array<char, 16> text{};
  std::snprintf(text.data(), text.size(), "%u.%u.%u.%u", number >> 24U, (number >> 16U) & 255U, (number >> 8U) & 255U,
                number & 255U);
  return text.data();
}

/// Tells without a connection of our own, which the server would count.
bool isListening(const std::string& address, std::uint16_t port) {
  in_addr bytes{};
  ::inet_pton(AF_INET, address.c_str(), &bytes);
  std::array<char, 24> local{};
  std::snprintf(local.data(), local.size(), " %08X:%04X ", bytes.s_addr, port);
  std::ifstream table("/proc/net/tcp");
  for (std::string line; std::getline(table, line);) {
    // After the local and the remote address stands the state, 0A for listening.
    if (line.find(local.data()) != std::string::npos && line.find(" 00000000:0000 0A ") != std::string::npos)
      return true;
  }
  return false;
}

std::string contentOfFile(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

std::string makeDirectoryForServer() {
  // Where a user without rights can reach it, unlike the directory of a build.
  std::string path = (fs::temp_directory_path() / "zephor-ftp.XXXXXX").string();
  if (::mkdtemp(path.data()) == nullptr) throw std::runtime_error("no directory for a server: " + path);
  ::chmod(path.c_str(), 0755);
  return path;
}

}  // namespace

std::string nameOf(const FtpServerVariant& variant) {
  static constexpr std::array<const char*, 3> kKinds{"Vsftpd", "Proftpd", "PureFtpd"};
  static constexpr std::array<const char*, 3> kTls{"Plain", "ExplicitTls", "ImplicitTls"};
  return std::string(kKinds.at(static_cast<std::size_t>(variant.kind))) +
         kTls.at(static_cast<std::size_t>(variant.tls));
}

std::vector<FtpServerVariant> ftpServersWith(FtpTls tls) {
  std::vector<FtpServerVariant> servers{{FtpServerKind::Vsftpd, tls}, {FtpServerKind::Proftpd, tls}};
  if (tls != FtpTls::Implicit) servers.push_back({FtpServerKind::PureFtpd, tls});
  return servers;
}

std::vector<FtpServerVariant> allFtpServers() {
  std::vector<FtpServerVariant> servers;
  for (const FtpTls tls : {FtpTls::None, FtpTls::Explicit, FtpTls::Implicit}) {
    for (const FtpServerVariant& variant : ftpServersWith(tls)) servers.push_back(variant);
  }
  return servers;
}

std::string RealFtpServer::whyNot(const FtpServerVariant& variant) {
  const std::string program = ftpServerProgram(variant.kind);
  if (!fs::exists(program)) return program + " is missing, run scripts/fetch-ftp-servers";
  if (!isRoot() && variant.kind == FtpServerKind::PureFtpd) return "pure-ftpd takes logins only where root starts it";
  if (!isRoot() && !canBeOwnRoot()) return "the servers need root, or a user who may have user namespaces";
  if (variant.kind == FtpServerKind::PureFtpd && variant.tls == FtpTls::Implicit)
    return "pure-ftpd has no implicit TLS";
  return {};
}

bool RealFtpServer::canLimitDisk() {
  if (!isRoot()) return false;
  const int child = ::fork();
  if (child == 0) ::_exit(::unshare(CLONE_NEWNS) == 0 ? 0 : 1);
  int status = 0;
  return child > 0 && ::waitpid(child, &status, 0) == child && status == 0;
}

RealFtpServer::RealFtpServer(const FtpServerVariant& variant, const RealFtpServerOptions& options)
    : variant_(variant), options_(options), address_(nextAddress()), directory_(makeDirectoryForServer()) {
  try {
    fs::create_directory(directory_ + "/root");
    giveToLogin(directory_ + "/root");
    if (variant.tls != FtpTls::None) certificates_ = writeCertificates(directory_, address_, options.certificate);
    start();
  } catch (...) {
    process_.kill();
    std::error_code ignored;
    fs::remove_all(directory_, ignored);
    throw;
  }
}

RealFtpServer::~RealFtpServer() {
  process_.kill();
  std::error_code ignored;
  fs::remove_all(directory_, ignored);
}

std::uint16_t RealFtpServer::port() const {
  if (isRoot()) return variant_.tls == FtpTls::Implicit ? 990 : 21;
  return variant_.tls == FtpTls::Implicit ? 9990 : 2121;
}

std::wstring RealFtpServer::host() const {
  const std::wstring address = platform::fromUtf8(address_);
  return isRoot() ? address : address + L":" + std::to_wstring(port());
}

std::wstring RealFtpServer::authorityFile() const {
  return certificates_.authority.empty() ? std::wstring() : platform::libraryPath(certificates_.authority);
}

std::string RealFtpServer::root() const {
  const std::string path = directory_ + "/root";
  // A file system of the server's own is reached through the server.
  return options_.diskBytes > 0 ? "/proc/" + std::to_string(process_.id()) + "/root" + path : path;
}

void RealFtpServer::giveToLogin(const std::string& path) const {
  if (isRoot() && ::chown(path.c_str(), sessionUid(), sessionUid()) != 0)
    throw std::runtime_error("can't chown " + path);
}

void RealFtpServer::write(const std::string& name, const std::string& bytes) {
  const auto slash = name.rfind('/');
  if (slash != std::string::npos) makeDirectory(name.substr(0, slash));
  std::ofstream file(path(name), std::ios::binary);
  file << bytes;
  file.close();
  if (!file) throw std::runtime_error("can't write " + path(name));
  giveToLogin(path(name));
}

void RealFtpServer::makeDirectory(const std::string& name) {
  fs::path made = root();
  for (const fs::path& part : fs::path(name)) {
    made /= part;
    if (fs::create_directory(made)) giveToLogin(made.string());
  }
}

std::string RealFtpServer::read(const std::string& name) const {
  return contentOfFile(path(name));
}

bool RealFtpServer::exists(const std::string& name) const {
  return fs::exists(fs::symlink_status(path(name)));
}

void RealFtpServer::setTime(const std::string& name, std::time_t time) {
  const std::array<timespec, 2> times{timespec{time, 0}, timespec{time, 0}};
  if (::utimensat(AT_FDCWD, path(name).c_str(), times.data(), 0) != 0) throw std::runtime_error("no time: " + name);
}

void RealFtpServer::start() {
  const FtpServerSetup setup{variant_,
                             options_,
                             address_,
                             port(),
                             directory_,
                             certificates_,
                             platform::toUtf8(user()),
                             platform::toUtf8(password()),
                             sessionUid()};
  FtpServerCommand command = prepareFtpServer(setup);

  ServerProcessOptions process;
  process.arguments = std::move(command.arguments);
  process.environment = std::move(command.environment);
  process.outputFile = directory_ + "/output";
  process.asOwnRoot = !isRoot();
  if (options_.diskBytes > 0) {
    process.limitedDirectory = directory_ + "/root";
    process.limitedBytes = options_.diskBytes;
    process.limitedOwner = sessionUid();
  }
  process_.start(process);
  waitUntilReady();
}

void RealFtpServer::waitUntilReady() {
  const auto limit = std::chrono::steady_clock::now() + kStartLimit;
  while (!isListening(address_, port())) {
    if (!process_.isRunning() || std::chrono::steady_clock::now() > limit) {
      throw std::runtime_error(nameOf(variant_) + " did not start at " + address_ + ":\n" + log());
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
}

void RealFtpServer::kill() {
  process_.kill();
}

void RealFtpServer::restart() {
  process_.kill();
  start();
}

void RealFtpServer::killSessions() {
  process_.killChildren();
}

std::string RealFtpServer::log() const {
  return contentOfFile(directory_ + "/output") + contentOfFile(directory_ + "/log") +
         contentOfFile(directory_ + "/tls-log");
}

}  // namespace zephor_test
