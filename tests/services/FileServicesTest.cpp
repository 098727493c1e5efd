#include "zephor/FileServices.h"

#include "host/Locking.h"
#include "tests/support/CloudFixture.h"

namespace Quorvel::FileAccess {
namespace {

using zephor_test::Calls;
using zephor_test::kRefused;

/// A service called in one situation: its code, the line it leaves in the log, the operation it calls.
struct ServiceCase {
  const char* situation;
  std::function<unsigned long()> service;
  unsigned long code;
  const wchar_t* line;  ///< null: none
  const wchar_t* call;  ///< null: none
};

class FileServices : public zephor_test::CloudFixture {
 protected:
  void check(const std::vector<ServiceCase>& cases) {
    for (const ServiceCase& expected : cases) {
      const std::size_t lines = desk.errorLines().size();
      const std::size_t calls = cloud.calls().size();
      EXPECT_EQ(expected.service(), expected.code) << expected.situation;
      const auto newLines = desk.errorLines();
      const bool hasLine = newLines.size() > lines;
      EXPECT_EQ(hasLine, expected.line != nullptr) << expected.situation;
      if (hasLine && expected.line != nullptr) {
        EXPECT_NE(newLines.back().find(L"Quorvel::FileAccess::" + std::wstring(expected.line)), std::wstring::npos)
            << expected.situation << ": " << platform::toUtf8(newLines.back());
      }
      const Calls made = cloud.calls();
      const std::wstring call = made.size() > calls ? made.back() : L"";
      EXPECT_EQ(call, expected.call != nullptr ? expected.call : L"") << expected.situation;
    }
  }

