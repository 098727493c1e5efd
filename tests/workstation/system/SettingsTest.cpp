#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "host/System.h"
#include "platform/Text.h"
#include "tests/support/TemporaryDirectory.h"
#include "tests/workstation/Fixtures.h"
#include "workstation/Session.h"

namespace {

using zephor_test::contentOf;
using zephor_test::offline;
using zephor_test::TemporaryDirectory;
using zephor_test::TestWorkstation;

void replaceContent(const std::string& file, const std::string& text) {
  std::ofstream(file, std::ios::binary | std::ios::trunc) << text;
}

std::string settingsFile(const TestWorkstation& workstation) {
  return workstation.directory() + "/workstation/config/settings.json";
}

workstation::WorkstationConfiguration someConfiguration() {
  workstation::WorkstationConfiguration configuration;
  configuration.identity.user.name = L"Somebody";
  configuration.language = "en";
  return configuration;
}

workstation::StartOptions optionsFor(const std::string& directory) {
  workstation::StartOptions options;
  options.directory = directory;
  return options;
}

int number(const wchar_t* key) {
  int value = -1;
  return ZSYST_ZepRegGetNumber(L"HKCU", key, value) ? value : -1;
}

/// In a process of its own: counts a key up, one write at a time.
[[noreturn]] void countUp(const std::string& directory, const std::wstring& key, int times) {
  std::wstring error;
  bool isDone = workstation::start(optionsFor(directory), error);
  for (int i = 1; isDone && i <= times; ++i) isDone = ZSYST_ZepRegPutNumber(L"HKCU", key, i);
  _exit(isDone ? 0 : 1);
}

TEST(Settings, TwoProcessesThatWriteAtOnceLoseNothingOfEachOther) {
  const TemporaryDirectory directory;
  std::wstring error;
  ASSERT_TRUE(workstation::writeConfiguration(directory.path(), someConfiguration(), false, error));
  constexpr int kTimes = 40;
  pid_t children[2] = {};
  for (int i = 0; i < 2; ++i) {
    children[i] = fork();
    if (children[i] == 0) countUp(directory.path(), i == 0 ? L"Settings\\First" : L"Settings\\Second", kTimes);
  }
  for (const pid_t child : children) {
    int status = -1;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
  }
  ASSERT_TRUE(workstation::start(optionsFor(directory.path()), error));
  EXPECT_EQ(number(L"Settings\\First"), kTimes);
  EXPECT_EQ(number(L"settings\\SECOND"), kTimes) << "keys are the same in any letter case";
  workstation::finish();
}

TEST(Settings, DamagedSettingsAreRefusedWithTheirPlaceAndKept) {
  struct Case {
    const char* text;
    const wchar_t* line;
    const wchar_t* expected;
  };
  const Case cases[] = {
      {"", L"line 1", L"unexpected end of input"},
      {"{\n  \"format\": 1,\n  \"language\": \"en\"", L"line 3", L"expected '}'"},
      {"[]", L"line 1", L"expected an object"},
      {"{}", L"line 1", L"expected the number 1"},
      {"{\"format\": 2}", L"line 1", L"expected a whole number from 1 to 1"},
      {"{\n\"format\": 1,\n\"codePage\": 437\n}", L"line 3", L"expected 1252, 28591 or 65001"},
      {"{\n\"format\": 1,\n\n\"storeDirectory\": \"store\"\n}", L"line 4", L"expected an absolute path"},
      {"{\n\"format\": 1,\n\"HKCU\": {\n\"Settings\\\\A\": 1,\n\"Settings\\\\B\": 99999999999\n}}", L"line 5",
       L"expected a whole number"},
      {"{\n\"format\": 1,\n\"HKCU\": {\n\"Settings\\\\A\": \"1\"}}", L"line 4", L"expected a whole number"},
      {"{\n\"format\": 1,\n\"servers\": {\n\"S\": {\n\"protocol\": \"SSH\"}}}", L"line 5", L"expected \"FTP\""},
      {"{\n\"format\": 1,\n\"servers\": {\n\"ondrath\": {}}}", L"line 4", L"expected a name other than"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.text);
    const TemporaryDirectory directory;
    std::filesystem::create_directory(directory.path("config"));
    replaceContent(directory.path("config/settings.json"), c.text);
    std::wstring error;
    EXPECT_FALSE(workstation::start(optionsFor(directory.path()), error));
    EXPECT_NE(error.find(L"settings.json"), std::wstring::npos) << platform::toUtf8(error);
    EXPECT_NE(error.find(c.line), std::wstring::npos) << platform::toUtf8(error);
    EXPECT_NE(error.find(c.expected), std::wstring::npos) << platform::toUtf8(error);
    EXPECT_FALSE(workstation::isStarted());
    EXPECT_EQ(contentOf(directory.path("config/settings.json")), c.text);
    EXPECT_FALSE(workstation::writeConfiguration(directory.path(), someConfiguration(), false, error));
    EXPECT_TRUE(workstation::writeConfiguration(directory.path(), someConfiguration(), true, error));
    EXPECT_EQ(contentOf(directory.path("config/settings.json.old")), c.text);
    EXPECT_TRUE(workstation::readConfiguration(directory.path(),
                                               *std::make_unique<workstation::WorkstationConfiguration>(), error));
  }
}

TEST(Settings, WithoutADirectoryAreTheUsersOwn) {
  const TemporaryDirectory home;
  for (const auto& [variable, name] :
       {std::pair{"XDG_CONFIG_HOME", "c"}, {"XDG_DATA_HOME", "d"}, {"XDG_STATE_HOME", "s"}}) {
    setenv(variable, home.path(name).c_str(), 1);  // NOLINT(concurrency-mt-unsafe): the process has one thread
  }
  std::wstring error;
  EXPECT_FALSE(workstation::start(optionsFor(""), error));
  EXPECT_NE(error.find(L"there is no workstation yet"), std::wstring::npos);
  EXPECT_TRUE(std::filesystem::is_empty(home.path()));
  ASSERT_TRUE(workstation::writeConfiguration("", someConfiguration(), false, error)) << platform::toUtf8(error);
  EXPECT_FALSE(workstation::writeConfiguration("", someConfiguration(), false, error)) << "it is there already";
  ASSERT_TRUE(workstation::start(optionsFor(""), error)) << platform::toUtf8(error);
  EXPECT_FALSE(workstation::identity().workstationId.empty());
  EXPECT_TRUE(ZSYST_ZepRegPutNumber(L"HKCU", L"Settings\\A", 1));
  EXPECT_FALSE(ZSYST_ZepRegPutNumber(L"HKLM", L"Settings\\A", 1));
  EXPECT_TRUE(std::filesystem::is_directory(home.path("d/zephor/Data/Prj/ONDRATH")));
  workstation::finish();
  const auto permissions = std::filesystem::status(home.path("c/zephor/settings.json")).permissions();
  EXPECT_EQ(permissions, std::filesystem::perms::owner_read | std::filesystem::perms::owner_write);
}

TEST(Settings, AWriteKeepsWhatItDoesNotKnow) {
  TestWorkstation workstation(offline());
  const std::string before = contentOf(settingsFile(workstation));
  replaceContent(settingsFile(workstation),
                 "{\"remark\": [\"by hand\"], \"setupPaths\": {\"Net\": \"Z:\\\\srv\"}," + before.substr(1));
  ASSERT_TRUE(ZSYST_ZepRegPutNumber(L"HKCU", L"Settings\\FileLockingAgent", 0));
  const std::string after = contentOf(settingsFile(workstation));
  EXPECT_NE(after.find("by hand"), std::string::npos);
  wchar_t path[260];
  ASSERT_TRUE(ZSYST_ZepRegGetSetupPath(L"Net", path));
  EXPECT_STREQ(path, L"Z:\\srv");
}

TEST(Settings, WhatAnotherProcessWroteIsReadAtOnce) {
  TestWorkstation workstation(offline());
  EXPECT_TRUE(lfnetg());
  ASSERT_TRUE(ZSYST_ZepRegPutNumber(L"HKCU", L"Settings\\Offline", 0));
  EXPECT_TRUE(lfnetg());
  std::string text = contentOf(settingsFile(workstation));
  const std::string key = "Offline\": ";
  text[text.find(key) + key.size()] = '1';
  replaceContent(settingsFile(workstation), text);
  EXPECT_FALSE(lfnetg()) << "same size, and perhaps the same time";
}

TEST(Settings, DamageAtWorkIsReportedAndLeavesTheFileAndTheLastValues) {
  TestWorkstation workstation(offline());
  ASSERT_TRUE(ZSYST_ZepRegPutNumber(L"HKCU", L"Settings\\Offline", 1));
  replaceContent(settingsFile(workstation), "{ \"format\": 1,");
  EXPECT_FALSE(lfnetg());
  EXPECT_TRUE(ZSYST_ZepRegPutNumber(L"HKCU", L"Settings\\Offline", 0)) << "it stands for this process";
  EXPECT_EQ(contentOf(settingsFile(workstation)), "{ \"format\": 1,");
  EXPECT_TRUE(lfnetg());
  EXPECT_TRUE(workstation.hasErrorLine(L"settings.json: parse error at line 1"));
}

}  // namespace
