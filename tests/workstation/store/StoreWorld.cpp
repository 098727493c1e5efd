#include "tests/workstation/store/StoreWorld.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>

#include "platform/Paths.h"
#include "platform/Text.h"

namespace zephor_test {

using workstation::CloudStore;
using workstation::StoreActor;
using workstation::StoreRole;

StoreWorld::StoreWorld() : storePath(directory.path("store")) {
  std::wstring error;
  EXPECT_EQ(CloudStore::create(storePath, error), 0) << platform::toUtf8(error);
  const auto store = open();
  const auto person = [&](StoreActor& actor, const wchar_t* name) {
    actor.user = {L"", name, std::wstring(name) + L"@house.example"};
    EXPECT_EQ(store->registerUser(actor.user), 0);
    actor = at(actor, std::wstring(name) + L"-pc");
  };
  person(owner, L"Olga");
  person(admin, L"Adam");
  person(editor, L"Edda");
  person(viewer, L"Vito");
  person(stranger, L"Sven");
  EXPECT_EQ(store->createTeam(owner, L"Bridge", team), 0);
  EXPECT_EQ(store->createProject(owner, team, L"North pier", project), 0);
  EXPECT_EQ(store->addMember(owner, project, L"ADAM@house.example", StoreRole::Admin), 0);
  EXPECT_EQ(store->addMember(admin, project, editor.user.uuid, StoreRole::Editor), 0);
  EXPECT_EQ(store->addMember(admin, project, viewer.user.uuid, StoreRole::Viewer), 0);
}

std::shared_ptr<CloudStore> StoreWorld::open() const {
  CloudStatus status = 0;
  std::wstring error;
  auto store = CloudStore::open(storePath, status, error);
  EXPECT_NE(store, nullptr) << platform::toUtf8(error);
  return store;
}

StoreActor StoreWorld::at(const StoreActor& person, const std::wstring& workstation) const {
  return {person.user, workstation, L"id of " + workstation};
}

std::wstring StoreWorld::local(const std::string& name, const std::string& content) const {
  const std::filesystem::path path = directory.path("local/" + name);
  std::filesystem::create_directories(path.parent_path());
  std::ofstream(path, std::ios::binary) << content;
  return platform::libraryPath(path.string());
}

CloudStatus StoreWorld::put(CloudStore& store, const StoreActor& actor, const std::wstring& name,
                            const std::string& content) const {
  workstation::FilePut file;
  file.name = name;
  file.path = local("put", content);
  std::vector<CloudStatus> statuses;
  return store.putFiles(actor, project, {file}, statuses);
}

std::string StoreWorld::get(CloudStore& store, const StoreActor& actor, const std::wstring& name) const {
  workstation::StoredFile file;
  const std::string target = directory.path("got");
  const CloudStatus status = store.copyOut(actor, project, name, target, file);
  return status == 0 ? contentOf(target) : "<" + std::to_string(workstation::errorOfStatus(status)) + ">";
}

TeilbildHeader teilbildHeader(int number, std::uint32_t version, const std::u16string& name) {
  auto header = clearedHeader<TeilbildHeader>();
  header.number = number;
  header.versionCounter = version;
  std::copy(name.begin(), name.end(), header.name);
  return header;
}

}  // namespace zephor_test
