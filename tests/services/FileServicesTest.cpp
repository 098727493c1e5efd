#include "zephor/FileServices.h"

#include "host/Locking.h"
#include "tests/support/CloudFixture.h"
#include "zephor/Service.h"

namespace Quorvel::FileAccess {
namespace {

using zephor_test::Calls;
using zephor_test::kRefused;

/// A service called in one situation: its code, the line it leaves in the log, the operation it calls.
struct ServiceCase {
  const char* situation;
  std::function<unsigned long()> service;
  unsigned long code;
  const wchar_t* line = nullptr;  ///< behind the namespace; null: none
  const wchar_t* call = nullptr;  ///< null: none
};

class FileServices : public zephor_test::CloudFixture {
 protected:
  void check(const std::vector<ServiceCase>& cases) {
    for (const ServiceCase& expected : cases) {
      SCOPED_TRACE(expected.situation);
      const std::size_t lines = desk.errorLines().size();
      const std::size_t calls = cloud.calls().size();
      SetLastError(0);
      const unsigned long code = expected.service();
      EXPECT_EQ(code, expected.code);
      EXPECT_EQ(code != 0 ? GetLastError() : 0, code) << "the failure is the last error as well";
      const auto newLines = desk.errorLines();
      const std::wstring line = newLines.size() > lines ? newLines.back() : L"";
      EXPECT_EQ(line.empty(), expected.line == nullptr);
      const std::wstring promised =
          expected.line != nullptr ? std::wstring(L"Quorvel::FileAccess::") + expected.line : L"";
      EXPECT_NE(line.find(promised), line.npos) << platform::toUtf8(line);
      const Calls made = cloud.calls();
      EXPECT_EQ(made.size() > calls ? made.back() : L"", expected.call != nullptr ? expected.call : L"");
    }
  }

