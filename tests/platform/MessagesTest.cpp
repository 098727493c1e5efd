#include "platform/Messages.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdlib>
#include <string>
#include <thread>

#include "platform/Paths.h"
#include "platform/Text.h"

namespace {

constexpr DWORD kSystem = FORMAT_MESSAGE_FROM_SYSTEM;
constexpr DWORD kModule = FORMAT_MESSAGE_FROM_HMODULE;

/// As callers ask: the text in a buffer of the system's.
std::wstring textOf(DWORD flags, HMODULE module, DWORD code) {
  wchar_t* buffer = nullptr;
  SetLastError(0);
  const DWORD length = FormatMessageW(flags | FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_IGNORE_INSERTS, module,
                                      code, 1024, reinterpret_cast<wchar_t*>(&buffer), 0, nullptr);
  std::wstring text = length != 0 ? buffer : L"";
  EXPECT_EQ(text.size(), length);
  EXPECT_EQ(GetLastError(), length != 0 ? ERROR_SUCCESS : ERROR_MR_MID_NOT_FOUND);
  EXPECT_EQ(LocalFree(buffer), nullptr);
  return text;
}

TEST(MessagesTest, CodesHaveTheirTextWhereCallersLookForIt) {
  const HMODULE network = LoadLibraryExW(L"netmsg.dll", nullptr, LOAD_LIBRARY_AS_DATAFILE);
  const HMODULE internet = LoadLibraryW(L"WinInet.DLL");
  const HMODULE http = LoadLibraryW(L"winhttp.dll");
  const struct {
    DWORD code;
    bool system, network, internet;
  } cases[] = {
      {2, true, false, false},      {2138, false, true, false},        {2250, true, true, false},
      {12002, false, false, true},  {12192, false, false, true},       {0x8000FFFF, true, false, false},
      {12193, false, false, false}, {0x20B10001, false, false, false},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(!textOf(kSystem, nullptr, c.code).empty(), c.system) << c.code;
    EXPECT_EQ(!textOf(kModule, network, c.code).empty(), c.network) << c.code;
    EXPECT_EQ(!textOf(kModule, internet, c.code).empty(), c.internet) << c.code;
    EXPECT_EQ(textOf(kModule, http, c.code), textOf(kModule, internet, c.code));
  }
  EXPECT_EQ(textOf(kSystem | kModule, network, 2), L"The system cannot find the file specified.\r\n");
  EXPECT_TRUE(FreeLibrary(network));
  EXPECT_FALSE(FreeLibrary(network));
  EXPECT_TRUE(textOf(kModule, network, 2138).empty());
  EXPECT_TRUE(FreeLibrary(internet));
  EXPECT_TRUE(FreeLibrary(http));
}

TEST(MessagesTest, TheLastInternetResponseBelongsToItsThread) {
  std::array<wchar_t, 16> buffer{};
  DWORD error = 1;
  DWORD length = 16;
  EXPECT_FALSE(InternetGetLastResponseInfoW(&error, buffer.data(), &length));
  EXPECT_EQ(length, 0U);
  platform::setLastInternetResponse(L"530 No.\r\n");
  std::thread([] {
    DWORD size = 16;
    std::array<wchar_t, 16> other{};
    EXPECT_FALSE(InternetGetLastResponseInfoW(nullptr, other.data(), &size));
  }).join();
  length = 9;
  EXPECT_FALSE(InternetGetLastResponseInfoW(&error, buffer.data(), &length));
  EXPECT_EQ(length, 10U);
  EXPECT_TRUE(InternetGetLastResponseInfoW(&error, buffer.data(), &length));
  EXPECT_EQ(std::wstring(buffer.data(), length), L"530 No.\r\n");
}

TEST(ResourcesTest, StringsAreCutToTheBuffer) {
  const HMODULE library = LoadLibraryW(platform::libraryPath(ZEPHOR_TEST_STRINGS).c_str());
  ASSERT_NE(library, nullptr);
  std::array<wchar_t, 64> buffer{};
  EXPECT_EQ(LoadStringW(library, 101, buffer.data(), 64), 17);
  EXPECT_STREQ(buffer.data(), L"Übertragung läuft");
  EXPECT_EQ(LoadStringW(library, 101, buffer.data(), 6), 5);
  EXPECT_STREQ(buffer.data(), L"Übert");
  EXPECT_EQ(LoadStringW(library, 303, buffer.data(), 3), 2);
  EXPECT_STREQ(buffer.data(), L"€\x1F600");
  EXPECT_EQ(LoadStringW(library, 101, buffer.data(), 1), 0);
  SetLastError(0);
  EXPECT_EQ(LoadStringW(library, 202, buffer.data(), 64), 0);
  EXPECT_EQ(GetLastError(), 0U);
  EXPECT_EQ(LoadStringW(library, 404, buffer.data(), 64), 0);
  EXPECT_EQ(GetLastError(), ERROR_RESOURCE_NAME_NOT_FOUND);
  EXPECT_TRUE(FreeLibrary(library));
  EXPECT_EQ(LoadStringW(library, 101, buffer.data(), 64), 0);
}

TEST(ResourcesTest, WhatIsNoResourceLibraryDoesNotLoad) {
  for (const wchar_t* const path : {L"", L"libc.so.6", L"none.dll", L"\\etc\\passwd", L"\\tmp", L"\\lib\\netmsg.dll"}) {
    SetLastError(0);
    EXPECT_EQ(LoadLibraryW(path), nullptr) << path;
    EXPECT_EQ(GetLastError(), ERROR_MOD_NOT_FOUND);
  }
  EXPECT_EQ(LoadLibraryW(nullptr), nullptr);
}

TEST(EnvironmentTest, DirectoriesOfTheWindowsWorldHaveStandIns) {
  for (const char* const name : {"APPDATA", "TEMP", "TMP", "TMPDIR", "XDG_CONFIG_HOME"}) ::unsetenv(name);
  ::setenv("HOME", "/home/user", 1);
  EXPECT_EQ(platform::environment(L"APPDATA"), platform::libraryPath("/home/user/.config"));
  EXPECT_EQ(platform::environment(L"TEMP"), platform::libraryPath("/tmp"));
  ::setenv("XDG_CONFIG_HOME", "relative", 1);
  EXPECT_EQ(platform::environment(L"APPDATA"), platform::libraryPath("/home/user/.config"));
  ::setenv("XDG_CONFIG_HOME", "/etc/", 1);
  ::setenv("TMPDIR", "/var/tmp", 1);
  EXPECT_EQ(platform::environment(L"APPDATA"), platform::libraryPath("/etc"));
  EXPECT_EQ(platform::environment(L"TMP"), platform::libraryPath("/var/tmp"));
  ::setenv("APPDATA", "Z:\\own", 1);
  EXPECT_EQ(platform::environment(L"APPDATA"), L"Z:\\own");
  std::array<wchar_t, 8> buffer{};
  EXPECT_EQ(GetEnvironmentVariableW(L"APPDATA", buffer.data(), 6), 7U) << "the size needed, with the terminator";
  EXPECT_EQ(GetEnvironmentVariableW(L"APPDATA", buffer.data(), 7), 6U);
  EXPECT_EQ(platform::environment(L"ZEPHOR_NOT_SET"), L"");
}

}  // namespace
