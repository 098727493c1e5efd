#include "workstation/program/ServerPassword.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <termios.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdlib>
#include <cstring>

#include "platform/Paths.h"
#include "platform/Text.h"
#include "workstation/program/Context.h"

namespace workstation::program {

namespace {

constexpr std::size_t kLongestPassword = 1024;
constexpr const char* kEnvironment = "ZEPHOR_SERVER_PASSWORD";

class Descriptor {
 public:
  explicit Descriptor(int number) : number_(number) {}
  ~Descriptor() {
    if (number_ >= 0) ::close(number_);
  }
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;
  int number() const { return number_; }

 private:
  int number_;
};

/// Keeps the terminal from showing what is typed while it lives.
class SilentTerminal {
 public:
  explicit SilentTerminal(int terminal) : terminal_(terminal) {
    if (::tcgetattr(terminal_, &before_) != 0) return;
    termios silent = before_;
    silent.c_lflag &= ~static_cast<tcflag_t>(ECHO);
    isSilent_ = ::tcsetattr(terminal_, TCSAFLUSH, &silent) == 0;
  }
  ~SilentTerminal() {
    if (isSilent_) ::tcsetattr(terminal_, TCSAFLUSH, &before_);
  }
  SilentTerminal(const SilentTerminal&) = delete;
  SilentTerminal& operator=(const SilentTerminal&) = delete;
  bool isSilent() const { return isSilent_; }

 private:
  int terminal_;
  termios before_{};
  bool isSilent_ = false;
};

/// The text as a password. Throws CommandFailure, without the text, when it can be none.
std::wstring checkedPassword(const std::string& text, const std::wstring& source) {
  const bool hasControl = text.find_first_of(std::string("\0\r\n", 3)) != std::string::npos;
  if (text.empty() || text.size() > kLongestPassword || hasControl || !platform::isValidUtf8(text)) {
    throw CommandFailure{ExitCode::Failure, source + L": expected a password of 1 to 1024 bytes of UTF-8 in one line"};
  }
  return platform::fromUtf8(text);
}

std::string firstLine(std::string text) {
  text.resize(std::min(text.find('\n'), text.size()));
  if (!text.empty() && text.back() == '\r') text.pop_back();
  return text;
}

std::string readUpTo(int descriptor, std::size_t size) {
  std::string text;
  std::array<char, 512> buffer{};
  while (text.size() < size) {
    const ssize_t count = ::read(descriptor, buffer.data(), buffer.size());
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) break;
    text.append(buffer.data(), static_cast<std::size_t>(count));
    if (text.find('\n') != std::string::npos) break;
  }
  return text;
}

}  // namespace

std::wstring readPasswordFile(const std::string& path) {
  const std::wstring shown = wide(path);
  const Descriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
  struct stat status {};
  if (file.number() < 0 || ::fstat(file.number(), &status) != 0) {
    throw CommandFailure{ExitCode::Failure,
                         shown + L": the password file can't be read: " + platform::fromUtf8(std::strerror(errno))};
  }
  if (!S_ISREG(status.st_mode)) throw CommandFailure{ExitCode::Failure, shown + L": expected a file with a password"};
  if (status.st_uid != ::geteuid() || (status.st_mode & (S_IRWXG | S_IRWXO)) != 0) {
    throw CommandFailure{ExitCode::Failure,
                         shown + L": others may read this password file; expected one of your own with the mode 600"};
  }
  return checkedPassword(firstLine(readUpTo(file.number(), kLongestPassword + 2)), shown);
}

bool promptForPassword(const std::wstring& server, std::wstring& password) {
  if (::isatty(STDIN_FILENO) == 0) return false;
  const Descriptor terminal(::open("/dev/tty", O_RDWR | O_CLOEXEC | O_NOCTTY));
  if (terminal.number() < 0) return false;
  const SilentTerminal silence(terminal.number());
  if (!silence.isSilent()) return false;
  const auto say = [&](const std::string& text) {
    [[maybe_unused]] const ssize_t written = ::write(terminal.number(), text.data(), text.size());
  };
  say("Password for " + platform::toUtf8(server) + ": ");
  const std::string typed = firstLine(readUpTo(terminal.number(), kLongestPassword + 2));
  say("\n");
  if (typed.empty()) return false;
  password = checkedPassword(typed, L"what was typed");
  return true;
}

std::wstring passwordOfEnvironment() {
  const char* const value = std::getenv(kEnvironment);
  if (value == nullptr || *value == '\0') return {};
  return checkedPassword(value, platform::fromUtf8(kEnvironment));
}

std::wstring passwordFor(const std::wstring& name, const ServerSettings& server, const std::string& passwordFile) {
  if (!passwordFile.empty()) return readPasswordFile(passwordFile);
  if (std::wstring password = passwordOfEnvironment(); !password.empty()) return password;
  if (!server.password.empty()) {
    std::wstring file;
    if (!areSettingsPrivate(file)) {
      const std::wstring path = platform::fromUtf8(platform::systemPath(file));
      throw CommandFailure{ExitCode::Failure,
                           path + L" holds passwords and others may read it; chmod 600 '" + path + L"'"};
    }
    return server.password;
  }
  std::wstring password;
  const bool isAnonymous = server.userName.empty() || server.userName == L"anonymous" || server.userName == L"ftp";
  if (isAnonymous || promptForPassword(name, password)) return password;
  throw CommandFailure{ExitCode::NotLoggedIn,
                       L"there is no password for " + name +
                           L" and nobody to ask; give it with --password-file or in ZEPHOR_SERVER_PASSWORD"};
}

}  // namespace workstation::program
