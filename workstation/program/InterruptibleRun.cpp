#include "workstation/program/InterruptibleRun.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/file.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <set>
#include <system_error>
#include <vector>

#include "platform/Files.h"
#include "platform/Paths.h"
#include "platform/Text.h"
#include "workstation/program/Context.h"

namespace workstation::program {

namespace {

namespace fs = std::filesystem;

constexpr int kInterrupted = 130;
constexpr int kEndings[] = {SIGINT, SIGTERM, SIGHUP};
constexpr const char* kAnnounced = "announced";

[[noreturn]] void refuse(const std::string& what) {
  throw CommandFailure{ExitCode::Failure, platform::fromUtf8(what + ": " + std::generic_category().message(errno))};
}

std::string makeScratch() {
  const char* const configured = std::getenv("TMPDIR");
  std::string path =
      (configured != nullptr && *configured == '/' ? configured : "/tmp") + std::string("/zephor-XXXXXX");
  if (::mkdtemp(path.data()) == nullptr) refuse("a directory for temporary files can't be made, " + path);
  return path;
}

bool isWorkName(const std::string& name, const std::string& prefix) {
  return name.starts_with(prefix) && name.ends_with(".tmp");
}

std::set<std::string> workNames(const std::string& directory, const std::string& prefix) {
  std::set<std::string> names;
  std::error_code error;
  for (fs::directory_iterator entry(directory, error), end; !error && entry != end; entry.increment(error)) {
    const std::string name = entry->path().filename().string();
    if (isWorkName(name, prefix)) names.insert(name);
  }
  return names;
}

/// Directories above a place that are not there, the deepest first; the place itself among them.
std::vector<std::string> missingDirectories(fs::path place) {
  std::vector<std::string> missing;
  std::error_code error;
  for (; !place.empty() && !fs::exists(place, error) && place != place.parent_path(); place = place.parent_path())
    missing.push_back(place.string());
  return missing;
}

/// The signals that are waited for; blocked while it lives.
class BlockedSignals {
 public:
  BlockedSignals() {
    // One that was started deaf to its terminal, behind nohup or as a script's job in the background, stays so; one
    // whose children go unheard could not wait for its own.
    ::signal(SIGCHLD, SIG_DFL);
    sigemptyset(&set_);
    for (const int ending : kEndings) {
      struct sigaction before = {};
      sigaction(ending, nullptr, &before);
      if (before.sa_handler != SIG_IGN) sigaddset(&set_, ending);
    }
    sigaddset(&set_, SIGCHLD);
    sigprocmask(SIG_BLOCK, &set_, &before_);
  }
  ~BlockedSignals() { restore(); }
  BlockedSignals(const BlockedSignals&) = delete;
  BlockedSignals& operator=(const BlockedSignals&) = delete;
  void restore() const { sigprocmask(SIG_SETMASK, &before_, nullptr); }

  /// @param status  of the child, as waitpid tells it
  /// @return true when it was ended by a signal that came here
  bool waitFor(pid_t child, int& status) const {
    bool isEnded = false;
    while (::waitpid(child, &status, WNOHANG) != child) {
      int signal = 0;
      sigwait(&set_, &signal);
      if (signal == SIGCHLD) continue;
      isEnded = true;
      ::kill(child, SIGKILL);
      ::waitpid(child, &status, 0);
      break;
    }
    return isEnded;
  }

 private:
  sigset_t set_{};
  sigset_t before_{};
};

}  // namespace

bool WorkPlaces::announce(const Context& context, const std::string& directory, const std::string& prefix) const {
  const std::vector<std::string> missing = missingDirectories(directory);
  const std::string lockable = missing.empty() ? directory : fs::path(missing.back()).parent_path().string();
  // Kept until the process ends. Where the file system has no such locks, nobody waits.
  const int lock = ::open(lockable.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  bool isAlone = lock >= 0 && ::flock(lock, LOCK_EX | LOCK_NB) == 0;
  if (lock >= 0 && !isAlone && errno == EWOULDBLOCK) {
    context.output().message(L"another program works in " + platform::fromUtf8(lockable) + L"; waiting");
    isAlone = ::flock(lock, LOCK_EX) == 0;
  }
  std::ofstream file(scratch_ + '/' + kAnnounced, std::ios::binary);
  const auto write = [&file](const std::string& text) { file << text << '\0'; };
  write(directory);
  write(prefix);
  for (const std::string& name : workNames(directory, prefix)) write(name);
  write("");
  for (const std::string& name : missing) write(name);
  return isAlone;
}

void WorkPlaces::clean() const {
  std::ifstream file(scratch_ + '/' + kAnnounced, std::ios::binary);
  std::string directory;
  std::string prefix;
  if (std::getline(file, directory, '\0') && std::getline(file, prefix, '\0')) {
    std::set<std::string> before;
    std::string text;
    while (std::getline(file, text, '\0') && !text.empty()) before.insert(text);
    for (const std::string& name : workNames(directory, prefix)) {
      if (!before.contains(name)) platform::removeTree(platform::libraryPath((fs::path(directory) / name).string()));
    }
    while (std::getline(file, text, '\0')) ::rmdir(text.c_str());
  }
  platform::removeTree(platform::libraryPath(scratch_));
}

ExitCode runInterruptible(const Context& context, const std::wstring& whenEnded,
                          const std::function<ExitCode(const WorkPlaces&)>& work) {
  const WorkPlaces places(makeScratch());
  const BlockedSignals signals;
  const pid_t parent = ::getpid();
  const pid_t child = ::fork();
  if (child < 0) {
    ::rmdir(places.scratch().c_str());
    refuse("no process can be started");
  }
  if (child == 0) {
    // A terminal sends its signals to both; the parent decides.
    for (const int ending : kEndings) ::signal(ending, SIG_IGN);
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (::getppid() != parent) ::_exit(kInterrupted);
    signals.restore();
    ::setenv("TMPDIR", places.scratch().c_str(), 1);
    return work(places);
  }
  int status = 0;
  const bool isEnded = signals.waitFor(child, status);
  places.clean();
  if (isEnded) {
    // The work may have left its progress in the line.
    if (::isatty(STDERR_FILENO) != 0) std::fputs("\r\x1b[K", stderr);
    context.output().error(L"zephor: interrupted; " + whenEnded);
    return static_cast<ExitCode>(kInterrupted);
  }
  if (WIFEXITED(status)) return static_cast<ExitCode>(WEXITSTATUS(status));
  throw CommandFailure{ExitCode::Failure, L"the work was ended by signal " + std::to_wstring(WTERMSIG(status))};
}

}  // namespace workstation::program
