#include "tests/support/CloudFixture.h"
#include "zephor/ProjectListing.h"

namespace Quorvel::FileAccess {
namespace {

using Numbers = std::vector<int>;
using StructureFiles = zephor_test::CloudFixture;

std::string utf16(const std::string& text) {
  std::string result = "\xFF\xFE";
  for (const char c : text) result.append({c, '\0'});
  return result;
}

TEST_F(StructureFiles, AreReadAsLines) {
  const std::string tag = "<Layout ID=\"";
  const std::string filler(1023 - tag.size(), ' ');
  const std::pair<std::string, Numbers> table[] = {
      {tag + "7\">\r\n" + tag + "3\">\n" + tag + "7\">", {3, 7, 7}},
      {tag + "5\"/>" + tag + "6\"/>\n<x a=\"<\"/> " + tag + " 12x\"", {5, 12}},
      {"<layout ID=\"1\">\n<Layout  ID=\"2\">\n<Layout ID='3'>\n<Layout Name=\"\" ID=\"4\">\n", {}},
      {tag + "x\n" + tag + "-4\n" + tag + "99999999999\n" + tag, {-4, 0, 0, 2147483647}},
      {filler + tag + "8\">\n", {0}},
      {filler + "  " + tag + "8\">\n", {}},
      {tag + "1\">" + filler + tag + "2\">\n", {1, 2}},
      {filler + filler + filler + "   " + tag + "9\">" + tag + "8\">", {9}},
      {tag + "1\r" + tag + "2\n\r\n\n\n" + tag + "3", {1, 3}},
      {"\xEF\xBB\xBF" + tag + "4\n\xFF\xE4" + tag + "5\n" + tag + "\xEF\xBC\x91\n", {0, 4, 5}},
      {"a" + std::string(3, '\0') + "\n" + tag + "6" + '\0' + "7\n" + std::string(5000, '\0'), {6}},
      {utf16(tag + "3\">\n"), {}},
      {"", {}},
  };
  for (const auto& [text, expected] : table) {
    desk.writeFile(path(L"BIM\\Quorvel_BIM_LayoutStructure.xml"), text);
    Numbers numbers;
    EXPECT_TRUE(getAssignedFilesFromStructureXML(prj(), numbers, L"Quorvel_BIM_LayoutStructure.xml"));
    EXPECT_EQ(numbers, expected) << text;
  }
  desk.writeFile(path(L"BIM\\Quorvel_BIM_LayoutStructure.xml"), tag + "9999\n" + tag + "0\n" + tag + "9998\n");
  std::set<std::wstring> files;
  WGO_getListOfLayoutFilesFromLayoutStructure(files);
  EXPECT_EQ(files, std::set{path(L"pb009998.zpl")});
  Numbers none;
  EXPECT_FALSE(getAssignedFilesFromStructureXML(prj(), none, L"Quorvel_BIM_Views.xml")) << "not there";
}

}  // namespace
}  // namespace Quorvel::FileAccess
