// Compressing and expanding drawings in place, beside other tools on the same files, in the same rounds.
//
// Usage: zephor_compression_benchmark DIRECTORY [MEGABYTES [ROUNDS]]
// Works in DIRECTORY, which must not exist yet. The drawings are made anew the same each time: Teilbilder of 50 KB to
// 4 MB that wrap drawing text. What comes back is compared with what went in. A tool that is not there is left out.
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "benchmarks/DrawingText.h"
#include "platform/Paths.h"
#include "platform/Text.h"
#include "workstation/Session.h"
#include "workstation/objects/ObjectFile.h"
#include "zephor/Archives.h"

namespace {

namespace fs = std::filesystem;

void require(bool good, const std::string& what) {
  if (!good) throw std::runtime_error(what);
}

struct Files {
  fs::path directory;
  std::vector<std::string> names;

  std::uintmax_t bytes(const std::string& ending = "") const {
    std::uintmax_t sum = 0;
    for (const auto& name : names) sum += fs::file_size(directory / (name + ending));
    return sum;
  }
};

Files makeDrawings(const fs::path& directory, std::size_t megabytes) {
  Files files{directory, {}};
  fs::create_directories(directory);
  constexpr double kSmallest = 50e3;
  constexpr double kLargest = 4e6;
  const fs::path content = directory / "plan.dxf";
  std::size_t made = 0;
  for (int number = 1; made < megabytes * 1000000; ++number) {
    // Evenly spread on a logarithmic scale: a step that never meets the same place twice.
    const double place = std::fmod(number * 0.618034, 1.0);
    const std::string text = benchmarks::DrawingText(static_cast<std::uint64_t>(number))
                                 .make(static_cast<std::size_t>(kSmallest * std::pow(kLargest / kSmallest, place)));
    std::ofstream(content, std::ios::binary) << text;
    std::wstring path;
    std::wstring error;
    require(workstation::createObject(platform::libraryPath(directory.string()), eFileType_Teilbild, number, L"",
                                      platform::libraryPath(content.string()), {1, L"Bench"}, path, error) == 0,
            platform::toUtf8(error));
    files.names.push_back(platform::toUtf8(platform::fileNameOf(path)));
    made += text.size();
  }
  fs::remove(content);
  return files;
}

Files freshCopy(const Files& files, const fs::path& directory) {
  fs::remove_all(directory);
  fs::copy(files.directory, directory);
  return {directory, files.names};
}

void requireSame(const Files& a, const Files& b) {
  for (const auto& name : a.names) {
    std::ifstream first(a.directory / name, std::ios::binary);
    std::ifstream second(b.directory / name, std::ios::binary);
    require(first && second &&
                std::equal(std::istreambuf_iterator<char>(first), {}, std::istreambuf_iterator<char>(second), {}),
            name + " differs");
  }
}

double processorSeconds(int who) {
  rusage usage{};
  ::getrusage(who, &usage);
  const auto seconds = [](const timeval& time) {
    return static_cast<double>(time.tv_sec) + 1e-6 * static_cast<double>(time.tv_usec);
  };
  return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

struct Cost {
  double wall = 0;
  double processor = 0;
};

Cost timed(int who, const std::function<void()>& work) {
  const double before = processorSeconds(who);
  const auto start = std::chrono::steady_clock::now();
  work();
  const std::chrono::duration<double> wall = std::chrono::steady_clock::now() - start;
  return {wall.count(), processorSeconds(who) - before};
}

bool isThere(const std::string& tool) {
  return std::system(("command -v " + tool + " >/dev/null").c_str()) == 0;
}

/// Runs a tool over all files, in their directory, quietly.
void runTool(const Files& files, std::vector<std::string> words, const std::string& ending = "") {
  for (const auto& name : files.names) words.push_back(name + ending);
  std::vector<char*> arguments;
  for (auto& word : words) arguments.push_back(word.data());
  arguments.push_back(nullptr);
  const pid_t child = ::fork();
  if (child == 0) {
    if (::chdir(files.directory.c_str()) != 0 || std::freopen("/dev/null", "w", stdout) == nullptr) ::_exit(126);
    ::execvp(arguments[0], arguments.data());
    ::_exit(127);
  }
  int status = 0;
  ::waitpid(child, &status, 0);
  require(WIFEXITED(status) && WEXITSTATUS(status) == 0, words.front() + " failed");
}

using Operation = unsigned long (*)(const std::wstring& path);

/// Hands the files to the threads, the next one to whoever is free.
void inPlace(const Files& files, Operation operation, int threads) {
  std::atomic<std::size_t> next{0};
  std::atomic<bool> good{true};
  const auto work = [&] {
    for (std::size_t i = next++; i < files.names.size(); i = next++) {
      if (operation(platform::libraryPath((files.directory / files.names[i]).string())) != 0) good = false;
    }
  };
  std::vector<std::thread> others;
  for (int i = 1; i < threads; ++i) others.emplace_back(work);
  work();
  for (auto& thread : others) thread.join();
  require(good, "a drawing failed");
}

/// One row of the result.
struct Row {
  std::string name;
  std::vector<Cost> costs{};
  std::uintmax_t size = 0;  ///< bytes after compression; 0 for expansion
};

class Benchmark {
 public:
  Benchmark(const fs::path& directory, Files files) : directory_(directory), files_(std::move(files)) {}

  void round() {
    at_ = 0;
    for (const int threads : {1, 2}) {
      const Files copy = freshCopy(files_, directory_ / "copy");
      const std::string name = "Zephor, " + std::to_string(threads) + (threads == 1 ? " thread" : " threads");
      note(
          "compress: " + name, RUSAGE_SELF, [&] { inPlace(copy, &Quorvel::FileAccess::WGO_zipProjectFile, threads); },
          [&] { return copy.bytes(); });
      note("expand: " + name, RUSAGE_SELF, [&] { inPlace(copy, &Quorvel::FileAccess::WGO_unzipProjectFile, threads); });
      requireSame(files_, copy);
    }
    peer("zip", "zip -6", {"zip", "-6", "-q", "all.zip"});
    peer("7zz", "7zz -tzip -mx=1 -mmt=1", {"7zz", "a", "-tzip", "-mx=1", "-mmt=1", "all.zip"});
    peer("libdeflate-gzip", "libdeflate-gzip -6", {"libdeflate-gzip", "-6", "-k"});
    if (!isThere("pigz")) return;
    const Files copy = freshCopy(files_, directory_ / "copy");
    runTool(copy, {"pigz", "-6"});
    note("expand: pigz -d", RUSAGE_CHILDREN, [&] { runTool(copy, {"pigz", "-d"}, ".gz"); });
    requireSame(files_, copy);
  }

  void print() const {
    const double megabytes = static_cast<double>(files_.bytes()) / 1e6;
    std::printf("%zu drawings, %.1f MB, median of %zu rounds\n\n", files_.names.size(), megabytes,
                rows_.front().costs.size());
    std::printf("| | s | MB/s | processor s | ratio of size |\n|---|---|---|---|---|\n");
    for (const Row& row : rows_) {
      const double wall = median(row, &Cost::wall);
      std::printf("| %s | %.3f | %.0f | %.3f | ", row.name.c_str(), wall, megabytes / wall,
                  median(row, &Cost::processor));
      if (row.size != 0) std::printf("%.3f", static_cast<double>(files_.bytes()) / static_cast<double>(row.size));
      std::printf(" |\n");
    }
  }

 private:
  void note(const std::string& name, int who, const std::function<void()>& work,
            const std::function<std::uintmax_t()>& size = {}) {
    if (at_ == rows_.size()) rows_.push_back({name});
    Row& row = rows_[at_++];
    row.costs.push_back(timed(who, work));
    if (size) row.size = size();
  }
  void peer(const std::string& tool, const std::string& name, const std::vector<std::string>& words) {
    if (!isThere(tool)) return;
    const Files copy = freshCopy(files_, directory_ / "copy");
    note(
        "compress: " + name, RUSAGE_CHILDREN, [&] { runTool(copy, words); },
        [&] {
          return fs::exists(copy.directory / "all.zip") ? fs::file_size(copy.directory / "all.zip") : copy.bytes(".gz");
        });
  }
  static double median(const Row& row, double Cost::*member) {
    std::vector<double> values;
    for (const Cost& cost : row.costs) values.push_back(cost.*member);
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
  }

  fs::path directory_;
  Files files_;
  std::vector<Row> rows_;
  std::size_t at_ = 0;
};

void startWorkstation(const fs::path& directory) {
  workstation::WorkstationConfiguration configuration;
  configuration.identity.user = {L"", L"Bench", L"bench@example.org"};
  configuration.identity.workstationId = L"bench";
  std::wstring error;
  require(workstation::writeConfiguration(directory.string(), configuration, false, error), platform::toUtf8(error));
  workstation::StartOptions options;
  options.directory = directory.string();
  options.deny = true;
  require(workstation::start(options, error), platform::toUtf8(error));
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 2) {
    std::fprintf(stderr, "usage: %s DIRECTORY [MEGABYTES [ROUNDS]]\n", argv[0]);
    return 2;
  }
  try {
    const fs::path directory = fs::absolute(argv[1]);
    const std::size_t megabytes = argc > 2 ? std::stoul(argv[2]) : 64;
    const int rounds = argc > 3 ? std::max(1, std::stoi(argv[3])) : 5;
    require(fs::create_directories(directory), directory.string() + " exists already");
    startWorkstation(directory / "workstation");
    Benchmark benchmark(directory, makeDrawings(directory / "drawings", megabytes));
    for (int i = 0; i < rounds; ++i) benchmark.round();
    benchmark.print();
    workstation::finish();
  } catch (const std::exception& error) {
    std::fprintf(stderr, "%s\n", error.what());
    return 1;
  }
  return 0;
}
