// The desktop's opener, and ShellExecuteW over it.
#include <fcntl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include "platform/Errors.h"
#include "platform/Messages.h"
#include "platform/Paths.h"
#include "platform/Text.h"
#include "platform/UserInterface.h"

namespace platform {
namespace {

constexpr int kStarted = 33;
constexpr int kNoOpener = 31;
constexpr const char* kOpener = "xdg-open";

bool isSchemeCharacter(wchar_t c) {
  return (c >= L'a' && c <= L'z') || (c >= L'A' && c <= L'Z') || (c >= L'0' && c <= L'9') || c == L'+' || c == L'.' ||
         c == L'-';
}

/// A scheme has two characters at least: one alone is a drive.
bool isLink(std::wstring_view target) {
  const std::size_t colon = target.find(L':');
  if (colon == std::wstring_view::npos || colon < 2 || target.front() == L'-') return false;
  for (const wchar_t c : target.substr(0, colon)) {
    if (!isSchemeCharacter(c)) return false;
  }
  return true;
}

/// @return an absolute path, or empty
std::string findOpener() {
  const char* const list = std::getenv("PATH");
  std::string_view rest = list != nullptr ? list : "/usr/local/bin:/usr/bin:/bin";
  while (!rest.empty()) {
    const std::size_t length = std::min(rest.find(':'), rest.size());
    std::string candidate = std::string(rest.substr(0, length)) + '/' + kOpener;
    // A relative entry would start whatever lies in the present directory.
    if (candidate.front() == '/' && length > 0 && ::access(candidate.c_str(), X_OK) == 0) return candidate;
    rest.remove_prefix(std::min(length + 1, rest.size()));
  }
  return {};
}

/// Between fork and exec: only what a signal handler may call.
[[noreturn]] void runOpener(const char* program, char* const* arguments, int report) {
  ::setsid();
  sigset_t none;
  sigemptyset(&none);
  sigprocmask(SIG_SETMASK, &none, nullptr);
  ::signal(SIGPIPE, SIG_DFL);
  const int nothing = ::open("/dev/null", O_RDWR);
  for (int standard = 0; nothing >= 0 && standard <= 2; ++standard) ::dup2(nothing, standard);
#ifdef SYS_close_range
  constexpr unsigned kCloseOnExec = 1U << 2U;
  ::syscall(SYS_close_range, 3U, ~0U, kCloseOnExec);
#endif
  ::execv(program, arguments);
  const int error = errno;
  if (::write(report, &error, sizeof error) < 0) ::_exit(126);
  ::_exit(127);
}

/// Starts a program that nobody waits for: its parent ends at once, so that it leaves no remains behind.
/// @return 0 or the errno of what failed
int startDetached(const std::string& program, std::string argument) {
  std::array<int, 2> report{};
  if (::pipe2(report.data(), O_CLOEXEC) != 0) return errno;
  std::string name = program;
  const std::array<char*, 3> arguments = {name.data(), argument.data(), nullptr};

  const pid_t middle = ::fork();
  if (middle == 0) {
    const pid_t child = ::fork();
    if (child == 0) runOpener(program.c_str(), arguments.data(), report[1]);
    ::_exit(child < 0 ? 1 : 0);
  }
  int error = middle < 0 ? errno : 0;
  ::close(report[1]);
  if (middle > 0) {
    int status = 0;
    while (::waitpid(middle, &status, 0) < 0 && errno == EINTR) {
    }
    if (!WIFEXITED(status) || WEXITSTATUS(status) != 0) error = EAGAIN;
    // Closed without a word by a successful exec.
    int failure = 0;
    ssize_t got = 0;
    do {
      got = ::read(report[0], &failure, sizeof failure);
    } while (got < 0 && errno == EINTR);
    if (got == static_cast<ssize_t>(sizeof failure)) error = failure;
  }
  ::close(report[0]);
  return error;
}

int codeOf(int error) {
  switch (error) {
    case ENOENT:
      return kNoOpener;
    case EACCES:
    case EPERM:
      return static_cast<int>(ERROR_ACCESS_DENIED);
    default:
      return static_cast<int>(ERROR_NOT_ENOUGH_MEMORY);
  }
}

}  // namespace

int openWithDesktop(const std::wstring& target) {
  if (target.empty() || target.find(L'\0') != std::wstring::npos) return static_cast<int>(ERROR_FILE_NOT_FOUND);
  std::string argument;
  if (isLink(target)) {
    argument = toUtf8(target);
  } else {
    argument = systemPath(target);
    if (argument.empty() || ::access(argument.c_str(), F_OK) != 0) return static_cast<int>(ERROR_FILE_NOT_FOUND);
  }
  const std::string opener = findOpener();
  if (opener.empty()) return kNoOpener;
  const int error = startDetached(opener, std::move(argument));
  return error == 0 ? kStarted : codeOf(error);
}

}  // namespace platform

HINSTANCE ShellExecuteW(HWND /*owner*/, const wchar_t* verb, const wchar_t* file, const wchar_t* /*parameters*/,
                        const wchar_t* /*directory*/, int /*show*/) {
  int answer = platform::kNoOpener;
  if (file == nullptr) {
    answer = static_cast<int>(ERROR_FILE_NOT_FOUND);
  } else if (verb == nullptr || _wcsicmp(verb, L"open") == 0) {
    answer = platform::userInterface().open(file);
  }
  return reinterpret_cast<HINSTANCE>(static_cast<std::intptr_t>(answer));
}
