#include "tests/support/ScriptedFtpServer.h"

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <stdexcept>

#include "tests/support/ScriptedFtpSession.h"

namespace zephor_test {

using Script = ScriptedFtpServer::Script;

Script& Script::add(Step step) {
  const std::lock_guard lock(server_.mutex_);
  server_.rules_[rule_].steps.push_back(std::move(step));
  return *this;
}

Script& Script::reply(const std::string& text) {
  return add([text](auto& session) { return session.reply(text); });
}
Script& Script::replyByByte(const std::string& text) {
  return add([text](auto& session) { return session.replyByByte(text); });
}
Script& Script::send(const std::string& bytes) {
  return add([bytes](auto& session) { return session.send(bytes); });
}
Script& Script::pause(int milliseconds) {
  return add([milliseconds](auto& session) { return session.pause(milliseconds); });
}
Script& Script::hang() {
  return add([](auto& session) { return session.hang(); });
}
Script& Script::close() {
  return add([](auto&) { return false; });
}
Script& Script::reset() {
  return add([](auto& session) { return session.reset(); });
}
Script& Script::sendData(const std::string& bytes) {
  return add([bytes](auto& session) { return session.sendData(bytes), true; });
}
Script& Script::receiveData(std::size_t limit) {
  return add([limit](auto& session) { return session.receiveData(limit), true; });
}
Script& Script::closeData() {
  return add([](auto& session) { return session.closeData(false), true; });
}
Script& Script::resetData() {
  return add([](auto& session) { return session.closeData(true), true; });
}

ScriptedFtpServer::ScriptedFtpServer()
    : listener_(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)), features_{"EPSV",        "MDTM",
                                                                             "MFMT",        "MLST type*;size*;modify*;",
                                                                             "REST STREAM", "SIZE",
                                                                             "UTF8"} {
  files_["/"].isDirectory = true;
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t size = sizeof address;
  auto* const raw = reinterpret_cast<sockaddr*>(&address);
  if (::bind(listener_, raw, size) != 0 || ::listen(listener_, 64) != 0 || ::getsockname(listener_, raw, &size) != 0) {
    throw std::runtime_error("the scripted server can't listen");
  }
  port_ = ntohs(address.sin_port);
  acceptor_ = std::thread([this] { acceptConnections(); });
}

ScriptedFtpServer::~ScriptedFtpServer() {
  stopping_ = true;
  acceptor_.join();
  for (Connection& connection : connections_) connection.thread.join();
  ::close(listener_);
}

void ScriptedFtpServer::acceptConnections() {
  while (!stopping_) {
    pollfd waiting{listener_, POLLIN, 0};
    if (::poll(&waiting, 1, 20) <= 0) continue;
    const int control = ::accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC);
    if (control < 0) continue;
    {
      const std::lock_guard lock(mutex_);
      ++connectionCount_;
    }
    connections_.remove_if([](Connection& connection) {
      if (!connection.session->isOver()) return false;
      connection.thread.join();
      return true;
    });
    Connection& connection = connections_.emplace_back();
    connection.session = std::make_unique<ScriptedFtpSession>(*this, control);
    connection.thread = std::thread([session = connection.session.get()] { session->run(); });
  }
}

std::wstring ScriptedFtpServer::host() const {
  return L"127.0.0.1:" + std::to_wstring(port_);
}

void ScriptedFtpServer::addFile(const std::string& path, const std::string& bytes, const std::string& time) {
  const auto slash = path.rfind('/');
  if (slash != 0) addDirectory(path.substr(0, slash));
  const std::lock_guard lock(mutex_);
  files_[path] = {bytes, time, false};
}

void ScriptedFtpServer::addDirectory(const std::string& path) {
  const std::lock_guard lock(mutex_);
  for (auto end = path.find('/', 1);; end = path.find('/', end + 1)) {
    files_[path.substr(0, end)].isDirectory = true;
    if (end == std::string::npos) return;
  }
}

std::string ScriptedFtpServer::file(const std::string& path) const {
  const std::lock_guard lock(mutex_);
  const auto found = files_.find(path);
  return found != files_.end() ? found->second.bytes : std::string();
}

bool ScriptedFtpServer::has(const std::string& path) const {
  const std::lock_guard lock(mutex_);
  return files_.contains(path);
}

void ScriptedFtpServer::without(const std::string& feature) {
  const std::lock_guard lock(mutex_);
  const auto isIt = [&](const std::string& known) { return known.starts_with(feature); };
  if (std::erase_if(features_, isIt) == 0) throw std::invalid_argument("no such feature: " + feature);
}

Script ScriptedFtpServer::onNth(const std::string& command, int number) {
  const std::lock_guard lock(mutex_);
  rules_.push_back({command, number, 0, {}});
  return {*this, rules_.size() - 1};
}

Commands ScriptedFtpServer::commands() const {
  const std::lock_guard lock(mutex_);
  return commands_;
}

void ScriptedFtpServer::clearCommands() {
  const std::lock_guard lock(mutex_);
  commands_.clear();
}

int ScriptedFtpServer::connections() const {
  const std::lock_guard lock(mutex_);
  return connectionCount_;
}

bool ScriptedFtpServer::takeCommand(const std::string& command, std::vector<Script::Step>& steps) {
  const std::lock_guard lock(mutex_);
  if (command != "(connect)") commands_.push_back(command);
  const std::string verb = command.substr(0, command.find(' '));
  bool found = false;
  for (Rule& rule : rules_) {
    if (rule.command != command && rule.command != verb) continue;
    ++rule.seen;
    if (found || (rule.number != 0 && rule.number != rule.seen)) continue;
    steps = rule.steps;
    found = true;
  }
  return found;
}

}  // namespace zephor_test
