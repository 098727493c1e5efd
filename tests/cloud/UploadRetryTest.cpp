#include "cloud/Ondrath_Services.h"
#include "tests/support/CloudFixture.h"
#include "workstation/objects/CoreObjects.h"
#include "workstation/ui/HostInterface.h"
#include "zephor/NotUploadedFiles.h"

namespace Quorvel::FileAccess {
namespace {

using zephor_test::Calls;
using zephor_test::kRefused;

std::vector<QuorvFileInfo> filesNamed(const std::vector<std::wstring>& names) {
  std::vector<QuorvFileInfo> files;
  for (const std::wstring& name : names) files.emplace_back().name = name;
  return files;
}

class UploadRetry : public zephor_test::CloudFixture {
 protected:
  CloudStatus send(const std::vector<std::wstring>& names) {
    return UploadFilesRetry(uuid, L"Z:\\base\\", filesNamed(names), 0, {});
  }
  std::vector<std::wstring> listed() {
    std::vector<std::wstring> names;
    getNotUploadedFilesList(names);
    return names;
  }
};

TEST_F(UploadRetry, YesResendsWhatFailedAndTheAnswerStaysTheFirstFailure) {
  addEntryToNotUploadedFilesList(L"tb000002.zdw");
  cloud.script("UploadFilesAndMetadata", {kRefused, 0});
  cloud.failedNames = {{L"b", L"TB000002.zdw", L"tb000002.zdw"}};
  ui().answerWith(IDYES);
  EXPECT_EQ(send({L"a", L"tb000002.zdw", L"b", L"c"}), kRefused);
  EXPECT_EQ(cloud.calls(),
            (Calls{L"UploadFilesAndMetadata a,tb000002.zdw,b,c 0", L"UploadFilesAndMetadata tb000002.zdw,b 0"}));
  EXPECT_EQ(listed(), (std::vector<std::wstring>{L"tb000002.zdw"})) << "the list is left alone";
  ASSERT_EQ(ui().boxes().size(), 1U);
  const auto box = ui().boxes()[0];
  EXPECT_EQ(box.caption, L"Quorvel");
  EXPECT_EQ(box.style, 0x10024U);
  EXPECT_NE(box.text.find(L"Error: 0x00000005 \""), std::wstring::npos) << platform::toUtf8(box.text);
  EXPECT_NE(box.text.find(L"\"\n\nb\nTB000002.zdw\ntb000002.zdw\n\nDo you want to try again?"), std::wstring::npos);
  EXPECT_TRUE(
      desk.hasErrorLine(L"UploadFilesRetry: uploading files and metadata from \"Z:\\base\\\" failed with 0x00000005."));
}

TEST(UploadQuestion, NamesTenAndTellsOfMore) {
  const std::wstring ten = L"a\nb\nc\nd\ne\nf\ng\nh\ni\nj\n";
  for (const auto& [count, names] :
       {std::pair{std::size_t{0}, std::wstring()}, {10, ten}, {11, ten + L"...\n"}, {26, ten + L"...\n"}}) {
    std::vector<std::wstring> failed;
    while (failed.size() < count) failed.emplace_back(1, static_cast<wchar_t>(L'a' + failed.size()));
    EXPECT_EQ(uploadQuestion({L"Heading", L"Error", L"Again?"}, 5, L"Denied.", failed),
              L"Heading\nError: 0x00000005 \"Denied.\"\n\n" + names + L"\nAgain?");
  }
}

TEST_F(UploadRetry, NoListsTheObjectsOfThePass) {
  cloud.script("UploadFilesAndMetadata", {kRefused, kRefused});
  cloud.failedNames = {{L"tb000012.zdw", L"pb000007.zpl", L"a.txt"}, {L"a.txt"}};
  ui().answerWith({IDYES, IDNO});
  EXPECT_EQ(send({L"tb000001.zdw", L"tb000012.zdw", L"a.txt", L"pb000007.zpl"}), kRefused);
  EXPECT_EQ(listed(), (std::vector<std::wstring>{L"tb000012.zdw", L"pb000007.zpl"}));
  EXPECT_EQ(::workstation::dataChanges(), (std::vector<::workstation::DataChange>{{1, 12, 1}, {2, 7, 1}}));
}

TEST_F(UploadRetry, WithDeniedMessagesAsksNobodyAndListsNothing) {
  ::workstation::setDenied(true);
  cloud.script("UploadFilesAndMetadata", {kRefused});
  cloud.failedNames = {{L"tb000012.zdw"}};
  EXPECT_EQ(send({L"tb000012.zdw"}), kRefused);
  EXPECT_TRUE(ui().boxes().empty());
  EXPECT_TRUE(listed().empty());
}

}  // namespace
}  // namespace Quorvel::FileAccess
