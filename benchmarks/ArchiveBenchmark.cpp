// Packing and unpacking a project's folder beside other tools on the same files, in the same rounds.
//
// Usage: zephor_archive_benchmark DIRECTORY [DRAWINGS [MEGABYTES [ROUNDS]]]
//        zephor_archive_benchmark DIRECTORY (pack | unpack) FROM TO
// Works in DIRECTORY, which must not exist yet. Each job is a process of its own, ours too: the second form. The
// drawings are made anew the same each time: Teilbilder that wrap drawing text. What comes back is compared with what
// went in. A tool that is not there is left out.
#include <sched.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

#include "benchmarks/DrawingText.h"
#include "platform/Paths.h"
#include "platform/Text.h"
#include "workstation/Session.h"
#include "workstation/objects/ObjectFile.h"
#include "zephor/ProjectArchives.h"

namespace {

namespace fs = std::filesystem;

void require(bool good, const std::string& what) {
  if (!good) throw std::runtime_error(what);
}

void startWorkstation(const fs::path& directory) {
  workstation::WorkstationConfiguration configuration;
  configuration.identity.user = {L"", L"Bench", L"bench@example.org"};
  configuration.identity.workstationId = L"bench";
  std::wstring error;
  if (!fs::exists(directory)) {
    require(workstation::writeConfiguration(directory.string(), configuration, false, error), platform::toUtf8(error));
  }
  workstation::StartOptions options;
  options.directory = directory.string();
  options.deny = true;
  require(workstation::start(options, error), platform::toUtf8(error));
}

/// Sizes evenly spread on a logarithmic scale over a range of 80 to 1, with the average that is asked for.
void makeDrawings(const fs::path& directory, int count, double average) {
  fs::create_directories(directory);
  constexpr double kRange = 80;
  const double smallest = average * std::log(kRange) / (kRange - 1);
  const fs::path content = directory / "plan.dxf";
  for (int number = 1; number <= count; ++number) {
    const double size = smallest * std::pow(kRange, std::fmod(number * 0.618034, 1.0));
    std::ofstream(content, std::ios::binary)
        << benchmarks::DrawingText(static_cast<std::uint64_t>(number)).make(static_cast<std::size_t>(size));
    std::wstring path;
    std::wstring error;
    require(workstation::createObject(platform::libraryPath(directory.string()), eFileType_Teilbild, number, L"",
                                      platform::libraryPath(content.string()), {1, L"Bench"}, path, error) == 0,
            platform::toUtf8(error));
  }
  fs::remove(content);
}

struct Cost {
  double wall = 0;
  double processor = 0;
};

double childrenSeconds() {
  rusage usage{};
  ::getrusage(RUSAGE_CHILDREN, &usage);
  const auto seconds = [](const timeval& time) {
    return static_cast<double>(time.tv_sec) + 1e-6 * static_cast<double>(time.tv_usec);
  };
  return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

/// Runs a tool in a directory, quietly.
/// @param processors  that it may use; 0 for all
Cost run(const fs::path& directory, std::vector<std::string> words, int processors) {
  std::vector<char*> arguments;
  for (auto& word : words) arguments.push_back(word.data());
  arguments.push_back(nullptr);
  const double before = childrenSeconds();
  const auto start = std::chrono::steady_clock::now();
  const pid_t child = ::fork();
  if (child == 0) {
    cpu_set_t set;
    CPU_ZERO(&set);
    for (int i = 0; i < processors; ++i) CPU_SET(i, &set);
    if (processors > 0) ::sched_setaffinity(0, sizeof set, &set);
    if (::chdir(directory.c_str()) != 0 || std::freopen("/dev/null", "w", stdout) == nullptr) ::_exit(126);
    ::execvp(arguments[0], arguments.data());
    ::_exit(127);
  }
  int status = 0;
  ::waitpid(child, &status, 0);
  const std::chrono::duration<double> wall = std::chrono::steady_clock::now() - start;
  require(WIFEXITED(status) && WEXITSTATUS(status) == 0, words.front() + " failed");
  return {wall.count(), childrenSeconds() - before};
}

struct Row {
  std::string name;
  std::vector<Cost> costs{};
  std::uintmax_t size = 0;  ///< of the archive; 0 for unpacking
};

class Benchmark {
 public:
  Benchmark(std::string self, fs::path directory) : self_(std::move(self)), directory_(std::move(directory)) {}

  void round() {
    at_ = 0;
    pack("Zephor, 1 thread", {self_, directory_, "pack", source(), archive()}, 1);
    pack("Zephor, all threads", {self_, directory_, "pack", source(), archive()}, 0);
    pack("zip -r -6", {"zip", "-r", "-q", "-6", archive(), "."}, 0);
    pack("7zz -tzip -mx=5", {"7zz", "a", "-tzip", "-mx=5", archive(), "."}, 0);
    fs::remove(archive());
    run(source(), {self_, directory_, "pack", source(), archive()}, 0);
    unpack("Zephor, 1 thread", {self_, directory_, "unpack", archive(), target()}, 1);
    unpack("Zephor, all threads", {self_, directory_, "unpack", archive(), target()}, 0);
    unpack("unzip", {"unzip", "-q", archive(), "-d", target()}, 0);
    unpack("7zz x", {"7zz", "x", "-o" + target(), archive()}, 0);
  }

  void print() const {
    std::uintmax_t bytes = 0;
    std::size_t files = 0;
    for (const auto& file : fs::directory_iterator(source())) bytes += (++files, file.file_size());
    const double megabytes = static_cast<double>(bytes) / 1e6;
    std::printf("%zu files, %.1f MB, median of %zu rounds\n\n", files, megabytes, rows_.front().costs.size());
    std::printf("| | s | MB/s | processor s | archive MB |\n|---|---|---|---|---|\n");
    for (const Row& row : rows_) {
      const double wall = median(row, &Cost::wall);
      std::printf("| %s | %.2f | %.0f | %.2f | ", row.name.c_str(), wall, megabytes / wall,
                  median(row, &Cost::processor));
      if (row.size != 0) std::printf("%.1f", static_cast<double>(row.size) / 1e6);
      std::printf(" |\n");
    }
  }

  std::string source() const { return directory_ / "drawings"; }

 private:
  std::string archive() const { return directory_ / "archive.zip"; }
  std::string target() const { return directory_ / "target"; }
  void pack(const std::string& name, std::vector<std::string> words, int processors) {
    if (!isThere(words.front())) return;
    fs::remove(archive());
    note("pack: " + name, std::move(words), processors, [&] { return fs::file_size(archive()); });
  }
  void unpack(const std::string& name, std::vector<std::string> words, int processors) {
    if (!isThere(words.front())) return;
    note("unpack: " + name, std::move(words), processors, [] { return 0U; });
    run(directory_, {"diff", "-r", source(), target()}, 0);
    fs::remove_all(target());
  }
  void note(const std::string& name, std::vector<std::string> words, int processors,
            const std::function<std::uintmax_t()>& size) {
    if (at_ == rows_.size()) rows_.push_back({name});
    Row& row = rows_[at_++];
    row.costs.push_back(run(source(), std::move(words), processors));
    row.size = size();
  }
  static bool isThere(const std::string& tool) {
    return std::system(("command -v '" + tool + "' >/dev/null").c_str()) == 0;
  }
  static double median(const Row& row, double Cost::*member) {
    std::vector<double> values;
    for (const Cost& cost : row.costs) values.push_back(cost.*member);
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
  }

  std::string self_;
  fs::path directory_;
  std::vector<Row> rows_;
  std::size_t at_ = 0;
};

/// One job of ours.
bool work(const std::string& job, const std::string& from, const std::string& to) {
  using namespace Quorvel::FileAccess;
  const std::wstring source = platform::libraryPath(from);
  const std::wstring target = platform::libraryPath(to);
  return job == "pack" ? WGO_zipFolder(source.c_str(), target.c_str(), {}, true)
                       : WGO_unzipFolder(source.c_str(), target.c_str());
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 2) {
    std::fprintf(stderr, "usage: %s DIRECTORY [DRAWINGS [MEGABYTES [ROUNDS]]]\n", argv[0]);
    return 2;
  }
  try {
    const fs::path directory = fs::absolute(argv[1]);
    const bool isJob = argc == 5 && fs::exists(directory);
    require(isJob || fs::create_directories(directory), directory.string() + " exists already");
    startWorkstation(directory / "workstation");
    if (isJob) {
      const bool isDone = work(argv[2], argv[3], argv[4]);
      workstation::finish();
      return isDone ? 0 : 1;
    }
    const int drawings = argc > 2 ? std::max(1, std::stoi(argv[2])) : 2000;
    const double megabytes = argc > 3 ? std::stod(argv[3]) : 300;
    Benchmark benchmark(fs::canonical("/proc/self/exe"), directory);
    makeDrawings(benchmark.source(), drawings, megabytes * 1e6 / drawings);
    for (int i = 0; i < (argc > 4 ? std::max(1, std::stoi(argv[4])) : 3); ++i) benchmark.round();
    benchmark.print();
    workstation::finish();
    return 0;
  } catch (const std::exception& error) {
    std::fprintf(stderr, "%s\n", error.what());
    return 1;
  }
}
