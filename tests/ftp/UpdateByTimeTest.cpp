// The verdict by file times, which is that of servers that are directories.
#include "platform/Time.h"
#include "tests/ftp/TransferStore.h"

namespace {

using namespace Quorvel::FileAccess;

class UpdateByTime : public zephor_test::TransferFixture {
 protected:
  UpdateByTime() { startStore(zephor_test::directoryStore()); }

  UpdateVerdict verdict(const wchar_t* name, std::uint32_t* mask = nullptr) {
    return connection().fileNeedsUpdate(name, L"p", local(), 0, mask);
  }
};

TEST_F(UpdateByTime, TheYoungerFileDecides) {
  constexpr std::time_t kSpring = 1'741'600'000;
  // Times of both sides in seconds after kSpring; -1: no file.
  const struct {
    int here, there;
    UpdateVerdict verdict;
  } table[] = {
      {0, 1, eVerdict_ServerNewer},    {1, 0, eVerdict_LocalNewer},    {1, 1, eVerdict_Equal},
      {1, -1, eVerdict_ServerMissing}, {-1, -1, eVerdict_BothMissing}, {-1, 1, eVerdict_ServerNewer},
  };
  int number = 0;
  for (const auto& row : table) {
    const std::string name = "f" + std::to_string(number++);
    if (row.here >= 0) {
      writeLocal("p/" + name, "x");
      std::filesystem::last_write_time(
          root() / "local/Prj/p" / name,
          std::chrono::file_clock::from_sys(std::chrono::system_clock::from_time_t(kSpring + row.here)));
    }
    if (row.there >= 0) {
      store().write("p/" + name, "another size");
      store().setTime("p/" + name, kSpring + row.there);
    }
    std::uint32_t mask = 5;
    EXPECT_EQ(verdict(platform::fromUtf8(name).c_str(), &mask), row.verdict) << name;
    EXPECT_EQ(mask, 5U);
  }
}

TEST_F(UpdateByTime, APathThatLeavesItsDirectoryIsNone) {
  EXPECT_EQ(verdict(L"..\\..\\secret"), eVerdict_BothMissing);
}

}  // namespace
