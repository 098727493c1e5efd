// One store used by many threads of a process at once.
#include <gtest/gtest.h>

#include <atomic>
#include <filesystem>
#include <fstream>
#include <thread>

#include "platform/Paths.h"
#include "platform/Text.h"
#include "tests/workstation/store/StoreWorld.h"
#include "workstation/store/Containers.h"
#include "workstation/store/EmbeddedController.h"
#include "workstation/store/StoreContext.h"

namespace zephor_test {
namespace {

TEST(ConcurrentStore, TransfersOfManyThreadsDoNotDisturbEachOther) {
  const StoreWorld world;
  const auto controller = workstation::makeEmbeddedController(world.storePath, world.editor);
  ASSERT_EQ(controller->Login(false, false), 0);
  constexpr int kThreads = 4;
  constexpr int kFiles = 12;
  std::vector<std::thread> threads;
  for (int thread = 0; thread < kThreads; ++thread) {
    threads.emplace_back([&, thread] {
      ICloudProjectService& service = *controller->GetProjectService();
      const std::string folder = "t" + std::to_string(thread);
      const std::wstring base = platform::directoryOf(world.local(folder + "/x", ""));
      const std::wstring in = platform::libraryPath(world.directory.path("in" + folder));
      for (int i = 0; i < kFiles; ++i) {
        const std::string content(static_cast<std::size_t>(1000 * i + thread), static_cast<char>('a' + thread));
        world.local(folder + "/own" + std::to_string(i), content);
        world.local(folder + "/shared", content);
        std::vector<QuorvFileInfo> files(2);
        files[0].name = L"own" + std::to_wstring(i);
        files[1].name = L"shared";
        std::vector<std::wstring> failed;
        EXPECT_EQ(service.UploadFilesAndMetadata(world.project, base, files, 0, {}, failed), 0);
        EXPECT_EQ(service.DownloadFile(world.project, in, L"shared", L""), 0);
        const std::string shared = contentOf(world.directory.path("in" + folder + "/shared"));
        EXPECT_EQ(shared.find_first_not_of(shared.substr(0, 1)), std::string::npos);
        std::vector<std::wstring> lines;
        EXPECT_EQ(service.GetProjectFileInfos(world.project, lines, kCloudKindWholeProject), 0);
        bool inUse = false;
        EXPECT_EQ(service.IsProjectInUse(world.team, world.project, true, inUse), 0);
        std::wstring token;
        controller->GetAccessToken(token);
        EXPECT_FALSE(token.empty());
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  std::vector<std::wstring> names;
  EXPECT_EQ(controller->GetProjectService()->GetQuorvelProjectResourceFiles(world.project, names, 5), 0);
  EXPECT_EQ(names.size(), static_cast<std::size_t>(kFiles + 1));
}

TEST(ConcurrentStore, ReadersOfAContainerSeeWholeCommitsAndOneWinsTheLock) {
  const StoreWorld world;
  constexpr int kFiles = 10;
  constexpr int kRounds = 6;
  std::wstring uuid;
  for (const workstation::StoreActor& person : {world.admin, world.editor}) {
    const auto role = workstation::StoreRole::Editor;
    ASSERT_EQ(world.open()->addTeamMember(world.owner, world.team, person.user.uuid, role), 0);
  }
  ASSERT_EQ(world.open()->createContainer(world.owner, world.team, L"Styles", uuid), 0);
  std::atomic<int> writers{2};
  std::atomic<int> commits{0};
  const auto change = [&](const workstation::StoreActor& person, const std::string& desk) {
    const auto controller = workstation::makeEmbeddedController(world.storePath, person);
    ICloudProjectService& service = *controller->GetProjectService();
    const std::wstring cache = platform::libraryPath(world.directory.path(desk));
    for (int round = 0; round < kRounds;) {
      if (service.LockResourcesContainer(uuid, 0) != 0) continue;
      EXPECT_EQ(service.DownloadSTDResContainer(uuid, cache, {}), 0);
      for (int i = 0; i < kFiles; ++i) {
        std::ofstream(world.directory.path(desk + "/" + std::to_string(i))) << desk << round << std::string(5000, '.');
      }
      EXPECT_EQ(service.UploadResourcesContainer({uuid, 0, {}}), 0);
      EXPECT_EQ(service.UnlockResourcesContainer(false), 0);
      ++commits;
      ++round;
    }
    --writers;
  };
  std::thread first([&] { change(world.admin, "one"); });
  std::thread second([&] { change(world.editor, "two"); });
  const auto reader = workstation::makeEmbeddedController(world.storePath, world.viewer);
  const std::wstring cache = platform::libraryPath(world.directory.path("reader/CloudSTD/") + platform::toUtf8(uuid));
  while (writers > 0) {
    ASSERT_EQ(reader->GetProjectService()->DownloadSTDResContainer(uuid, cache, {}), 0);
    const std::string all = world.directory.path("reader/CloudSTD/" + platform::toUtf8(uuid)) + "/";
    const std::string content = contentOf(all + "0");
    for (int i = 1; i < kFiles; ++i) EXPECT_EQ(contentOf(all + std::to_string(i)), content);
    EXPECT_TRUE(content.empty() || workstation::isContainerFileInStep(cache + L"\\0"));
  }
  first.join();
  second.join();
  workstation::StoreContainer container;
  ASSERT_EQ(world.open()->container(world.viewer, uuid, container), 0);
  EXPECT_EQ(container.revision, commits);
}

TEST(ConcurrentStore, BulkLoadBringsAllButWhatIsDamagedOrWasWrittenMeanwhile) {
  const StoreWorld world;
  const auto store = world.open();
  const auto controller = workstation::makeEmbeddedController(world.storePath, world.editor);
  ASSERT_EQ(controller->Login(false, false), 0);
  constexpr std::uint32_t kFiles = 1300;  // more than one group, in the order of their names
  const auto nameOf = [](std::uint32_t i) { return "f" + std::to_string(10000 + i); };
  std::vector<workstation::FilePut> puts(kFiles);
  for (std::uint32_t i = 0; i < kFiles; ++i) {
    puts[i].name = platform::fromUtf8("BIM\\" + nameOf(i));
    puts[i].path = world.local(nameOf(i), nameOf(i));
  }
  std::vector<CloudStatus> statuses;
  ASSERT_EQ(store->putFiles(world.editor, world.project, puts, statuses), 0);
  workstation::StoredFile damaged;
  ASSERT_EQ(store->findFile(world.viewer, world.project, puts[700].name, damaged), 0);
  std::ofstream(world.storePath + "/bodies/" + damaged.sha256.substr(0, 2) + "/" + damaged.sha256) << "F10700";

  const std::string in = world.directory.path("in/BIM");
  std::uint32_t steps = 0;
  std::uint64_t bytes = 0;
  workstation::setTransferProgress(
      [&](std::uint32_t done, std::uint32_t total, std::uint64_t soFar, const std::wstring&) {
        EXPECT_EQ(done, ++steps);
        EXPECT_EQ(total, kFiles);
        bytes = soFar;
        if (done == 3) std::ofstream(in + "/" + nameOf(400)) << "work";
      });
  CloudTransferOptions options;
  options.count = 1;
  std::vector<std::wstring> failed;
  ICloudProjectService& service = *controller->GetProjectService();
  const std::wstring directory = platform::libraryPath(world.directory.path("in"));
  EXPECT_EQ(service.DownloadQuorvelProjectBwsFiles(world.project, directory, true, failed, options),
            workstation::kStoreChanged);
  workstation::setTransferProgress({});
  EXPECT_EQ(steps, kFiles);
  EXPECT_EQ(bytes, (kFiles - 1) * nameOf(0).size());
  EXPECT_EQ(failed, (std::vector<std::wstring>{puts[400].name, puts[700].name}));
  EXPECT_EQ(contentOf(in + "/" + nameOf(400)), "work");
  EXPECT_FALSE(std::filesystem::exists(in + "/" + nameOf(700)));
  std::size_t whole = 0;
  for (const auto& entry : std::filesystem::directory_iterator(in)) {
    whole += contentOf(entry.path().string()) == entry.path().filename() ? 1U : 0U;
  }
  EXPECT_EQ(whole, kFiles - 2);
}

TEST(ConcurrentStore, LoginFromManyThreadsMakesOneSession) {
  const StoreWorld world;
  const auto controller = workstation::makeEmbeddedController(world.storePath, world.editor);
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([&] { EXPECT_EQ(controller->Login(false, true), 0); });
  }
  for (std::thread& thread : threads) thread.join();
  const auto other = workstation::makeEmbeddedController(world.storePath, world.admin);
  ASSERT_EQ(other->Login(false, true), 0);
  bool inUse = true;
  EXPECT_EQ(other->GetProjectService()->IsProjectInUse(world.team, world.project, true, inUse), 0);
  EXPECT_FALSE(inUse);
}

}  // namespace
}  // namespace zephor_test
