// Lock files of a project, on every store.
#include "ftp/LockContent.h"

#include <algorithm>

#include "host/Locking.h"
#include "platform/Text.h"
#include "tests/ftp/TransferStore.h"

namespace {

using namespace Quorvel::FileAccess;
using zephor_test::TransferStoreKind;

constexpr const wchar_t* kOwnLock = L"tb000012.zdw.0001-22222222.lck";

class LockFiles : public zephor_test::TransferFixture, public testing::WithParamInterface<TransferStoreKind> {
 protected:
  void SetUp() override {
    startStore(GetParam());
    if (IsSkipped()) return;
    connection().setProjectName(L"House", false);
    connection().setQuorvelUserID(1);
    connection().remote().setDialogsSuppressed(true);
  }

  std::vector<std::wstring> listed(int userFilter) {
    std::vector<LockFileInfo> locks;
    const std::size_t count = connection().fillLockInfo(L"House", locks, userFilter);
    EXPECT_EQ(count, locks.size());
    std::vector<std::wstring> names;
    for (const LockFileInfo& lock : locks) {
      names.push_back(
          platform::formatWide(L"%d %d %d %s", lock.objectType, lock.objectNumber, lock.userId, lock.baseName));
    }
    std::sort(names.begin(), names.end());
    return names;
  }
};

using Names = std::vector<std::wstring>;

TEST_P(LockFiles, ALockIsWrittenReadAndDeleted) {
  const int type = eObject_Teilbild;
  EXPECT_FALSE(connection().createLockFile(12, &type, kOwnLock, L"x")) << "its directory is missing";
  EXPECT_EQ(GetLastError(), DWORD{ERROR_PATH_NOT_FOUND});
  ASSERT_TRUE(connection().createServerDirectory(store().serverPath(L"House.prj/Lck").c_str()));
  ASSERT_TRUE(connection().createLockFile(12, &type, kOwnLock, L"J\u00fcrgen"));
  EXPECT_EQ(store().read("House.prj/Lck/tb000012.zdw.0001-22222222.lck"), "\xEF\xBB\xBFJ\xFCrgen");
  ASSERT_TRUE(connection().createLockFile(12, &type, kOwnLock, L"again")) << "the own lock is written over";

  std::wstring text;
  ASSERT_TRUE(connection().readLockFile(kOwnLock, text));
  EXPECT_EQ(text, L"again");
  EXPECT_TRUE(connection().remote().getDialogsSuppressed());
  EXPECT_TRUE(connection().lockFileExists(12, &type, kOwnLock, L"TB000012.zdw.???1-22222222.lck"));
  EXPECT_TRUE(connection().lockFileExists(12, &type, kOwnLock, L"TB000012.ZDW.0001-22222222.LCK"));
  EXPECT_EQ(GetLastError(), 0U);
  EXPECT_FALSE(connection().lockFileExists(12, &type, kOwnLock, L"tb000013.zdw.???1-22222222.lck"));

  EXPECT_TRUE(connection().deleteLockFile(12, &type, kOwnLock));
  EXPECT_TRUE(connection().deleteLockFile(12, &type, kOwnLock)) << "one that is not there";
  EXPECT_FALSE(connection().readLockFile(kOwnLock, text));
  EXPECT_FALSE(store().exists("House.prj/Lck/tb000012.zdw.0001-22222222.lck"));
}

TEST_P(LockFiles, AListTellsLocksByUser) {
  EXPECT_EQ(listed(-1), Names());
  EXPECT_EQ(GetLastError(), 0U) << "no directory, no locks";
  for (const char* name :
       {"tb000012.zdw.0001-22222222.lck", "PB000003.ZPL.0007.LCK", "notes.lck", "readme.txt", "lck"}) {
    store().write(std::string("House.prj/Lck/") + name, "x");
  }
  EXPECT_EQ(listed(-1), (Names{L"2 3 7 PB000003.ZPL"}));
  EXPECT_EQ(listed(1), (Names{L"0 12 1 tb000012.zdw"}));
  EXPECT_EQ(listed(9), Names());
  EXPECT_TRUE(store().exists("House.prj/Lck/notes.lck")) << "what is no lock stays";
}

INSTANTIATE_TEST_SUITE_P(Stores, LockFiles, testing::ValuesIn(zephor_test::allTransferStores()),
                         [](const testing::TestParamInfo<TransferStoreKind>& kind) { return kind.param.name; });

TEST(LockContent, MarkAndTextInTheActiveCodePage) {
  const struct {
    const wchar_t* text;
    UINT codePage;
    std::string bytes;
  } table[] = {
      {L"", 1252, ""},
      {L"Ada\n1", 1252, "Ada\n1"},
      {L"\u20ac\u6587", 1252, "\x80?"},
      {L"\u00fcber", 65001,
       "\xC3\xBC"
       "be"},  // two bytes of one character cut the end
  };
  for (const auto& row : table) {
    platform::setActiveCodePage(row.codePage);
    EXPECT_EQ(lockContentOf(row.text), "\xEF\xBB\xBF" + row.bytes);
  }
  platform::setActiveCodePage(1252);
  EXPECT_EQ(lockTextOf("\xEF\xBB\xBF\x80uro"), L"\u20acuro");
  EXPECT_EQ(lockTextOf("no mark"), L"no mark");
  EXPECT_EQ(lockTextOf(std::string("\xEF\xBB\xBF").append(5000, 'x')), std::wstring(4095, L'x'));
  EXPECT_EQ(lockTextOf(std::string("ab\0cd", 5)), L"ab");
  EXPECT_EQ(lockTextOf("\xEF\xBB\xBF"), L"");
}

}  // namespace
