#include "tests/support/ScriptedFtpSession.h"

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <thread>

namespace zephor_test {

namespace {

/// How often a wait looks whether the test ends.
constexpr int kTickMilliseconds = 10;

void closeSocket(int& socket, bool withReset = false) {
  if (socket < 0) return;
  if (withReset) {
    const linger none{1, 0};
    ::setsockopt(socket, SOL_SOCKET, SO_LINGER, &none, sizeof none);
  }
  ::close(socket);
  socket = -1;
}

int listenSomewhere(std::uint16_t& port) {
  const int listener = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t size = sizeof address;
  static_cast<void>(::bind(listener, reinterpret_cast<const sockaddr*>(&address), size));
  ::listen(listener, 8);
  ::getsockname(listener, reinterpret_cast<sockaddr*>(&address), &size);
  port = ntohs(address.sin_port);
  return listener;
}

void replaceIn(std::string& text, const std::string& what, const std::string& with) {
  if (const auto at = text.find(what); at != std::string::npos) text.replace(at, what.size(), with);
}

std::string portsText(std::uint16_t port) {
  return std::to_string(port >> 8U) + "," + std::to_string(port & 255U);
}

/// A line of LIST with the day and the year, as for an old file.
std::string unixLine(const std::string& name, const ScriptedFile& file) {
  static constexpr std::array<const char*, 12> kMonths{"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                                       "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
  const auto month = static_cast<std::size_t>(std::atoi(file.time.substr(4, 2).c_str()) - 1);
  return std::string(file.isDirectory ? "drwxr-xr-x" : "-rw-r--r--") + " 1 owner group " +
         std::to_string(file.bytes.size()) + " " + kMonths.at(month) + " " + file.time.substr(6, 2) + "  " +
         file.time.substr(0, 4) + " " + name + "\r\n";
}

std::string factsOf(const ScriptedFile& file) {
  std::string facts = std::string("type=") + (file.isDirectory ? "dir" : "file") + ";modify=" + file.time + ";";
  if (!file.isDirectory) facts += "size=" + std::to_string(file.bytes.size()) + ";";
  return facts;
}

}  // namespace

ScriptedFtpSession::~ScriptedFtpSession() {
  closeSocket(control_);
  closeSocket(data_);
  closeSocket(dataListener_);
}

void ScriptedFtpSession::run() {
  const int yes = 1;
  ::setsockopt(control_, IPPROTO_TCP, TCP_NODELAY, &yes, sizeof yes);
  std::string command;
  for (bool goOn = serve("(connect)"); goOn && readCommand(command);) goOn = serve(command);
  closeSocket(data_);
  closeSocket(dataListener_);
  closeSocket(control_);
  over_ = true;
}

bool ScriptedFtpSession::serve(const std::string& command) {
  const auto space = command.find(' ');
  verb_ = command.substr(0, space);
  argument_ = space != std::string::npos ? command.substr(space + 1) : std::string();
  std::vector<ScriptedFtpServer::Script::Step> steps;
  if (!server_.takeCommand(command, steps)) return behave();
  for (const auto& step : steps) {
    if (!step(*this)) return false;
  }
  return true;
}

bool ScriptedFtpSession::waitFor(int socket, short events) const {
  while (!server_.stopping_) {
    pollfd waiting{socket, events, 0};
    if (::poll(&waiting, 1, kTickMilliseconds) > 0) return true;
  }
  return false;
}

bool ScriptedFtpSession::readCommand(std::string& command) {
  for (;;) {
    const auto end = pending_.find("\r\n");
    if (end != std::string::npos) {
      command = pending_.substr(0, end);
      pending_.erase(0, end + 2);
      return true;
    }
    std::array<char, 4096> buffer{};
    if (!waitFor(control_, POLLIN)) return false;
    const ssize_t count = ::recv(control_, buffer.data(), buffer.size(), 0);
    if (count <= 0) return false;
    pending_.append(buffer.data(), static_cast<std::size_t>(count));
  }
}

bool ScriptedFtpSession::sendAll(int socket, const std::string& bytes) const {
  std::size_t sent = 0;
  while (sent < bytes.size()) {
    if (!waitFor(socket, POLLOUT)) return false;
    const ssize_t count = ::send(socket, bytes.data() + sent, bytes.size() - sent, MSG_NOSIGNAL | MSG_DONTWAIT);
    if (count < 0 && errno != EAGAIN) return false;
    if (count > 0) sent += static_cast<std::size_t>(count);
  }
  return true;
}

bool ScriptedFtpSession::send(const std::string& bytes) const {
  return sendAll(control_, bytes);
}

bool ScriptedFtpSession::replyByByte(const std::string& text) {
  const std::string bytes = filled(text) + "\r\n";
  for (const char byte : bytes) {
    if (!send(std::string(1, byte)) || !pause(1)) return false;
  }
  return true;
}

bool ScriptedFtpSession::pause(int milliseconds) const {
  const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(milliseconds);
  while (!server_.stopping_ && std::chrono::steady_clock::now() < end) {
    std::this_thread::sleep_for(std::chrono::milliseconds(std::min(milliseconds, kTickMilliseconds)));
  }
  return !server_.stopping_;
}

bool ScriptedFtpSession::hang() const {
  std::array<char, 4096> buffer{};
  while (waitFor(control_, POLLIN) && ::recv(control_, buffer.data(), buffer.size(), 0) > 0) {
  }
  return false;
}

bool ScriptedFtpSession::reset() {
  closeSocket(data_, true);
  closeSocket(control_, true);
  return false;
}

std::string ScriptedFtpSession::filled(std::string text) {
  if (text.find("{ports}") != std::string::npos) replaceIn(text, "{ports}", portsText(openListener()));
  if (text.find("{port}") != std::string::npos) replaceIn(text, "{port}", std::to_string(openListener()));
  if (text.find("{closed}") != std::string::npos) {
    std::uint16_t port = 0;
    int listener = listenSomewhere(port);
    closeSocket(listener);
    replaceIn(text, "{closed}", std::to_string(port));
  }
  return text;
}

std::uint16_t ScriptedFtpSession::openListener() {
  closeSocket(data_);
  closeSocket(dataListener_);
  std::uint16_t port = 0;
  dataListener_ = listenSomewhere(port);
  return port;
}

bool ScriptedFtpSession::acceptData() {
  if (data_ >= 0) return true;
  if (dataListener_ < 0 || !waitFor(dataListener_, POLLIN)) return false;
  data_ = ::accept4(dataListener_, nullptr, nullptr, SOCK_CLOEXEC);
  closeSocket(dataListener_);
  return data_ >= 0;
}

void ScriptedFtpSession::sendData(const std::string& bytes) {
  if (acceptData()) sendAll(data_, bytes);
}

std::string ScriptedFtpSession::receiveData(std::size_t limit) {
  std::string bytes;
  std::array<char, 65536> buffer{};
  while (bytes.size() < limit && acceptData() && waitFor(data_, POLLIN)) {
    const ssize_t count = ::recv(data_, buffer.data(), std::min(buffer.size(), limit - bytes.size()), 0);
    if (count <= 0) break;
    bytes.append(buffer.data(), static_cast<std::size_t>(count));
  }
  return bytes;
}

void ScriptedFtpSession::closeData(bool withReset) {
  closeSocket(data_, withReset);
  closeSocket(dataListener_);
}

bool ScriptedFtpSession::behave() {
  const std::string path = absolute(argument_);
  if (verb_ == "(connect)") return reply("220 scripted server");
  if (verb_ == "USER") return reply("331 password");
  if (verb_ == "PASS") return reply("230 logged in");
  if (verb_ == "AUTH") return reply("502 no TLS here");
  if (verb_ == "FEAT") return tellFeatures();
  if (verb_ == "TYPE" || verb_ == "OPTS" || verb_ == "NOOP") return reply("200 ok");
  if (verb_ == "PWD") return reply("257 \"" + directory_ + "\" is the directory");
  if (verb_ == "CWD") return changeDirectory(path);
  if (verb_ == "PASV") return reply("227 Entering Passive Mode (127,0,0,1,{ports}).");
  if (verb_ == "EPSV") return reply(knows("EPSV") ? "229 Entering Extended Passive Mode (|||{port}|)" : "500 unknown");
  if (verb_ == "REST") {
    if (!knows("REST")) return reply("500 unknown");
    restart_ = std::strtoull(argument_.c_str(), nullptr, 10);
    return reply("350 Restarting at " + argument_);
  }
  if (verb_ == "RETR") return retrieve(path);
  if (verb_ == "STOR") return store(path);
  if (verb_ == "LIST") return list(false);
  if (verb_ == "MLSD") return list(true);
  if (verb_ == "RNTO") return renameTo(path);
  if (verb_ == "QUIT") {
    reply("221 bye");
    return false;
  }
  return changeFiles(verb_, path);
}

std::string ScriptedFtpSession::absolute(const std::string& name) const {
  std::string path = name.starts_with("/") ? name : directory_ + "/" + name;
  std::string result;
  for (std::size_t start = 0; start < path.size();) {
    auto end = path.find('/', start);
    if (end == std::string::npos) end = path.size();
    const std::string part = path.substr(start, end - start);
    if (part == "..") {
      result.erase(result.empty() ? 0 : result.rfind('/'));
    } else if (!part.empty() && part != ".") {
      result += "/" + part;
    }
    start = end + 1;
  }
  return result.empty() ? "/" : result;
}

bool ScriptedFtpSession::knows(const std::string& feature) const {
  const std::lock_guard lock(server_.mutex_);
  return std::any_of(server_.features_.begin(), server_.features_.end(),
                     [&](const std::string& known) { return known.starts_with(feature); });
}

bool ScriptedFtpSession::lookUp(const std::string& path, ScriptedFile& file) const {
  const std::lock_guard lock(server_.mutex_);
  const auto found = server_.files_.find(path);
  if (found == server_.files_.end()) return false;
  file = found->second;
  return true;
}

bool ScriptedFtpSession::changeDirectory(const std::string& path) {
  ScriptedFile file;
  if (!lookUp(path, file) || !file.isDirectory) return reply("550 no such directory");
  directory_ = path;
  return reply("250 ok");
}

bool ScriptedFtpSession::tellFeatures() {
  std::string text = "211-Features:\r\n";
  {
    const std::lock_guard lock(server_.mutex_);
    for (const std::string& feature : server_.features_) text += " " + feature + "\r\n";
  }
  return reply(text + "211 End");
}

bool ScriptedFtpSession::transferOf(const std::string& bytes) {
  if (data_ < 0 && dataListener_ < 0) return reply("425 no data connection");
  if (!reply("150 here it comes")) return false;
  const bool sent = acceptData() && sendAll(data_, bytes);
  closeData(false);
  return reply(sent ? "226 done" : "426 aborted");
}

bool ScriptedFtpSession::list(bool withFacts) {
  if (withFacts && !knows("MLST")) return reply("500 unknown");
  const bool withHidden = withFacts || argument_.find("-a") != std::string::npos;
  std::string text = withFacts ? "type=cdir; .\r\ntype=pdir; ..\r\n" : "";
  {
    const std::lock_guard lock(server_.mutex_);
    const std::string prefix = directory_ == "/" ? "/" : directory_ + "/";
    for (const auto& [path, file] : server_.files_) {
      if (path.size() <= prefix.size() || !path.starts_with(prefix)) continue;
      const std::string name = path.substr(prefix.size());
      if (name.find('/') != std::string::npos || (name[0] == '.' && !withHidden)) continue;
      text += withFacts ? factsOf(file) + " " + name + "\r\n" : unixLine(name, file);
    }
  }
  return transferOf(text);
}

bool ScriptedFtpSession::retrieve(const std::string& path) {
  const std::size_t start = restart_;
  restart_ = 0;
  ScriptedFile file;
  if (!lookUp(path, file) || file.isDirectory || start > file.bytes.size()) return reply("550 no such file");
  return transferOf(file.bytes.substr(start));
}

bool ScriptedFtpSession::store(const std::string& path) {
  restart_ = 0;
  ScriptedFile parent;
  if (!lookUp(path.substr(0, std::max<std::size_t>(1, path.rfind('/'))), parent)) return reply("553 no such directory");
  if (data_ < 0 && dataListener_ < 0) return reply("425 no data connection");
  if (!reply("150 send it")) return false;
  const std::string bytes = receiveData(std::numeric_limits<std::size_t>::max());
  closeData(false);
  {
    const std::lock_guard lock(server_.mutex_);
    server_.files_[path] = {bytes, ScriptedFile().time, false};
  }
  return reply("226 done");
}

bool ScriptedFtpSession::changeFiles(const std::string& verb, const std::string& path) {
  ScriptedFile file;
  const bool found = lookUp(path, file);
  const std::string missing = "550 no such file";
  if (verb == "SIZE" && knows("SIZE"))
    return reply(found && !file.isDirectory ? "213 " + std::to_string(file.bytes.size()) : missing);
  if (verb == "MDTM" && knows("MDTM")) return reply(found ? "213 " + file.time : missing);
  if (verb == "MLST" && knows("MLST")) {
    return reply(found ? "250-facts\r\n " + factsOf(file) + " " + path + "\r\n250 end" : missing);
  }
  if (verb == "RNFR") {
    renameFrom_ = found ? path : std::string();
    return reply(found ? "350 and to what" : missing);
  }
  if (verb == "DELE" || verb == "RMD") {
    if (!found || file.isDirectory != (verb == "RMD")) return reply(missing);
    const std::lock_guard lock(server_.mutex_);
    const auto below = server_.files_.lower_bound(path + "/");
    if (below != server_.files_.end() && below->first.starts_with(path + "/")) return reply("550 not empty");
    server_.files_.erase(path);
    return reply("250 deleted");
  }
  if (verb == "MKD") {
    if (found) return reply("550 there already");
    server_.addDirectory(path);
    return reply("257 \"" + path + "\" made");
  }
  const bool taken = verb == "SIZE" || verb == "MDTM" || verb == "MLST";
  if (!taken) ADD_FAILURE() << "the scripted server has no answer to \"" << verb_ << " " << argument_ << "\"";
  return reply("500 unknown");
}

bool ScriptedFtpSession::renameTo(const std::string& path) {
  if (renameFrom_.empty()) return reply("503 rename what");
  {
    const std::lock_guard lock(server_.mutex_);
    server_.files_[path] = server_.files_[renameFrom_];
    server_.files_.erase(renameFrom_);
  }
  renameFrom_.clear();
  return reply("250 renamed");
}

}  // namespace zephor_test
