// An FTP server in the test's own process that does as it is told, the wrong things included, and notes what it is
// asked.
//
//   ScriptedFtpServer server;
//   server.addFile("/plans/a.txt", "text");
//   server.onNth("STOR", 2).reply("150 go on").receiveData(1000).reset();
//   ... a client at server.host() ...
//   EXPECT_EQ(server.commands(), (Commands{"CWD /plans", "EPSV", "RETR a.txt"}));
//
// Without a script it is an honest server with files in memory, any login, no TLS. A script stands in the place of what
// it would do for one command. A command that it does not know fails the test.
// Each connection has a thread; scripts and files may be changed while clients are connected.
#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <limits>
#include <list>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace zephor_test {

using Commands = std::vector<std::string>;

class ScriptedFtpSession;

struct ScriptedFile {
  std::string bytes;
  std::string time = "20240131101500";  ///< UTC, as MDTM tells it
  bool isDirectory = false;
};

class ScriptedFtpServer {
 public:
  /// What is done for one command, in this order. A step that ends the connection is the last.
  class Script {
   public:
    using Step = std::function<bool(ScriptedFtpSession&)>;  ///< false: the connection is over

    /// Sends the text and a line end. In it "{ports}" (as PASV tells them) and "{port}" (as EPSV does) stand for the
    /// port of a data listener that is opened for it; "{closed}" for a port where nobody listens.
    Script& reply(const std::string& text);
    /// The same, in pieces of one byte.
    Script& replyByByte(const std::string& text);
    /// Bytes as they stand, without a line end.
    Script& send(const std::string& bytes);
    Script& pause(int milliseconds);
    /// No answer until the client goes.
    Script& hang();
    Script& close();
    /// RST.
    Script& reset();
    /// Waits for the data connection if there is none, and sends.
    Script& sendData(const std::string& bytes);
    /// Takes what comes until the end, or until there are so many bytes.
    Script& receiveData(std::size_t limit = std::numeric_limits<std::size_t>::max());
    Script& closeData();
    Script& resetData();

   private:
    friend class ScriptedFtpServer;
    Script(ScriptedFtpServer& server, std::size_t rule) : server_(server), rule_(rule) {}
    Script& add(Step step);
    ScriptedFtpServer& server_;
    std::size_t rule_;
  };

  ScriptedFtpServer();
  ~ScriptedFtpServer();
  ScriptedFtpServer(const ScriptedFtpServer&) = delete;
  ScriptedFtpServer& operator=(const ScriptedFtpServer&) = delete;

  /// "127.0.0.1:port".
  std::wstring host() const;
  std::uint16_t port() const { return port_; }

  // What it has. Paths begin with a slash; directories on the way are made.

  void addFile(const std::string& path, const std::string& bytes, const std::string& time = ScriptedFile().time);
  void addDirectory(const std::string& path);
  /// Content of a file; empty when there is none.
  std::string file(const std::string& path) const;
  bool has(const std::string& path) const;
  /// Takes an ability away, "MLST", "REST STREAM", "MDTM", "MFMT", "SIZE", "EPSV": its commands are unknown from now
  /// on.
  void without(const std::string& feature);

  // What it does. The first rule that fits and still counts is taken.

  /// "STOR" for each such command, "STOR a.txt" for exactly this one; "(connect)" for a new connection.
  Script on(const std::string& command) { return onNth(command, 0); }
  /// Only for the n-th that fits, counted from 1, over all connections.
  Script onNth(const std::string& command, int number);
  /// Only for the next.
  Script once(const std::string& command) { return onNth(command, 1); }

  // What it was asked, by all connections together in order.

  Commands commands() const;
  void clearCommands();
  int connections() const;

 private:
  friend class ScriptedFtpSession;
  struct Rule {
    std::string command;
    int number = 0;
    int seen = 0;
    std::vector<Script::Step> steps;
  };
  struct Connection {
    std::unique_ptr<ScriptedFtpSession> session;
    std::thread thread;
  };

  void acceptConnections();
  /// Notes a command and finds what is to be done for it. @return false when no rule counts
  bool takeCommand(const std::string& command, std::vector<Script::Step>& steps);

  int listener_ = -1;
  std::uint16_t port_ = 0;
  std::atomic<bool> stopping_{false};
  std::thread acceptor_;
  std::list<Connection> connections_;  ///< the acceptor's while it runs

  mutable std::mutex mutex_;  ///< guards what follows
  std::map<std::string, ScriptedFile> files_;
  std::vector<std::string> features_;
  std::vector<Rule> rules_;
  Commands commands_;
  int connectionCount_ = 0;
};

}  // namespace zephor_test
