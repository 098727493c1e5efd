#include <gtest/gtest.h>

#include "workstation/store/CloudStore.h"

namespace {

TEST(StoreNames, NamesThatLeaveTheProjectAreRefused) {
  for (const wchar_t* name : {L"", L"\\", L"..", L"..\\a", L"a\\..\\..\\b", L"/../a", L"\\\\server\\a", L"C:\\a",
                              L"a:b", L"a\\\\b", L"a|b", L"nul", L"con.txt", L"a\nb", L"end.", L"end ", L"a\\.\\b"}) {
    std::wstring out = L"untouched";
    EXPECT_FALSE(workstation::normaliseStoreName(name, out));
    EXPECT_EQ(out, L"untouched");
  }
}

}  // namespace
