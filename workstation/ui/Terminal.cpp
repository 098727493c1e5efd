#include "workstation/ui/Terminal.h"

#include <poll.h>
#include <signal.h>  // NOLINT(modernize-deprecated-headers): POSIX signal sets
#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

#include <cerrno>
#include <ctime>
#include <string_view>

#include "platform/SecureMemory.h"
#include "platform/Text.h"
#include "workstation/ui/LogText.h"

namespace workstation {
namespace {

constexpr std::size_t kUsualWidth = 80;
/// Longer lines are no answers; the rest of one is read and dropped.
constexpr std::size_t kLongestLine = 4096;
constexpr std::string_view kEraseLine = "\r\x1b[K";

/// Keeps this thread from being ended by SIGPIPE while it lives. A SIGPIPE that waited before is left waiting.
class SuspendedBrokenPipe {
 public:
  SuspendedBrokenPipe() {
    sigset_t pending;
    sigemptyset(&pending);
    sigpending(&pending);
    wasPending_ = sigismember(&pending, SIGPIPE) == 1;
    sigemptyset(&brokenPipe_);
    sigaddset(&brokenPipe_, SIGPIPE);
    pthread_sigmask(SIG_BLOCK, &brokenPipe_, &before_);
  }
  ~SuspendedBrokenPipe() {
    const timespec noWait{};
    if (!wasPending_) {
      while (sigtimedwait(&brokenPipe_, nullptr, &noWait) < 0 && errno == EINTR) {
      }
    }
    pthread_sigmask(SIG_SETMASK, &before_, nullptr);
  }
  SuspendedBrokenPipe(const SuspendedBrokenPipe&) = delete;
  SuspendedBrokenPipe& operator=(const SuspendedBrokenPipe&) = delete;

 private:
  sigset_t brokenPipe_{};
  sigset_t before_{};
  bool wasPending_ = false;
};

/// Keeps the terminal from showing what is typed while it lives.
class SuspendedEcho {
 public:
  explicit SuspendedEcho(int terminal) : terminal_(terminal) {
    if (::tcgetattr(terminal_, &before_) != 0) return;
    termios silent = before_;
    // The program must not be ended while nothing is shown: the interrupt arrives as the end of a line.
    silent.c_lflag &= ~static_cast<tcflag_t>(ECHO | ISIG);
    silent.c_cc[VEOL] = before_.c_cc[VINTR];
    isSilent_ = ::tcsetattr(terminal_, TCSAFLUSH, &silent) == 0;
  }
  ~SuspendedEcho() {
    if (isSilent_) ::tcsetattr(terminal_, TCSANOW, &before_);
  }
  SuspendedEcho(const SuspendedEcho&) = delete;
  SuspendedEcho& operator=(const SuspendedEcho&) = delete;
  bool isSilent() const { return isSilent_; }
  char interrupt() const { return static_cast<char>(before_.c_cc[VINTR]); }

 private:
  int terminal_;
  termios before_{};
  bool isSilent_ = false;
};

/// The bytes of a line. Byte by byte: what follows the line belongs to whoever reads the input next.
/// @param interrupt  ends it without a line; 0 for none
bool readBytes(int input, std::string& bytes, char interrupt = '\0') {
  for (;;) {
    char byte = '\0';
    if (::read(input, &byte, 1) <= 0 || (interrupt != '\0' && byte == interrupt)) return false;
    if (byte == '\n') return true;
    if (bytes.size() < kLongestLine) bytes += byte;
  }
}

void writeAll(int output, std::string_view text) {
  const SuspendedBrokenPipe guard;
  while (!text.empty()) {
    const ssize_t written = ::write(output, text.data(), text.size());
    if (written >= 0) {
      text.remove_prefix(static_cast<std::size_t>(written));
    } else if (errno == EAGAIN) {
      pollfd wait{output, POLLOUT, 0};
      if (::poll(&wait, 1, -1) < 0 && errno != EINTR) return;
    } else if (errno != EINTR) {
      return;
    }
  }
}

std::string visibleUtf8(std::wstring_view text) {
  return platform::toUtf8(withVisibleControls(text));
}

}  // namespace

Terminal::Terminal(int input, int output)
    : input_(input),
      output_(output),
      canAsk_(::isatty(input) == 1 && ::isatty(output) == 1),
      canRedraw_(::isatty(output) == 1) {}

std::size_t Terminal::width() const {
  winsize size{};
  if (::ioctl(output_, TIOCGWINSZ, &size) != 0 || size.ws_col == 0) return kUsualWidth;
  return size.ws_col;
}

void Terminal::clearLineLocked() {
  if (!lineShown_) return;
  writeAll(output_, kEraseLine);
  lineShown_ = false;
}

void Terminal::write(const std::wstring& text) {
  const std::string bytes = visibleUtf8(text);
  const std::lock_guard lock(mutex_);
  clearLineLocked();
  writeAll(output_, bytes);
}

void Terminal::redraw(const std::wstring& text) {
  if (!canRedraw_) return;
  std::wstring line = withVisibleControls(text);
  for (wchar_t& c : line) {
    if (c == L'\n' || c == L'\t') c = L' ';
  }
  // The last column stays free: filling it would move some terminals to the next line.
  line.resize(std::min(line.size(), width() - 1));
  const std::lock_guard lock(mutex_);
  writeAll(output_, std::string(kEraseLine) + platform::toUtf8(line));
  lineShown_ = true;
}

void Terminal::clearLine() {
  const std::lock_guard lock(mutex_);
  clearLineLocked();
}

bool Terminal::readLine(std::wstring& line) {
  std::string bytes;
  if (!readBytes(input_, bytes)) return false;
  line = platform::fromUtf8(bytes);
  return true;
}

bool Terminal::readSecret(const std::wstring& prompt, std::wstring& line) {
  const SuspendedEcho silence(input_);
  if (!silence.isSilent()) return false;
  write(prompt);
  std::string bytes;
  bytes.reserve(kLongestLine);
  const bool isRead = readBytes(input_, bytes, silence.interrupt());
  std::wstring text = platform::fromUtf8(bytes);
  line.assign(text, 0, line.capacity());
  platform::wipe(bytes);
  platform::wipe(text);
  write(L"\n");
  return isRead;
}

Terminal& standardTerminal() {
  static Terminal& instance = *new Terminal(STDIN_FILENO, STDERR_FILENO);
  return instance;
}

}  // namespace workstation
