// A look at a directory (walk and comparison with the look before) beside `find -printf` over the same tree and `rsync
// -an` over the tree and its copy, in the same rounds.
//
// Usage: zephor_snapshot_benchmark DIRECTORY [ROUNDS [FILES...]]
// Works in DIRECTORY, which must not exist yet. Times are the best of the rounds, with everything in the system's
// caches. What a look finds is checked.
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "platform/Paths.h"
#include "zephor/DirectoryChanges.h"

namespace {

namespace fs = std::filesystem;
using namespace Quorvel::FileAccess;  // NOLINT(google-build-using-namespace)

constexpr int kFilesInDirectory = 200;

void require(bool good, const std::string& what) {
  if (!good) throw std::runtime_error(what);
}

template <typename Work>
double timed(const Work& work) {
  const auto start = std::chrono::steady_clock::now();
  work();
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

void command(const std::vector<std::string>& words) {
  std::vector<char*> argv;
  for (const auto& word : words) argv.push_back(const_cast<char*>(word.c_str()));
  argv.push_back(nullptr);
  std::fflush(stdout);
  const pid_t child = ::fork();
  if (child == 0) {
    if (std::freopen("/dev/null", "w", stdout) == nullptr) ::_exit(126);
    ::execvp(argv[0], argv.data());
    ::_exit(127);
  }
  int status = 0;
  require(child > 0 && ::waitpid(child, &status, 0) == child && WIFEXITED(status) && WEXITSTATUS(status) == 0,
          words[0] + " failed");
}

void makeTree(const fs::path& root, int files) {
  for (int i = 0; i < files; ++i) {
    const int directory = i / kFilesInDirectory;
    const fs::path place =
        root / ("part" + std::to_string(directory / 10)) / ("floor" + std::to_string(directory % 10));
    if (i % kFilesInDirectory == 0) fs::create_directories(place);
    char name[32];
    std::snprintf(name, sizeof name, "tb%06d.zdw", i);
    std::ofstream(place / name) << i;
  }
}

double best(const std::vector<double>& values) {
  return *std::min_element(values.begin(), values.end());
}

void measure(const fs::path& root, int files, int rounds) {
  const fs::path tree = root / "tree";
  const fs::path copy = root / "copy";
  makeTree(tree, files);
  command({"cp", "-a", tree, copy});
  const std::wstring directory = platform::libraryPath(tree);
  DirectorySnapshot before;
  WGO_getFilesFromDirectory(directory.c_str(), before, nullptr, true);
  require(before.size() == static_cast<std::size_t>(files), "the walk did not find every file");
  std::ofstream(tree / "part0" / "new.txt") << "new";
  std::vector<double> looks;
  std::vector<double> comparisons;
  std::vector<double> finds;
  std::vector<double> syncs;
  for (int round = 0; round < rounds; ++round) {
    DirectorySnapshot now;
    std::vector<WGO_FileCompareInfo> changes;
    const double walk = timed([&] { WGO_getFilesFromDirectory(directory.c_str(), now, nullptr, true); });
    const double comparison = timed([&] { WGO_getDirectoryChanges(before, now, changes); });
    require(changes.size() == 1 && changes.front().state == eFileChange_Created, "the look told other changes");
    looks.push_back(walk + comparison);
    comparisons.push_back(comparison);
    finds.push_back(timed([&] { command({"find", tree, "-printf", "%p %s %T@ %C@\\n"}); }));
    syncs.push_back(timed([&] { command({"rsync", "-an", tree.string() + "/", copy.string() + "/"}); }));
  }
  const double look = best(looks);
  std::printf("| %d | %.4f | %.4f | %.2f | %.4f | %.4f | %.2f |\n", files, look, best(comparisons), look / files * 1e6,
              best(finds), best(syncs), look / best(syncs));
  std::fflush(stdout);
  fs::remove_all(root);
}

}  // namespace

int main(int argc, char** argv) {
  try {
    require(argc >= 2 && !fs::exists(argv[1]), "usage: zephor_snapshot_benchmark NEW_DIRECTORY [ROUNDS [FILES...]]");
    const fs::path root = fs::absolute(argv[1]);
    const int rounds = argc > 2 ? std::atoi(argv[2]) : 15;
    std::vector<int> sizes;
    for (int i = 3; i < argc; ++i) sizes.push_back(std::atoi(argv[i]));
    if (sizes.empty()) sizes = {5'000, 20'000, 80'000};
    require(rounds > 0, "ROUNDS must be a number above 0");
    std::puts(
        "| files | look s | of it comparison s | look, us a file | find -printf s | rsync -an s | look / rsync |");
    std::puts("|---|---|---|---|---|---|---|");
    for (const int files : sizes) measure(root, files, rounds);
  } catch (const std::exception& error) {
    std::fprintf(stderr, "zephor_snapshot_benchmark: %s\n", error.what());
    return 1;
  }
  return 0;
}
