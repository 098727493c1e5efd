#include "tests/support/ServerProcess.h"

#include <dirent.h>
#include <fcntl.h>
#include <sched.h>
#include <signal.h>
#include <sys/mount.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstring>
#include <fstream>
#include <set>
#include <sstream>
#include <stdexcept>
#include <thread>

namespace zephor_test {

namespace {

std::vector<char*> pointersTo(const std::vector<std::string>& texts) {
  std::vector<char*> pointers;
  pointers.reserve(texts.size() + 1);
  for (const std::string& text : texts) pointers.push_back(const_cast<char*>(text.c_str()));
  pointers.push_back(nullptr);
  return pointers;
}

struct Process {
  int id = 0;
  int parent = 0;
  int group = 0;
  bool lives = false;  ///< false: it only waits to be collected
};

std::vector<Process> allProcesses() {
  std::vector<Process> all;
  DIR* const processes = ::opendir("/proc");
  if (processes == nullptr) return all;
  while (const dirent* const entry = ::readdir(processes)) {  // NOLINT(concurrency-mt-unsafe)
    Process process;
    process.id = std::atoi(entry->d_name);
    if (process.id <= 0) continue;
    std::ifstream file("/proc/" + std::string(entry->d_name) + "/stat");
    std::string line;
    std::getline(file, line);
    const auto nameEnd = line.rfind(')');
    if (nameEnd == std::string::npos) continue;
    std::istringstream fields(line.substr(nameEnd + 1));
    std::string state;
    fields >> state >> process.parent >> process.group;
    process.lives = state != "Z" && state != "X";
    all.push_back(process);
  }
  ::closedir(processes);
  return all;
}

/// A server and all that it started: its process group, and sessions that left the group (vsftpd's do).
std::set<int> familyOf(int server) {
  std::set<int> family{server};
  const std::vector<Process> all = allProcesses();
  for (std::size_t before = 0; before != family.size();) {
    before = family.size();
    for (const Process& process : all) {
      if (process.group == server || family.contains(process.parent)) family.insert(process.id);
    }
  }
  return family;
}

bool livesAny(const std::set<int>& ids) {
  const std::vector<Process> all = allProcesses();
  return std::any_of(all.begin(), all.end(), [&](const Process& p) { return p.lives && ids.contains(p.id); });
}

void killAndWait(const std::set<int>& ids) {
  for (const int id : ids) ::kill(id, SIGKILL);
  while (livesAny(ids)) std::this_thread::sleep_for(std::chrono::milliseconds(2));
  // Those whose parent is gone are ours to collect, see PR_SET_CHILD_SUBREAPER.
  for (const int id : ids) ::waitpid(id, nullptr, WNOHANG);
}

/// In the child, before the program: a file system that nobody else sees. Async-signal-safe.
bool mountLimited(const char* directory, const char* options) {
  return ::unshare(CLONE_NEWNS) == 0 && ::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
         ::mount("limited", directory, "tmpfs", 0, options) == 0;
}

bool writeText(const char* path, const char* text) {
  const int file = ::open(path, O_WRONLY | O_CLOEXEC);
  const bool isWritten = file >= 0 && ::write(file, text, std::strlen(text)) > 0;
  ::close(file);
  return isWritten;
}

/// Async-signal-safe. @param map  "0 USER 1"
bool becomeOwnRoot(const char* userMap, const char* groupMap) {
  return ::unshare(CLONE_NEWUSER) == 0 && writeText("/proc/self/setgroups", "deny") &&
         writeText("/proc/self/uid_map", userMap) && writeText("/proc/self/gid_map", groupMap);
}

/// The keeper's whole life. Async-signal-safe, as the test may have threads. A session that left the group ends by
/// itself, as its client is gone.
[[noreturn]] void keep(int pipe, int group) {
  ::setsid();
  const int null = ::open("/dev/null", O_RDWR);
  for (int number = 0; number <= 2; ++number) ::dup2(null, number);
  char byte = 0;
  while (::read(pipe, &byte, 1) < 0) {
  }
  ::kill(-group, SIGKILL);
  ::_exit(0);
}

}  // namespace

bool canBeOwnRoot() {
  const std::string users = "0 " + std::to_string(::geteuid()) + " 1";
  const std::string groups = "0 " + std::to_string(::getegid()) + " 1";
  const int child = ::fork();
  if (child == 0) ::_exit(becomeOwnRoot(users.c_str(), groups.c_str()) ? 0 : 1);
  int status = 0;
  return child > 0 && ::waitpid(child, &status, 0) == child && status == 0;
}

void ServerProcess::start(const ServerProcessOptions& options) {
  kill();
  const std::vector<char*> arguments = pointersTo(options.arguments);
  const std::vector<char*> environment = pointersTo(options.environment);
  const std::string mountOptions = "size=" + std::to_string(options.limitedBytes) +
                                   ",mode=755,uid=" + std::to_string(options.limitedOwner) +
                                   ",gid=" + std::to_string(options.limitedOwner);
  const std::string users = "0 " + std::to_string(::geteuid()) + " 1";
  const std::string groups = "0 " + std::to_string(::getegid()) + " 1";
  int ends[2];
  if (::pipe2(ends, O_CLOEXEC) != 0) throw std::runtime_error("no pipe for a server");

  ::prctl(PR_SET_CHILD_SUBREAPER, 1, 0, 0, 0);
  process_ = ::fork();
  if (process_ == 0) {
    ::setpgid(0, 0);
    const int output = ::open(options.outputFile.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0644);
    const int null = ::open("/dev/null", O_RDONLY | O_CLOEXEC);
    ::dup2(null, 0);
    ::dup2(output, 1);
    ::dup2(output, 2);
    if (options.asOwnRoot && !becomeOwnRoot(users.c_str(), groups.c_str())) ::_exit(125);
    if (!options.limitedDirectory.empty() && !mountLimited(options.limitedDirectory.c_str(), mountOptions.c_str())) {
      ::_exit(126);
    }
    ::execve(arguments[0], arguments.data(), environment.data());
    ::_exit(127);
  }
  if (process_ > 0) {
    ::setpgid(process_, process_);
    keeper_ = ::fork();
    if (keeper_ == 0) {
      ::close(ends[1]);
      keep(ends[0], process_);
    }
  }
  ::close(ends[0]);
  keeperPipe_ = ends[1];
  if (process_ < 0 || keeper_ < 0) {
    kill();
    throw std::runtime_error("no new process for a server");
  }
}

bool ServerProcess::isRunning() {
  if (process_ <= 0) return false;
  siginfo_t info{};
  return ::waitid(P_PID, static_cast<id_t>(process_), &info, WEXITED | WNOHANG | WNOWAIT) == 0 && info.si_pid == 0;
}

void ServerProcess::kill() {
  if (process_ > 0) {
    // Stopped, so that it starts nobody while its family is counted.
    ::kill(process_, SIGSTOP);
    killAndWait(familyOf(process_));
  }
  if (keeperPipe_ >= 0) ::close(keeperPipe_);
  if (keeper_ > 0) {
    ::kill(keeper_, SIGKILL);
    ::waitpid(keeper_, nullptr, 0);
  }
  process_ = keeper_ = keeperPipe_ = -1;
}

void ServerProcess::killChildren() {
  if (process_ <= 0) return;
  ::kill(process_, SIGSTOP);
  std::set<int> children = familyOf(process_);
  children.erase(process_);
  killAndWait(children);
  ::kill(process_, SIGCONT);
}

}  // namespace zephor_test
