// Several processes on one store, and processes that are killed.
//
// Nobody has the store open while a process is forked: a connection does not survive that.
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <filesystem>
#include <functional>
#include <random>
#include <set>
#include <thread>

#include "host/FileTypes.h"
#include "host/Headers.h"
#include "tests/workstation/store/StoreWorld.h"
#include "workstation/store/StoredHeader.h"

namespace zephor_test {
namespace {

using namespace workstation;  // NOLINT(google-build-using-namespace): the room under test

constexpr int kGroup = 6;

pid_t inChild(const std::function<int()>& work) {
  const pid_t child = fork();
  if (child == 0) _exit(work());
  return child;
}

int exitCode(pid_t child) {
  int status = 0;
  EXPECT_EQ(waitpid(child, &status, 0), child);
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

std::wstring objectName(int number) {
  return L"tb00000" + std::to_wstring(number) + L".zdw";
}

/// Content that tells its generation, of a size that differs by generation and file.
std::string contentOfGeneration(int generation, int number) {
  return std::to_string(generation) + ":" +
         std::string(static_cast<std::size_t>((generation * 7919 + number * 131) % 90'000), 'c');
}

CloudStatus putGeneration(const StoreWorld& world, CloudStore& store, const StoreActor& actor, int generation,
                          int files) {
  std::vector<FilePut> puts(static_cast<std::size_t>(files));
  for (int number = 1; number <= files; ++number) {
    FilePut& put = puts[static_cast<std::size_t>(number - 1)];
    put.name = objectName(number);
    put.path =
        world.local(std::to_string(getpid()) + "-" + std::to_string(number), contentOfGeneration(generation, number));
    put.header = storedImage(teilbildHeader(number, static_cast<std::uint32_t>(generation), u"killed"));
  }
  std::vector<CloudStatus> statuses;
  return store.putFiles(actor, world.project, puts, statuses);
}

/// Generation of a stored file, -1 when content and header do not belong together, 0 when there is none.
int storedGeneration(const StoreWorld& world, CloudStore& store, int number) {
  // Header and record are read in two steps; between them the file may be replaced. Equal revisions around them tell.
  for (;;) {
    StoredFile before;
    StoredFile file;
    std::map<std::wstring, std::vector<std::uint8_t>> images;
    if (store.findFile(world.viewer, world.project, objectName(number), before) == kStoreNotFound) return 0;
    const std::string target = world.directory.path("check");
    if (store.headers(world.viewer, world.project, {objectName(number)}, images) != 0) return -1;
    if (store.copyOut(world.viewer, world.project, objectName(number), target, file) != 0) return -1;
    if (file.revision != before.revision) continue;
    const std::string content = contentOf(target);
    const int generation = std::stoi(content);
    TeilbildHeader header;
    const std::vector<std::uint8_t>& image = images.begin()->second;
    if (!datwaTBHeaderToLatest(image.data(), kStoredHeaderSize, static_cast<std::uint32_t>(image.size()), header))
      return -1;
    const bool whole = content == contentOfGeneration(generation, number) && header.number == number &&
                       header.versionCounter == static_cast<std::uint32_t>(generation);
    return whole ? generation : -1;
  }
}

TEST(StoreProcesses, KilledUploadLosesNothingAnsweredAndShowsNothingHalf) {
  const StoreWorld world;
  std::mt19937 random(20261121);  // NOLINT(cert-msc51-cpp): the rounds are to be the same each time
  int answered = 0;
  for (int round = 0; round < 30; ++round) {
    int answers[2];
    ASSERT_EQ(pipe(answers), 0);
    const pid_t child = inChild([&] {
      const auto store = world.open();
      for (int generation = answered + 1;; ++generation) {
        if (putGeneration(world, *store, world.editor, generation, kGroup) != 0) return 1;
        if (write(answers[1], &generation, sizeof generation) != sizeof generation) return 2;
      }
    });
    close(answers[1]);
    std::this_thread::sleep_for(std::chrono::microseconds(random() % 120'000));
    kill(child, SIGKILL);
    int status = 0;
    waitpid(child, &status, 0);
    ASSERT_TRUE(WIFSIGNALED(status)) << "the upload failed by itself: " << WEXITSTATUS(status);
    for (int generation = 0; read(answers[0], &generation, sizeof generation) == sizeof generation;)
      answered = generation;
    close(answers[0]);

    const auto store = world.open();
    const int found = storedGeneration(world, *store, 1);
    EXPECT_TRUE(found == answered || found == answered + 1) << found << " after " << answered;
    for (int number = 2; number <= kGroup; ++number) EXPECT_EQ(storedGeneration(world, *store, number), found);
    answered = found;
  }
  EXPECT_GT(answered, 0);

  const auto old = std::filesystem::file_time_type::clock::now() - std::chrono::hours(2);
  for (const auto& entry : std::filesystem::recursive_directory_iterator(world.storePath)) {
    if (entry.is_regular_file()) std::filesystem::last_write_time(entry, old);
  }
  const auto store = world.open();
  SweepResult result;
  EXPECT_EQ(store->sweep(result), 0);
  std::size_t bodies = 0;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(world.storePath + "/bodies")) {
    bodies += entry.is_regular_file() ? 1U : 0U;
  }
  EXPECT_EQ(bodies, static_cast<std::size_t>(kGroup));
  for (int number = 1; number <= kGroup; ++number) EXPECT_EQ(storedGeneration(world, *store, number), answered);
}

TEST(StoreProcesses, LockHasOneWinnerAmongProcesses) {
  const StoreWorld world;
  constexpr int kObjects = 40;
  std::vector<pid_t> children;
  for (const StoreActor& actor : {world.owner, world.admin, world.editor, world.at(world.editor, L"second")}) {
    children.push_back(inChild([&world, &actor] {
      const auto store = world.open();
      int won = 0;
      for (int number = 1; number <= kObjects; ++number) {
        const CloudStatus status = store->lockObject(actor, world.project, eFileType_Teilbild, number);
        if (status != kStoreOk && status != kStoreLocked) return 255;
        won += status == kStoreOk ? 1 : 0;
      }
      return won;
    }));
  }
  int won = 0;
  for (const pid_t child : children) won += exitCode(child);
  EXPECT_EQ(won, kObjects);
}

TEST(StoreProcesses, NoAcknowledgedLineOfRacingWritersIsLost) {
  const StoreWorld world;
  constexpr int kLines = 15;
  const auto appendTo = [&world](CloudStore& store, const StoreActor& actor, const std::string& name) {
    StoredFile file;
    const std::string copy = world.directory.path(name);
    const CloudStatus found = store.copyOut(actor, world.project, L"list.txt", copy, file);
    FilePut put;
    put.name = L"list.txt";
    put.path = world.local(name, (found == kStoreOk ? contentOf(copy) : "") + name + "\n");
    put.expectedRevision = file.revision;
    std::vector<CloudStatus> statuses;
    return store.putFiles(actor, world.project, {put}, statuses);
  };
  std::vector<pid_t> children;
  for (const StoreActor& actor : {world.editor, world.admin}) {
    children.push_back(inChild([&] {
      const auto store = world.open();
      for (int line = 0; line < kLines;) {
        const CloudStatus status = appendTo(*store, actor, std::to_string(getpid()));
        if (status != kStoreOk && status != kStoreChanged) return 1;
        line += status == kStoreOk ? 1 : 0;
      }
      return 0;
    }));
  }
  for (const pid_t child : children) EXPECT_EQ(exitCode(child), 0);
  const auto store = world.open();
  const std::string list = world.get(*store, world.viewer, L"list.txt");
  EXPECT_EQ(std::count(list.begin(), list.end(), '\n'), 2 * kLines);

  EXPECT_EQ(store->deleteFile(world.editor, world.project, L"LIST.txt", 2 * kLines - 1), kStoreChanged);
  EXPECT_NE(CloudStore::lastText().find(L"was saved meanwhile by "), std::wstring::npos);
  EXPECT_EQ(store->deleteFile(world.editor, world.project, L"LIST.txt", 2 * kLines), kStoreOk);
  EXPECT_EQ(appendTo(*store, world.editor, "anew"), kStoreOk) << "a deleted file counts as none";
}

TEST(StoreProcesses, FileOfRacingProcessesIsAlwaysOneOfTheirs) {
  const StoreWorld world;
  constexpr int kRounds = 12;
  std::vector<pid_t> children;
  for (int writer = 1; writer <= 2; ++writer) {
    children.push_back(inChild([&world, writer] {
      const auto store = world.open();
      for (int round = 0; round < kRounds; ++round) {
        if (putGeneration(world, *store, world.editor, writer * 1000 + round, 1) != 0) return 1;
      }
      return 0;
    }));
  }
  children.push_back(inChild([&world] {
    const auto store = world.open();
    for (int reads = 0; reads < 60; ++reads) {
      if (storedGeneration(world, *store, 1) < 0) return 1;
    }
    return 0;
  }));
  for (const pid_t child : children) EXPECT_EQ(exitCode(child), 0);
  const auto store = world.open();
  StoredFile file;
  EXPECT_EQ(store->findFile(world.viewer, world.project, objectName(1), file), 0);
  EXPECT_EQ(file.revision, 2 * kRounds);
  EXPECT_GT(storedGeneration(world, *store, 1), 0);
}

}  // namespace
}  // namespace zephor_test
