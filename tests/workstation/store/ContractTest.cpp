#include "tests/workstation/store/ContractSuite.h"
#include "workstation/store/EmbeddedController.h"
#include "workstation/store/JournalMode.h"

namespace zephor_test {
namespace {

class EmbeddedWorld : public CloudWorld {
 public:
  ICloudController& controller(Person person, int workstation) override {
    auto& found = controllers_[{person, workstation}];
    if (found == nullptr) {
      const workstation::StoreActor* const actors[] = {&world_.owner, &world_.admin, &world_.editor, &world_.viewer,
                                                       &world_.stranger};
      const workstation::StoreActor& actor = *actors[static_cast<int>(person)];
      found = workstation::makeEmbeddedController(world_.storePath,
                                                  world_.at(actor, L"workstation " + std::to_wstring(workstation)));
    }
    return *found;
  }
  const std::string& storePath() const { return world_.storePath; }
  std::wstring team() const override { return world_.team; }
  std::wstring project() const override { return world_.project; }

 private:
  StoreWorld world_;
  std::map<std::pair<Person, int>, std::unique_ptr<ICloudController>> controllers_;
};

std::unique_ptr<CloudWorld> makeEmbeddedWorld() {
  return std::make_unique<EmbeddedWorld>();
}

/// As it is on a network disk.
std::unique_ptr<CloudWorld> makeSharedWorld() {
  auto world = std::make_unique<EmbeddedWorld>();
  workstation::leaveWriteAhead(world->storePath());
  return world;
}

INSTANTIATE_TEST_SUITE_P(Embedded, CloudContract,
                         ::testing::Values(CloudWorldFactory{"embedded", &makeEmbeddedWorld},
                                           CloudWorldFactory{"onNetworkDisk", &makeSharedWorld}));

}  // namespace
}  // namespace zephor_test
