// A server program as a process group of its own, which ends with this object, and also when the test crashes.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace zephor_test {

struct ServerProcessOptions {
  std::vector<std::string> arguments;    ///< the program's path first
  std::vector<std::string> environment;  ///< all of it
  std::string outputFile;                ///< what it prints is added here
  /// For users who are not root: the program sees its user as root, alone in a world of users of its own.
  bool asOwnRoot = false;
  /// A file system in memory that only the server and its sessions see at this place; empty for none. Needs root.
  std::string limitedDirectory;
  std::int64_t limitedBytes = 0;
  unsigned limitedOwner = 0;  ///< user and group of it
};

/// False where the system keeps such worlds from ordinary users.
bool canBeOwnRoot();

class ServerProcess {
 public:
  ServerProcess() = default;
  ~ServerProcess() { kill(); }
  ServerProcess(const ServerProcess&) = delete;
  ServerProcess& operator=(const ServerProcess&) = delete;

  /// Throws std::runtime_error when there can be no new process. A program that can't be started shows in isRunning().
  void start(const ServerProcessOptions& options);
  bool isRunning();
  /// Ends it with everything that it started, and returns when all of it is gone.
  void kill();
  /// Ends what it started.
  void killChildren();
  /// -1 while there is none.
  int id() const { return process_; }

 private:
  int process_ = -1;  ///< also the number of the process group
  int keeper_ = -1;   ///< ends the group when this end of its pipe closes, for whatever reason
  int keeperPipe_ = -1;
};

}  // namespace zephor_test
