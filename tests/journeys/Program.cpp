#include "tests/journeys/Program.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <cstdlib>
#include <fstream>
#include <iterator>

namespace zephor_test {

namespace {

std::array<int, 2> makePipe() {
  std::array<int, 2> ends{-1, -1};
  // Not for the programs that other threads start: they would hold them open.
  if (::pipe2(ends.data(), O_CLOEXEC) != 0) ADD_FAILURE() << "no pipe";
  return ends;
}

}  // namespace

Office::Office() {
  for (char** variable = environ; *variable != nullptr; ++variable) environment_.emplace_back(*variable);
  std::string name = (std::filesystem::temp_directory_path() / "zephor-journey-XXXXXX").string();
  directory_ = ::mkdtemp(name.data());
}

Office::~Office() {
  std::error_code ignored;
  std::filesystem::remove_all(directory_, ignored);
  ::clearenv();
  for (const std::string& variable : environment_) {
    const std::size_t end = variable.find('=');
    ::setenv(variable.substr(0, end).c_str(), variable.substr(end + 1).c_str(), 1);
  }
}

RunningProgram::RunningProgram(int pid, int out, int err) : pid_(pid), out_(out), err_(err) {}

RunningProgram::~RunningProgram() {
  if (pid_ > 0) {
    signal(SIGKILL);
    end();
  }
}

bool RunningProgram::read(int limit) {
  std::array<pollfd, 2> ends{pollfd{out_, POLLIN, 0}, pollfd{err_, POLLIN, 0}};
  if (::poll(ends.data(), ends.size(), limit) <= 0) return false;
  for (std::size_t i = 0; i < ends.size(); ++i) {
    if (ends[i].fd < 0 || ends[i].revents == 0) continue;
    char buffer[4096];
    const ssize_t size = ::read(ends[i].fd, buffer, sizeof buffer);
    if (size > 0) {
      (i == 0 ? run_.out : run_.err).append(buffer, static_cast<std::size_t>(size));
    } else {
      ::close(ends[i].fd);
      (i == 0 ? out_ : err_) = -1;
    }
  }
  return true;
}

bool RunningProgram::waitUntil(const std::function<bool(const ProgramRun&)>& isTrue) {
  constexpr auto kLimit = std::chrono::minutes(1);
  const auto end = std::chrono::steady_clock::now() + kLimit;
  while (!isTrue(soFar())) {
    if (std::chrono::steady_clock::now() > end) {
      ADD_FAILURE() << "waited in vain; the program wrote\n" << run_.out << run_.err;
      return false;
    }
    read(20);
  }
  return true;
}

bool RunningProgram::waitFor(const std::string& text) {
  return waitUntil([&](const ProgramRun& run) {
    return run.out.find(text) != std::string::npos || run.err.find(text) != std::string::npos;
  });
}

const ProgramRun& RunningProgram::soFar() {
  read(0);
  return run_;
}

void RunningProgram::signal(int number) const {
  ::kill(pid_, number);
}

ProgramRun RunningProgram::end(int killAfter) {
  while (out_ >= 0 || err_ >= 0) {
    if (read(killAfter)) continue;
    signal(SIGKILL);
    killAfter = -1;
  }
  int status = 0;
  ::waitpid(pid_, &status, 0);
  pid_ = -1;
  run_.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : 1000 + WTERMSIG(status);
  return run_;
}

std::unique_ptr<RunningProgram> Office::start(const std::string& user,
                                              const std::vector<std::string>& arguments) const {
  const std::string workstation = (directory_ / user).string();
  const std::string trash = (directory_ / (user + "-desktop")).string();
  std::vector<std::string> words{ZEPHOR_PROGRAM, "--workstation", workstation};
  words.insert(words.end(), arguments.begin(), arguments.end());
  std::vector<char*> argv;
  for (auto& word : words) argv.push_back(word.data());
  argv.push_back(nullptr);
  const auto out = makePipe();
  const auto err = makePipe();
  const pid_t child = ::fork();
  if (child == 0) {
    ::setenv("XDG_DATA_HOME", trash.c_str(), 1);
    ::setenv("LANG", "C.UTF-8", 1);
    ::dup2(out[1], STDOUT_FILENO);
    ::dup2(err[1], STDERR_FILENO);
    ::execv(argv[0], argv.data());
    ::_exit(127);
  }
  ::close(out[1]);
  ::close(err[1]);
  return std::make_unique<RunningProgram>(child, out[0], err[0]);
}

ProgramRun Office::run(const std::string& user, const std::vector<std::string>& arguments, int killAfter) const {
  return start(user, arguments)->end(killAfter);
}

std::string Office::must(const std::string& user, const std::vector<std::string>& arguments) const {
  const ProgramRun result = run(user, arguments);
  std::string command;
  for (const auto& argument : arguments) command += " " + argument;
  EXPECT_EQ(result.exitCode, 0) << user << command << "\n" << result.out << result.err;
  return result.out;
}

void Office::found(const std::vector<std::string>& users) {
  must("admin", {"store", "create", store().string()});
  for (const auto& user : users) {
    must(user, {"init", "--store", store().string(), "--name", user, "--email", user + "@example.org"});
  }
  must(users.front(), {"team", "create", "Office"});
  must(users.front(), {"project", "create", "Library", "--team", "Office"});
  must(users.front(), {"open", "Library"});
  for (std::size_t i = 1; i < users.size(); ++i) {
    must(users.front(), {"team", "add", "Office", users[i] + "@example.org"});
    must(users.front(), {"project", "add", users[i] + "@example.org"});
    must(users[i], {"open", "Library"});
  }
}

void Office::share(const std::string& user, const std::string& content) const {
  must(user, {"import", writeFile("shared.dxf", content).string()});
  must(user, {"lock", "tb1"});
  must(user, {"save", "tb1"});
}

std::string Office::exported(const std::string& user, const std::string& object) const {
  must(user, {"export", "--yes", object, path("exported").string()});
  return contentOf(path("exported"));
}

std::filesystem::path Office::project(const std::string& user) const {
  for (const auto& entry : std::filesystem::recursive_directory_iterator(directory_ / user)) {
    if (entry.is_directory() && entry.path().extension() == ".prj") return entry.path();
  }
  ADD_FAILURE() << user << " has no project";
  // Below the office, or a test that goes on would write where it was started.
  return directory_ / user / "no project";
}

std::filesystem::path Office::writeFile(const std::string& name, const std::string& content) const {
  std::ofstream(path(name), std::ios::binary) << content;
  return path(name);
}

std::string contentOf(const std::filesystem::path& file) {
  std::ifstream stream(file, std::ios::binary);
  return {std::istreambuf_iterator<char>(stream), {}};
}

std::map<std::string, std::string> treeOf(const std::filesystem::path& root) {
  std::map<std::string, std::string> tree;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(root)) {
    const std::string name = entry.path().lexically_relative(root).string();
    tree[name] = entry.is_directory() ? "(directory)" : contentOf(entry.path());
  }
  return tree;
}

}  // namespace zephor_test
