#include "tests/support/TestWorkstation.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <stdexcept>

#include "host/Project.h"
#include "platform/Files.h"
#include "platform/Paths.h"
#include "platform/Text.h"
#include "workstation/Session.h"
#include "workstation/ui/ErrorLog.h"

namespace zephor_test {
namespace {

constexpr std::uint64_t kLargestFile = std::uint64_t{256} * 1024 * 1024;

[[noreturn]] void fail(const std::string& what, const std::wstring& why) {
  throw std::runtime_error(what + ": " + platform::toUtf8(why));
}

void check(CloudStatus status, const std::string& what) {
  if (status != workstation::kStoreOk) fail(what, workstation::CloudStore::lastText());
}

}  // namespace

TestWorkstation::TestWorkstation(const TestWorkstationOptions& options) : options_(options) {
  prepareEnvironment();
  workstation::WorkstationConfiguration configuration;
  configuration.language = options_.language;
  configuration.identity.user = {L"5a1c6f5e-7a0e-4c1e-9d5e-000000000001", L"Test User", L"test.user@example.org"};
  configuration.identity.workstationName = L"testing";
  configuration.identity.workstationId = L"5a1c6f5e-7a0e-4c1e-9d5e-0000000000ff";
  std::wstring error;
  if (options_.withStore) {
    if (options_.storeDirectory.empty()) {
      options_.storeDirectory = directory_.path("store");
      check(workstation::CloudStore::create(options_.storeDirectory, error), "create the store");
    }
    CloudStatus status = workstation::kStoreOk;
    store_ = workstation::CloudStore::open(options_.storeDirectory, status, error);
    if (store_ == nullptr) fail("open the store", error);
    check(store_->registerUser(configuration.identity.user), "register the user");
    configuration.storeDirectory = options_.storeDirectory;
  }
  if (!workstation::writeConfiguration(directory_.path("workstation"), configuration, false, error)) {
    fail("configure the workstation", error);
  }
  begin();
}

TestWorkstation::~TestWorkstation() {
  workstation::finish();
  platform::setUserInterface(nullptr);
}

// Everything that looks for the user's own directories finds them within the test's.
void TestWorkstation::prepareEnvironment() const {
  constexpr std::pair<const char*, const char*> kVariables[] = {{"HOME", "home"},
                                                                {"XDG_DATA_HOME", "home/data"},
                                                                {"XDG_CONFIG_HOME", "home/config"},
                                                                {"XDG_STATE_HOME", "home/state"},
                                                                {"APPDATA", "home/appdata"},
                                                                {"TMPDIR", "tmp"}};
  for (const auto& [variable, name] : kVariables) {
    const std::string place = directory_.path(name);
    std::filesystem::create_directories(place);
    // APPDATA is read as a library path, the others as paths of the system.
    const bool isLibraryPath = std::string_view(variable) == "APPDATA";
    const std::string value = isLibraryPath ? platform::toUtf8(platform::libraryPath(place)) : place;
    setenv(variable, value.c_str(), 1);  // NOLINT(concurrency-mt-unsafe): before any thread of the test
  }
}

void TestWorkstation::begin() {
  workstation::StartOptions start;
  start.directory = directory_.path("workstation");
  start.language = options_.language;
  start.deny = options_.deny;
  start.traceLevel = options_.traceLevel;
  std::wstring error;
  if (!workstation::start(start, error)) fail("start the workstation", error);
  platform::setUserInterface(&ui_);
}

void TestWorkstation::restart() {
  workstation::finish();
  begin();
  std::wstring error;
  if (!project_.empty() && !workstation::openProject(project_, error)) fail("open the project", error);
}

std::wstring TestWorkstation::createTeamAndProject(const std::wstring& name) {
  std::vector<workstation::StoreTeam> teams;
  check(store().teams(actor(), teams), "list the teams");
  std::wstring team = teams.empty() ? L"" : teams.front().uuid;
  if (team.empty()) check(store().createTeam(actor(), L"Team", team), "create the team");
  check(store().createProject(actor(), team, name, project_), "create the project");
  std::wstring error;
  if (!workstation::openProject(project_, error)) fail("open the project", error);
  return project_;
}

std::wstring TestWorkstation::path(const std::wstring& name) const {
  return platform::joinPath(directory_.libraryPath(), name);
}

std::wstring TestWorkstation::projectPath(const std::wstring& name) const {
  const std::wstring directory = get_ActPrjPath();
  return name.empty() ? directory : platform::joinPath(directory, name);
}

void TestWorkstation::writeFile(const std::wstring& libraryPath, const std::string& bytes) {
  SHCreateDirectoryExW(nullptr, platform::directoryOf(libraryPath).c_str(), nullptr);
  const DWORD error = platform::writeFileAtomically(libraryPath, bytes.data(), bytes.size());
  if (error != ERROR_SUCCESS) fail("write a file", libraryPath);
}

std::string TestWorkstation::readFile(const std::wstring& libraryPath) const {
  std::string bytes;
  return platform::readWholeFile(libraryPath, bytes, kLargestFile) == ERROR_SUCCESS ? bytes : std::string();
}

bool TestWorkstation::exists(const std::wstring& libraryPath) const {
  return platform::fileStatus(libraryPath).exists;
}

std::vector<std::wstring> TestWorkstation::errorLines() const {
  return workstation::recentErrorLines();
}

bool TestWorkstation::hasErrorLine(const std::wstring& part) const {
  const auto lines = errorLines();
  return std::any_of(lines.begin(), lines.end(),
                     [&](const std::wstring& line) { return line.find(part) != std::wstring::npos; });
}

workstation::CloudStore& TestWorkstation::store() {
  if (store_ == nullptr) fail("use the store", L"this workstation was set up without one");
  return *store_;
}

workstation::StoreActor TestWorkstation::actor() const {
  const workstation::Identity& identity = workstation::identity();
  return {identity.user, identity.workstationName, identity.workstationId};
}

workstation::StoreActor TestWorkstation::addColleague(const std::wstring& name, workstation::StoreRole role) {
  workstation::StoreActor colleague;
  colleague.user.name = name;
  colleague.user.email = platform::toLower(name) + L"@example.org";
  check(store().registerUser(colleague.user), "register a colleague");
  colleague.workstationName = L"workstation of " + name;
  colleague.workstationId = colleague.user.uuid;
  if (!project_.empty()) check(store().addMember(actor(), project_, colleague.user.uuid, role), "add a colleague");
  return colleague;
}

void TestWorkstation::putStored(const workstation::StoreActor& who, const std::wstring& name, const std::string& bytes,
                                const std::vector<std::uint8_t>& header) {
  const std::wstring source = path(L"scratch" + std::to_wstring(scratchFiles_++));
  writeFile(source, bytes);
  workstation::FilePut put;
  put.name = name;
  put.path = source;
  put.header = header;
  std::vector<CloudStatus> statuses;
  check(store().putFiles(who, project_, {put}, statuses), "put a file into the store");
}

std::string TestWorkstation::readStored(const std::wstring& name) {
  const std::string target = directory_.path("scratch" + std::to_string(scratchFiles_++));
  workstation::StoredFile file;
  if (store().copyOut(actor(), project_, name, target, file) != workstation::kStoreOk) return {};
  return contentOf(target);
}

}  // namespace zephor_test
