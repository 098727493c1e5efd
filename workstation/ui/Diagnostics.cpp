#include "workstation/ui/Diagnostics.h"

#include <spdlog/logger.h>
#include <spdlog/sinks/rotating_file_sink.h>

#include <atomic>
#include <cerrno>
#include <deque>
#include <filesystem>
#include <memory>
#include <mutex>
#include <utility>

#include "platform/Text.h"
#include "workstation/ui/ErrorLog.h"
#include "workstation/ui/HostInterface.h"
#include "workstation/ui/LogText.h"
#include "workstation/ui/Terminal.h"

namespace workstation {
namespace {

constexpr std::size_t kFileSize = std::size_t{5} * 1024 * 1024;
/// Files kept beside the one that is being written.
constexpr std::size_t kOlderFiles = 2;
constexpr std::size_t kRecentLines = 200;

using Logger = std::shared_ptr<spdlog::logger>;
using LineListener = std::function<void(const std::wstring&)>;

struct Diagnostics {
  std::atomic<int> traceLevel{0};
  std::mutex mutex;
  Logger errors;
  Logger trace;
  std::deque<std::wstring> recent;
  std::shared_ptr<const LineListener> listener;
};

// Never destroyed: threads and destructors of other objects may log until the process ends.
Diagnostics& diagnostics() {
  static Diagnostics& instance = *new Diagnostics;
  return instance;
}

/// @return null when the file can't be opened
Logger openLog(const std::filesystem::path& file) {
  try {
    auto sink = std::make_shared<spdlog::sinks::rotating_file_sink_mt>(file.string(), kFileSize, kOlderFiles);
    auto logger = std::make_shared<spdlog::logger>(file.stem().string(), std::move(sink));
    logger->set_pattern("%Y-%m-%d %H:%M:%S.%e %t %v");
    logger->set_level(spdlog::level::trace);
    // A crash must not take with it the lines that explain it.
    logger->flush_on(spdlog::level::trace);
    return logger;
  } catch (const spdlog::spdlog_ex&) {
    return nullptr;
  }
}

std::wstring logText(const std::wstring& text) {
  std::wstring result = withVisibleControls(withoutSecrets(text));
  if (result.ends_with(L'\n')) result.pop_back();
  return result;
}

void writeTo(const Logger& logger, const std::wstring& text) {
  if (logger != nullptr) logger->log(spdlog::level::info, platform::toUtf8(text));
}

void tellListener(const std::shared_ptr<const LineListener>& listener, const std::wstring& line) {
  thread_local bool telling = false;
  if (listener == nullptr || telling) return;
  telling = true;
  (*listener)(line);
  telling = false;
}

/// Callers log first and look at errno then.
class KeptErrno {
 public:
  KeptErrno() = default;
  ~KeptErrno() { errno = value_; }
  KeptErrno(const KeptErrno&) = delete;
  KeptErrno& operator=(const KeptErrno&) = delete;

 private:
  const int value_ = errno;
};

}  // namespace

void startDiagnostics(const std::string& logDirectory, int traceLevel) {
  std::error_code ignored;
  std::filesystem::create_directories(logDirectory, ignored);
  const std::filesystem::path directory(logDirectory);
  Logger errors = openLog(directory / "zephor-error.log");
  Logger trace = traceLevel > 0 ? openLog(directory / "zephor-trace.log") : nullptr;
  const bool opened = errors != nullptr && (trace != nullptr || traceLevel <= 0);

  Diagnostics& all = diagnostics();
  {
    const std::lock_guard lock(all.mutex);
    all.errors.swap(errors);
    all.trace.swap(trace);
    all.traceLevel = traceLevel;
  }
  if (!opened) {
    writeErrorLine(platform::formatWide(L"The log files can't be written: %s\n", platform::fromUtf8(logDirectory)));
  }
}

void stopDiagnostics() {
  Diagnostics& all = diagnostics();
  const std::lock_guard lock(all.mutex);
  all.errors.reset();
  all.trace.reset();
  all.traceLevel = 0;
}

void writeErrorLine(const std::wstring& line) {
  const KeptErrno keptErrno;
  const std::wstring text = logText(line);
  Diagnostics& all = diagnostics();
  Logger logger;
  std::shared_ptr<const LineListener> listener;
  {
    const std::lock_guard lock(all.mutex);
    all.recent.push_back(text);
    if (all.recent.size() > kRecentLines) all.recent.pop_front();
    logger = all.errors;
    listener = all.listener;
  }
  writeTo(logger, text);
  if (all.traceLevel >= 1) standardTerminal().write(text + L'\n');
  tellListener(listener, text);
}

void writeTraceText(const std::wstring& text) {
  const KeptErrno keptErrno;
  Diagnostics& all = diagnostics();
  Logger logger;
  {
    const std::lock_guard lock(all.mutex);
    logger = all.trace;
  }
  if (logger != nullptr) writeTo(logger, logText(text));
}

bool isTraced(int level) {
  return level <= diagnostics().traceLevel;
}

std::vector<std::wstring> recentErrorLines() {
  Diagnostics& all = diagnostics();
  const std::lock_guard lock(all.mutex);
  return {all.recent.begin(), all.recent.end()};
}

void setErrorLineListener(std::function<void(const std::wstring&)> listener) {
  auto next = listener ? std::make_shared<const LineListener>(std::move(listener)) : nullptr;
  Diagnostics& all = diagnostics();
  const std::lock_guard lock(all.mutex);
  all.listener.swap(next);
}

}  // namespace workstation
