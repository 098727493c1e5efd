#include "workstation/store/DirectoryScan.h"

#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>
#include <map>

#include "tests/support/TemporaryDirectory.h"

namespace workstation {
namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::Pair;
using testing::UnorderedElementsAre;

std::map<std::string, std::int64_t> sizesOf(const DirectoryScan& scan) {
  std::map<std::string, std::int64_t> sizes;
  for (const ScannedFile& file : scan.files) sizes[file.name] = file.size;
  return sizes;
}

TEST(DirectoryScan, TellsFilesAndLinksToThemAndWhatNoWorkstationCanHold) {
  const zephor_test::TemporaryDirectory directory;
  const fs::path root = fs::path(directory.path()) / "root";
  fs::create_directories(root / "Room" / "Deep");
  fs::create_directories(root / "left out");
  const auto write = [](const fs::path& path, const std::string& content) { std::ofstream(path) << content; };
  write(root / "Room" / "Deep" / "\xC3\x84.txt", "12");
  write(root / "Room" / "two\\parts", "");
  write(root / "Room" / "no utf8 \xFF", "");
  write(root / "nul.txt", "");
  write(root / "left out" / "file", "");
  write(directory.path() + std::string("/outside"), "12345");
  fs::create_symlink("../outside", root / "link");
  fs::create_directory_symlink("Room", root / "again");
  fs::create_symlink("nowhere", root / "dangling");

  const DirectoryScan scan = scanDirectory(root.string(), [](std::string_view key) { return key == "left out"; });

  EXPECT_EQ(scan.failure, L"");
  EXPECT_THAT(sizesOf(scan), ElementsAre(Pair("Room\\Deep\\\xC3\x84.txt", 2), Pair("link", 5)));
  EXPECT_THAT(scan.passedOver, UnorderedElementsAre(L"Room\\two\\parts", L"Room\\no utf8 \xFFFD", L"nul.txt"));
  for (const ScannedFile& file : scan.files) EXPECT_EQ(file.key, keyOfName(file.name));
  EXPECT_EQ(keyOfName("Room\\\xC3\x84.TXT"), "room\\\xC3\xA4.txt");
  EXPECT_NE(scanDirectory((root / "gone").string(), [](std::string_view) { return false; }).failure, L"");
}

}  // namespace
}  // namespace workstation
