#include "workstation/program/Context.h"

#include <unistd.h>

#include <algorithm>
#include <iterator>
#include <mutex>
#include <vector>

#include "host/Project.h"
#include "platform/Files.h"
#include "platform/Paths.h"
#include "platform/Text.h"
#include "platform/Time.h"
#include "platform/UserInterface.h"
#include "workstation/Session.h"
#include "workstation/program/InterfaceChoice.h"
#include "workstation/store/CloudStore.h"
#include "workstation/store/Containers.h"
#include "workstation/store/StoreContext.h"
#include "workstation/ui/DisplayInfo.h"
#include "workstation/ui/ErrorLog.h"
#include "workstation/ui/Terminal.h"
#include "workstation/ui/TerminalInterface.h"
#include "zephor/ResourceContainers.h"
#include "zephor/Service.h"
#include "zephor/Workgroup.h"

namespace workstation::program {

namespace {

constexpr std::size_t kMostErrorLines = 20;
constexpr const wchar_t* kGuardDirectory = L"C:\\State";
constexpr const wchar_t* kGuardEnding = L".guard";
constexpr const wchar_t* kWatchEnding = L".watch";
constexpr DWORD kGuardPause = 100;     // milliseconds
constexpr DWORD kGuardLimit = 120000;  // milliseconds

TerminalOptions terminalOptions(const GlobalOptions& options) {
  TerminalOptions result;
  result.quiet = options.quiet;
  result.assumeYes = options.yes;
  result.assumeNo = options.no;
  result.details = options.verbosity > 0;
  return result;
}

/// True for a line that frames an operation in the log, or tells a step that went well, and explains nothing to a
/// person.
bool isFrameLine(const std::wstring& line) {
  for (const wchar_t* const part : {L": **********", L": get TBHeader for "}) {
    if (line.find(part) != std::wstring::npos) return true;
  }
  for (const wchar_t* const ending : {L": ", L": Start", L": End", L"= start", L"= end"}) {
    if (line.ends_with(ending)) return true;
  }
  return false;
}

}  // namespace

/// Lines of the error log, from any thread.
struct Context::ErrorLines {
  std::mutex mutex;
  std::vector<std::wstring> lines;
};

std::wstring wide(const std::string& argument) {
  if (!platform::isValidUtf8(argument)) {
    throw CommandFailure{ExitCode::Usage, L"an argument is not UTF-8: " + platform::fromUtf8(argument)};
  }
  return platform::fromUtf8(argument);
}

Context::Context(const GlobalOptions& options)
    : options_(options),
      output_(options.json, options.quiet, options.verbosity),
      terminal_(std::make_unique<TerminalInterface>(standardTerminal(), terminalOptions(options))),
      errorLines_(std::make_shared<ErrorLines>()) {
  platform::setUserInterface(terminal_.get());
  // In a log the results say it all.
  if (standardTerminal().canRedraw()) {
    setDisplayInfoListener([this](const std::wstring& text) { terminal_->showStatus(text); });
  }
  setErrorLineListener([lines = errorLines_](const std::wstring& line) {
    const std::lock_guard guard(lines->mutex);
    const bool known = std::find(lines->lines.begin(), lines->lines.end(), line) != lines->lines.end();
    if (!known && lines->lines.size() < kMostErrorLines) lines->lines.push_back(line);
  });
}

Context::~Context() {
  if (serviceStarted_) Quorvel::FileAccess::WGO_Service_Uninitialize();
  store_.reset();
  if (started_) finish();
  setErrorLineListener({});
  setDisplayInfoListener({});
  platform::setUserInterface(nullptr);
}

void Context::chooseInterface() {
  desktop_ = desktopIfWanted(options_, *terminal_);
  if (desktop_) platform::setUserInterface(desktop_.get());
}

void Context::tellFailure(const std::wstring& message) const {
  output_.error(L"zephor: " + message);
  // Whoever reads the error stream has it already; a window would only keep a program waiting for a person.
  if (!desktop_ || !leadsNowhere(STDERR_FILENO)) return;
  platform::MessageBoxRequest request;
  request.text = message;
  request.caption = L"zephor";
  request.style = MB_OK | MB_ICONHAND;
  for (const auto& line : errorLines()) request.details += line + L'\n';
  desktop_->messageBox(request);
}

std::vector<std::wstring> Context::errorLines() const {
  const std::lock_guard guard(errorLines_->mutex);
  std::vector<std::wstring> lines;
  std::remove_copy_if(errorLines_->lines.begin(), errorLines_->lines.end(), std::back_inserter(lines), isFrameLine);
  return lines;
}

void Context::explain() const {
  for (const auto& line : errorLines()) output_.error(L"  " + line);
}

std::size_t Context::errorCount() const {
  return errorLines().size();
}

void Context::startWorkstation() {
  if (started_) return;
  StartOptions start;
  start.directory = options_.workstation;
  start.storeDirectory = options_.store;
  start.language = options_.language;
  if (options_.verbosity > 0) start.traceLevel = options_.verbosity - 1;
  std::wstring error;
  if (!workstation::start(start, error)) throw CommandFailure{ExitCode::NotLoggedIn, error};
  started_ = true;
}

void Context::startOnline() {
  if (serviceStarted_) return;
  startWorkstation();
  CloudStatus status = 0;
  std::wstring error;
  store_ = currentStore(status, error);
  if (!store_) throw CommandFailure{ExitCode::NotLoggedIn, error};
  if (!Quorvel::FileAccess::WGO_SSOLogin(true)) {
    throw CommandFailure{ExitCode::NotLoggedIn, identity().user.email + L" can't sign in to the store " +
                                                    platform::fromUtf8(store_->directory()) + L": " +
                                                    CloudStore::lastText()};
  }
  Quorvel::FileAccess::WGO_Service_Initialize(Quorvel::FileAccess::eWGOInit_Default);
  serviceStarted_ = true;
  if (const std::wstring container = subscribedContainer(); !container.empty())
    Quorvel::FileAccess::WGO_SwitchSTDPathsToCORCachePath(container);
}

bool Context::startInProjectIfAny() {
  try {
    startWorkstation();
  } catch (const CommandFailure&) {
    return false;
  }
  startOnline();
  std::wstring error;
  if (options_.project.empty() && !reopenLastProject(error) && error.empty()) return false;
  startInProject();
  return true;
}

void Context::startInProject() {
  startOnline();
  std::wstring error;
  const bool open =
      options_.project.empty() ? reopenLastProject(error) : openProjectForRun(wide(options_.project), error);
  if (!open) {
    throw CommandFailure{
        ExitCode::Failure,
        error.empty() ? L"no project is open. Open one: zephor open PROJECT, or name it with --project" : error};
  }
  enterProject();
}

void Context::enterProject() {
  const PRJ project = get_ActivePrj();
  const int result = Quorvel::FileAccess::WGO_InitForProjectOpen(project);
  if (result == static_cast<int>(Quorvel::FileAccess::kNoCloudLogin)) {
    throw CommandFailure{ExitCode::NotLoggedIn, L"no login to the cloud service"};
  }
  if (result != 0) {
    throw CommandFailure{ExitCode::Failure, L"the project " + project.GetProjectDisplayName() +
                                                L" can't be opened (code " + std::to_wstring(result) + L")"};
  }
}

ProjectGuard::~ProjectGuard() {
  CloseHandle(file_);
}

namespace {

/// Opens a file of the project that one process at a time has open. @return no handle when another has it
HANDLE takeAlone(const std::wstring& ending) {
  SHCreateDirectoryExW(nullptr, kGuardDirectory, nullptr);
  const std::wstring path = platform::joinPath(kGuardDirectory, get_ActivePrj().GetOndrathProjectUuid() + ending);
  const HANDLE file = CreateFileW(path.c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr, OPEN_ALWAYS, 0, nullptr);
  if (file == INVALID_HANDLE_VALUE && GetLastError() != ERROR_SHARING_VIOLATION) {
    throw CommandFailure{ExitCode::Failure,
                         platform::formatWide(L"%s can't be opened (error %u)", path, GetLastError())};
  }
  return file;
}

std::unique_ptr<ProjectGuard> guardOf(HANDLE file) {
  return file == INVALID_HANDLE_VALUE ? nullptr : std::make_unique<ProjectGuard>(file);
}

}  // namespace

std::unique_ptr<ProjectGuard> Context::tryGuardProject() const {
  return guardOf(takeAlone(kGuardEnding));
}

std::unique_ptr<ProjectGuard> Context::tryWatchProject() const {
  return guardOf(takeAlone(kWatchEnding));
}

ProjectGuard Context::guardProject() const {
  for (DWORD waited = 0;; waited += kGuardPause) {
    const HANDLE file = takeAlone(kGuardEnding);
    if (file != INVALID_HANDLE_VALUE) return ProjectGuard(file);
    if (waited == 0) output_.message(L"another zephor is changing this project; waiting");
    if (waited >= kGuardLimit) {
      throw CommandFailure{ExitCode::Failure,
                           L"another zephor keeps changing this project on this workstation; try again"};
    }
    Sleep(kGuardPause);
  }
}

CloudStore& Context::store() {
  return *store_;
}

StoreActor Context::actor() const {
  return storeActor();
}

}  // namespace workstation::program
