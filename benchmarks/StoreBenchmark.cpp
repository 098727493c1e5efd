// Saving and fetching a batch of files through the embedded store, beside `cp -r` with `sync` of the same files, in the
// same rounds.
//
// Usage: zephor_store_benchmark DIRECTORY [FILES [KILOBYTES [ROUNDS]]]
// Works in DIRECTORY, which must not exist yet; every round takes fresh contents, so that no body is there before.
// Results are compared with their sources.
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

#include "host/Cloud.h"
#include "platform/Paths.h"
#include "platform/Text.h"
#include "workstation/Session.h"
#include "workstation/store/CloudStore.h"
#include "workstation/store/StoreContext.h"

namespace {

namespace fs = std::filesystem;
using Seconds = std::chrono::duration<double>;

struct Plan {
  fs::path directory;
  int files = 1000;
  int kilobytes = 50;
  int rounds = 5;
};

void require(bool good, const std::string& what) {
  if (!good) throw std::runtime_error(what);
}

template <typename Work>
double timed(const Work& work) {
  const auto start = std::chrono::steady_clock::now();
  work();
  return Seconds(std::chrono::steady_clock::now() - start).count();
}

void command(const std::vector<std::string>& words) {
  std::vector<char*> argv;
  for (const auto& word : words) argv.push_back(const_cast<char*>(word.c_str()));
  argv.push_back(nullptr);
  const pid_t child = ::fork();
  if (child == 0) {
    ::execvp(argv[0], argv.data());
    ::_exit(127);
  }
  int status = 0;
  ::waitpid(child, &status, 0);
  require(WIFEXITED(status) && WEXITSTATUS(status) == 0, words.front() + " failed");
}

std::string nameOf(int index) {
  return "file" + std::to_string(index) + ".dat";
}

void writeSources(const fs::path& directory, const Plan& plan, unsigned seed) {
  fs::create_directories(directory);
  std::mt19937_64 random(seed);
  std::vector<std::uint64_t> block(1024 / sizeof(std::uint64_t));
  for (int i = 0; i < plan.files; ++i) {
    std::ofstream file(directory / nameOf(i), std::ios::binary);
    for (int written = 0; written < plan.kilobytes; ++written) {
      for (auto& word : block) word = random();
      file.write(reinterpret_cast<const char*>(block.data()), 1024);
    }
  }
}

bool same(const fs::path& a, const fs::path& b) {
  std::ifstream first(a, std::ios::binary);
  std::ifstream second(b, std::ios::binary);
  return first && second &&
         std::equal(std::istreambuf_iterator<char>(first), {}, std::istreambuf_iterator<char>(second), {});
}

std::wstring makeProject(const Plan& plan) {
  std::wstring error;
  const std::string store = (plan.directory / "store").string();
  require(workstation::CloudStore::create(store, error) == 0, platform::toUtf8(error));
  workstation::WorkstationConfiguration configuration;
  configuration.storeDirectory = store;
  configuration.identity.user = {L"", L"Bench", L"bench@example.org"};
  configuration.identity.workstationId = L"bench";
  CloudStatus status = 0;
  const auto opened = workstation::CloudStore::open(store, status, error);
  require(opened != nullptr, platform::toUtf8(error));
  require(opened->registerUser(configuration.identity.user) == 0, "register");
  const std::string home = (plan.directory / "workstation").string();
  require(workstation::writeConfiguration(home, configuration, false, error), platform::toUtf8(error));
  workstation::StartOptions options;
  options.directory = home;
  require(workstation::start(options, error), platform::toUtf8(error));
  const workstation::StoreActor actor = workstation::storeActor();
  std::wstring team;
  std::wstring project;
  require(opened->createTeam(actor, L"Bench", team) == 0, "team");
  require(opened->createProject(actor, team, L"Bench", project) == 0, "project");
  require(QuorvelCloudController()->Login(false, true) == 0, "login");
  return project;
}

struct Round {
  double save = 0;
  double savePeer = 0;
  double fetch = 0;
  double fetchPeer = 0;
};

Round runRound(const Plan& plan, const std::wstring& project, unsigned seed) {
  const fs::path source = plan.directory / "source";
  const fs::path copy = plan.directory / "copy";
  const fs::path target = plan.directory / "target";
  const fs::path targetCopy = plan.directory / "targetCopy";
  for (const auto& path : {source, copy, target, targetCopy}) fs::remove_all(path);
  writeSources(source, plan, seed);
  command({"sync", "-f", plan.directory.string()});

  ICloudProjectService* service = QuorvelCloudController()->GetProjectService();
  const std::wstring base = platform::libraryPath(source.string()) + L"\\";
  std::vector<QuorvFileInfo> files(static_cast<std::size_t>(plan.files));
  std::set<std::wstring> names;
  for (int i = 0; i < plan.files; ++i) {
    files[static_cast<std::size_t>(i)].name = platform::fromUtf8(nameOf(i));
    names.insert(files[static_cast<std::size_t>(i)].name);
  }
  Round round;
  round.save = timed([&] {
    std::vector<std::wstring> failed;
    require(service->UploadFilesAndMetadata(project, base, files, 0, {}, failed) == 0, "upload failed");
  });
  round.savePeer = timed([&] {
    command({"cp", "-r", source.string(), copy.string()});
    command({"sync", "-f", copy.string()});
  });
  fs::create_directories(target);
  round.fetch = timed([&] {
    require(service->DownloadFiles(project, platform::libraryPath(target.string()), names, {}) == 0, "download failed");
  });
  round.fetchPeer = timed([&] { command({"cp", "-r", source.string(), targetCopy.string()}); });
  for (int i = 0; i < plan.files; ++i) require(same(source / nameOf(i), target / nameOf(i)), nameOf(i) + " differs");
  return round;
}

double median(std::vector<double> values) {
  std::sort(values.begin(), values.end());
  return values[values.size() / 2];
}

void print(const Plan& plan, const std::vector<Round>& rounds) {
  const auto of = [&](double Round::*member) {
    std::vector<double> values;
    for (const auto& round : rounds) values.push_back(round.*member);
    return median(values);
  };
  const double save = of(&Round::save);
  const double savePeer = of(&Round::savePeer);
  const double fetch = of(&Round::fetch);
  const double fetchPeer = of(&Round::fetchPeer);
  rusage usage{};
  ::getrusage(RUSAGE_SELF, &usage);
  std::printf("%d files of %d KB, median of %d rounds\n\n", plan.files, plan.kilobytes, plan.rounds);
  std::printf("| | store | peer | ratio |\n|---|---|---|---|\n");
  std::printf("| save, beside `cp -r` and `sync` | %.3f s | %.3f s | %.2f |\n", save, savePeer, save / savePeer);
  std::printf("| fetch, beside `cp -r` | %.3f s | %.3f s | %.2f |\n", fetch, fetchPeer, fetch / fetchPeer);
  std::printf("\nlargest memory of the process: %ld MB\n", usage.ru_maxrss / 1024);
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 2) {
    std::fprintf(stderr, "usage: %s DIRECTORY [FILES [KILOBYTES [ROUNDS]]]\n", argv[0]);
    return 2;
  }
  try {
    Plan plan;
    plan.directory = fs::absolute(argv[1]);
    if (argc > 2) plan.files = std::stoi(argv[2]);
    if (argc > 3) plan.kilobytes = std::stoi(argv[3]);
    if (argc > 4) plan.rounds = std::stoi(argv[4]);
    require(fs::create_directories(plan.directory), plan.directory.string() + " exists already");
    const std::wstring project = makeProject(plan);
    std::vector<Round> rounds;
    for (int i = 0; i < plan.rounds; ++i) rounds.push_back(runRound(plan, project, 1000U + static_cast<unsigned>(i)));
    print(plan, rounds);
    workstation::finish();
    return 0;
  } catch (const std::exception& error) {
    std::fprintf(stderr, "benchmark: %s\n", error.what());
    return 1;
  }
}
