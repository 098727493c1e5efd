// One connection of a scripted server: its sockets, and what an honest server does for each command.
#pragma once

#include <atomic>
#include <cstdint>
#include <string>

#include "tests/support/ScriptedFtpServer.h"

namespace zephor_test {

class ScriptedFtpSession {
 public:
  ScriptedFtpSession(ScriptedFtpServer& server, int control) : server_(server), control_(control) {}
  ~ScriptedFtpSession();
  ScriptedFtpSession(const ScriptedFtpSession&) = delete;
  ScriptedFtpSession& operator=(const ScriptedFtpSession&) = delete;

  /// The thread's whole life.
  void run();
  bool isOver() const { return over_; }

  // The steps of scripts. Those with an answer give false when the connection is over.

  bool reply(const std::string& text) { return send(filled(text) + "\r\n"); }
  bool replyByByte(const std::string& text);
  bool send(const std::string& bytes) const;
  bool pause(int milliseconds) const;
  /// Until the client goes. @return false
  bool hang() const;
  bool reset();
  void sendData(const std::string& bytes);
  std::string receiveData(std::size_t limit);
  void closeData(bool withReset);

 private:
  bool serve(const std::string& command);
  bool behave();
  bool readCommand(std::string& command);
  bool waitFor(int socket, short events) const;
  std::string filled(std::string text);
  std::uint16_t openListener();
  bool acceptData();
  bool sendAll(int socket, const std::string& bytes) const;

  std::string absolute(const std::string& name) const;
  bool knows(const std::string& feature) const;
  bool lookUp(const std::string& path, ScriptedFile& file) const;
  bool changeDirectory(const std::string& path);
  bool tellFeatures();
  bool list(bool withFacts);
  bool retrieve(const std::string& path);
  bool store(const std::string& path);
  bool transferOf(const std::string& bytes);
  bool changeFiles(const std::string& verb, const std::string& path);
  bool renameTo(const std::string& path);

  ScriptedFtpServer& server_;
  int control_;
  int dataListener_ = -1;
  int data_ = -1;
  std::atomic<bool> over_{false};
  std::string pending_;  ///< bytes of commands to come
  std::string verb_;
  std::string argument_;
  std::string directory_ = "/";
  std::string renameFrom_;
  std::size_t restart_ = 0;
};

}  // namespace zephor_test