  const std::wstring file = path(L"notes.txt");
  const wchar_t* const cloudHost = L"ONDRATH";
  const wchar_t* const upload = L"UploadProjectFile notes.txt";
};

TEST_F(FileServices, UploadsAnswerByTheirSituation) {
  desk.writeFile(file, "text");
  const std::wstring shouted = platform::toUpper(path(L"")) + L"\\notes.txt";
  const std::wstring longer = path(L"") + L"old\\sub\\notes.txt";
  const wchar_t* const invalid = L"WGO_uploadFile: invalid parameter";
  const wchar_t* const batch = L"UploadFilesAndMetadata notes.txt 0";
  const auto on = [](const wchar_t* host, const wchar_t* dir, const wchar_t* name) {
    return [=] { return WGO_uploadFile(host, dir, name, 0, false, false); };
  };
  check({
      {"null", [&] { return WGO_uploadFile(prj(), nullptr, true); }, 13, invalid},
      {"name", [&] { return WGO_uploadFile(prj(), L"notes.txt", true); }, 0, nullptr, upload},
      {"not cloud", [&] { return WGO_uploadFile(localPrj(), L"notes.txt", true); }, 0},
      {"host null", on(cloudHost, L"", nullptr), 13, invalid},
      {"other host", on(L"files", L"", L"notes.txt"), 0},
      {"outside", on(cloudHost, L"Z:\\else", L"a"), 13, L"Ondrath_uploadFile: \"Z:\\else\\a\" is not a valid"},
      {"path", [&] { return WGO_uploadFile(shouted.c_str()); }, 0, nullptr, upload},
      {"longer component", [&] { return WGO_uploadFile(longer.c_str()); }, 0, nullptr, upload},
      {"name alone", [&] { return WGO_uploadFile(L"notes.txt"); }, 0, nullptr, upload},
      {"directory", [&] { return WGO_uploadFile((path(L"") + L"\\").c_str()); }, 13, L"WGO_uploadFile: could not get "},
      {"Ex null", [] { return WGO_uploadFileEx(nullptr); }, 87, L"WGO_uploadFileEx: invalid parameter"},
      {"Ex missing", [&] { return WGO_uploadFileEx(path(L"x").c_str()); }, 2, L"WGO_uploadFileEx: cannot access "},
      {"Ex", [&] { return WGO_uploadFileEx(file.c_str()); }, 0, nullptr, upload},
      {"free", [&] { return WGO_uploadFreeFile(prj(), file.c_str(), 1U); }, 0, nullptr, batch},
  });
  EXPECT_EQ(CreateWGOAccess()->UploadChangedFiles(path(L""), {file, path(L"x")}), 0);
  EXPECT_EQ(cloud.calls().back(), batch);
  cloud.script("UploadProjectFile", {kRefused, kRefused});
  EXPECT_EQ(WGO_uploadFile(file.c_str()), 13U);
  EXPECT_EQ(WGO_uploadFileEx(file.c_str()), 1U);
  getInetFileManager().setProjectName(L"", false);
  WGO_uploadFile(path(L"BIM\\notes.txt").c_str());
  EXPECT_EQ(cloud.calls().back(), L"UploadProjectFile BIM\\notes.txt") << "never the namesake of another directory";
}

TEST_F(FileServices, ABlockedDirectionIsAQuietSuccess) {
  WGO_blockUpload(false);  // never below zero
  { const ScopedWGOBlockUpload ended; }
  const ScopedWGOBlockUpload upwards;
  const ScopedWGOBlockDownload download;
  check({
      {"null", [&] { return WGO_uploadFile(prj(), nullptr, true); }, 13, L"WGO_uploadFile: invalid parameter"},
      {"Ex null", [] { return WGO_uploadFileEx(nullptr); }, 0},
      {"free, not cloud", [&] { return WGO_uploadFreeFile(localPrj(), L"a", 1U); }, 87},
      {"free Ex, not cloud", [&] { return WGO_uploadFreeFile(localPrj(), L"a", L"x", nullptr); }, 0},
      {"download null", [&] { return WGO_downloadFile(prj(), nullptr, true); }, 0},
      {"download Ex, not cloud", [&] { return WGO_downloadFileEx(localPrj(), file, 1); }, 0},
  });
  { const ScopedWGOBlockUpload copy = upwards; }  // NOLINT(performance-unnecessary-copy-initialization)
  EXPECT_FALSE(WGO_isBlockedUpload()) << "a copy lowers what it did not raise";
}

TEST_F(FileServices, DownloadsAndDeletionsAnswerByTheirSituation) {
  const wchar_t* const wrong = L"WGO_deleteServerFile: wrong parameter";
  ASSERT_EQ(desk.store().lockObject(desk.addColleague(L"Bo"), uuid, eFileType_Plan, 4), 0);
  check({
      {"download", [&] { return WGO_downloadFile(prj(), file.c_str(), true); }, 0, nullptr, L"DownloadFile notes.txt"},
      {"null", [&] { return WGO_downloadFile(prj(), nullptr, true); }, 13, L"WGO_downloadFile: wrong parameter"},
      {"download nothing", [&] { return WGO_downloadFile(prj(), L"", true); }, 0},
      {"download, not cloud", [&] { return WGO_downloadFile(localPrj(), L"a", true); }, 0},
      {"download Ex", [&] { return WGO_downloadFileEx(prj(), file, 1); }, 0, nullptr, L"DownloadFile notes.txt.Part"},
      {"download Ex, not cloud", [&] { return WGO_downloadFileEx(localPrj(), file, 1); }, 13},
      {"delete", [&] { return WGO_deleteServerFile(prj(), L"notes.txt"); }, 0, nullptr, L"DeleteFile notes.txt"},
      {"delete, not cloud", [&] { return WGO_deleteServerFile(localPrj(), L"a"); }, 13},
      {"delete null", [] { return WGO_deleteServerFile(L"files", L"", nullptr); }, 13, wrong},
      {"delete elsewhere", [] { return WGO_deleteServerFile(L"files", L"", L"a.txt"); }, 13},
      {"in dir", [&] { return WGO_deleteServerFile(cloudHost, uuid.c_str(), L"a"); }, 0, nullptr, L"DeleteFile a"},
      {"delete -1", [] { return WGO_deleteServerFile(-1, 99); }, 13, wrong},
      {"delete 99", [] { return WGO_deleteServerFile(1, 99); }, 1, L"WGO_deleteServerFile: object type unknown 99"},
      {"delete Plan", [] { return WGO_deleteServerFile(3, 33); }, 0, nullptr, L"DeleteFile pb000003.zpl"},
      {"delete Bo's", [] { return WGO_deleteServerFile(4, 33); }, 1, L"WGO_deleteServerFile: lockFile failed pb000004"},
  });
  EXPECT_EQ(getFileLockingManager().GetLockOwner(3, eObject_Plan, 0), -1) << "the lock of a deletion is given back";
  cloud.script("DeleteFile", {kRefused});
  EXPECT_EQ(WGO_deleteServerFile(prj(), L"a"), 0x8000FFFFU);
}

TEST_F(FileServices, AServiceAsksWhereTheProjectLives) {
  desk.writeFile(file, "text");
  cloud.files = {L"a.txt"};
  EXPECT_TRUE(WGO_existsOnlineServerFile(cloudHost, uuid.c_str(), L"a.txt"));
  EXPECT_TRUE(WGO_existsProjectFile(L"\\a.txt"));
  EXPECT_FALSE(WGO_existsProjectFile(L"b.txt"));
  PRJ elsewhere = prj();
  std::wcscpy(elsewhere.host, L"files");
  set_ActivePrj(elsewhere);
  const auto line = [](const wchar_t* name) { return std::wstring(name) + L": hosts not equal files ONDRATH"; };
  const std::wstring lines[] = {line(L"WGO_existsOnlineServerFile"), line(L"WGO_deleteServerFile"),
                                line(L"WGO_uploadFile"), line(L"WGO_uploadFileEx")};
  check({{"exists", [&] { return WGO_existsOnlineServerFile(cloudHost, L"", L"a"); }, 0, lines[0].c_str()},
         {"delete", [&] { return WGO_deleteServerFile(cloudHost, L"", L"a"); }, 13, lines[1].c_str()},
         {"path", [&] { return WGO_uploadFile(file.c_str()); }, 13, lines[2].c_str()},
         {"Ex", [&] { return WGO_uploadFileEx(file.c_str()); }, 13, lines[3].c_str()}});
}

}  // namespace
}  // namespace Quorvel::FileAccess