  const std::wstring file = path(L"notes.txt");
  const std::wstring cloudHost = L"ONDRATH";
};

TEST_F(FileServices, UploadsAnswerByTheirSituation) {
  desk.writeFile(file, "text");
  const wchar_t* const host = cloudHost.c_str();
  const wchar_t* const upload = L"UploadProjectFile notes.txt";
  check({
      {"null", [&] { return WGO_uploadFile(prj(), nullptr, true); }, 13, L"WGO_uploadFile: invalid parameter", nullptr},
      {"name", [&] { return WGO_uploadFile(prj(), L"notes.txt", true); }, 0, nullptr, upload},
      {"host", [&] { return WGO_uploadFile(host, L"", L"\\notes.txt", 0, false, false); }, 0, nullptr, upload},
      {"full path", [&] { return WGO_uploadFile(file.c_str()); }, 0, nullptr, upload},
      {"name alone", [&] { return WGO_uploadFile(L"notes.txt"); }, 0, nullptr, upload},
      {"outside", [&] { return WGO_uploadFile(host, L"Z:\\else", L"a", 0, false, false); }, 13,
       L"Ondrath_uploadFile: \"Z:\\else\\a\" is not a valid", nullptr},
      {"directory", [&] { return WGO_uploadFile((path(L"") + L"\\").c_str()); }, 13,
       L"WGO_uploadFile: could not get file for ", nullptr},
      {"Ex null", [] { return WGO_uploadFileEx(nullptr); }, 87, L"WGO_uploadFileEx: invalid parameter", nullptr},
      {"Ex missing", [&] { return WGO_uploadFileEx(path(L"x").c_str()); }, 2, L"WGO_uploadFileEx: cannot access ",
       nullptr},
      {"Ex", [&] { return WGO_uploadFileEx(file.c_str()); }, 0, nullptr, upload},
      {"free", [&] { return WGO_uploadFreeFile(prj(), file.c_str(), 1U); }, 0, nullptr,
       L"UploadFilesAndMetadata notes.txt 0"},
      {"free Ex, not cloud", [&] { return WGO_uploadFreeFile(localPrj(), file.c_str(), L"x", nullptr); }, 87,
       L"Threading::Ondrath_uploadFreeFileEx: not Ondrath project", nullptr},
  });
  cloud.script("UploadProjectFile", {kRefused, kRefused});
  EXPECT_EQ(WGO_uploadFile(file.c_str()), 13U);
  EXPECT_EQ(WGO_uploadFileEx(file.c_str()), 1U);
}

TEST_F(FileServices, ABlockedDirectionIsAQuietSuccess) {
  const ScopedWGOBlockUpload upload;
  const ScopedWGOBlockDownload download;
  WGO_blockUpload(true);
  WGO_blockUpload(false);
  check({
      {"null", [&] { return WGO_uploadFile(prj(), nullptr, true); }, 13, L"WGO_uploadFile: invalid parameter", nullptr},
      {"Ex null", [] { return WGO_uploadFileEx(nullptr); }, 0, nullptr, nullptr},
      {"free, not cloud", [&] { return WGO_uploadFreeFile(localPrj(), L"a", 1U); }, 87, nullptr, nullptr},
      {"free Ex, not cloud", [&] { return WGO_uploadFreeFile(localPrj(), L"a", L"x", nullptr); }, 0, nullptr, nullptr},
      {"download null", [&] { return WGO_downloadFile(prj(), nullptr, true); }, 0, nullptr, nullptr},
  });
}

TEST_F(FileServices, BlockCountsNeverFallBelowZero) {
  WGO_blockUpload(false);
  {
    const ScopedWGOBlockUpload block;
    { const ScopedWGOBlockUpload copy = block; }  // NOLINT(performance-unnecessary-copy-initialization)
    EXPECT_FALSE(WGO_isBlockedUpload()) << "a copy lowers what it did not raise";
  }
}

TEST_F(FileServices, DownloadsAndDeletionsAnswerByTheirSituation) {
  const wchar_t* const host = cloudHost.c_str();
  check({
      {"download", [&] { return WGO_downloadFile(prj(), file.c_str(), true); }, 0, nullptr, L"DownloadFile notes.txt"},
      {"download null", [&] { return WGO_downloadFile(prj(), nullptr, true); }, 13,
       L"WGO_downloadFile: wrong parameter", nullptr},
      {"download nothing", [&] { return WGO_downloadFile(prj(), L"", true); }, 0, nullptr, nullptr},
      {"download Ex", [&] { return WGO_downloadFileEx(prj(), file, 1); }, 0, nullptr, L"DownloadFile notes.txt.Part"},
      {"download Ex, not cloud", [&] { return WGO_downloadFileEx(localPrj(), file, 1); }, 13, nullptr, nullptr},
      {"delete", [&] { return WGO_deleteServerFile(prj(), L"notes.txt"); }, 0, nullptr, L"DeleteFile notes.txt"},
      {"delete in dir", [&] { return WGO_deleteServerFile(host, uuid.c_str(), L"a.txt"); }, 0, nullptr,
       L"DeleteFile a.txt"},
      {"delete -1", [] { return WGO_deleteServerFile(-1, 99); }, 13, L"WGO_deleteServerFile: wrong parameter", nullptr},
      {"delete type 99", [] { return WGO_deleteServerFile(1, 99); }, 1, L"WGO_deleteServerFile: object type unknown 99",
       nullptr},
      {"delete Plan", [] { return WGO_deleteServerFile(3, 33); }, 0, nullptr, L"DeleteFile pb000003.zpl"},
  });
  EXPECT_EQ(getFileLockingManager().GetLockOwner(3, eObject_Plan, 0), -1) << "the lock of a deletion is given back";
  cloud.script("DeleteFile", {kRefused});
  EXPECT_EQ(WGO_deleteServerFile(prj(), L"a"), 0x8000FFFFU);
}

TEST_F(FileServices, ExistenceIsAskedWhereTheProjectLives) {
  cloud.files = {L"a.txt"};
  EXPECT_TRUE(WGO_existsOnlineServerFile(cloudHost.c_str(), uuid.c_str(), L"a.txt"));
  EXPECT_TRUE(WGO_existsProjectFile(L"\\a.txt"));
  EXPECT_FALSE(WGO_existsProjectFile(L"b.txt"));
  PRJ elsewhere = prj();
  std::wcscpy(elsewhere.host, L"files");
  set_ActivePrj(elsewhere);
  EXPECT_FALSE(WGO_existsOnlineServerFile(cloudHost.c_str(), L"", L"a.txt"));
  EXPECT_TRUE(desk.hasErrorLine(L"WGO_existsOnlineServerFile: hosts not equal files ONDRATH"));
}

}  // namespace
}  // namespace Quorvel::FileAccess
