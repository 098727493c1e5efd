// The host at work in a directory of its own, with two servers of the older store: "files" is a plain directory,
// "wire" an FTP server.
#pragma once

#include <filesystem>
#include <fstream>
#include <string>

#include "platform/Text.h"
#include "platform/UserInterface.h"
#include "tests/platform/TemporaryDirectory.h"
#include "workstation/Session.h"
#include "workstation/ui/ScriptedInterface.h"

class StartedWorkstation : public TemporaryDirectoryTest {
 protected:
  StartedWorkstation() { platform::setUserInterface(&user); }
  ~StartedWorkstation() override {
    workstation::finish();
    platform::setUserInterface(nullptr);
  }

  /// @param storeDirectory  empty: no cloud store is configured
  /// @param traceLevel      -1: as configured, which is off
  void start(const std::string& storeDirectory = "", int traceLevel = -1) {
    writeSettings(storeDirectory);
    workstation::StartOptions options;
    options.directory = root().string();
    options.traceLevel = traceLevel;
    std::wstring error;
    ASSERT_TRUE(workstation::start(options, error)) << platform::toUtf8(error);
  }

  workstation::ScriptedInterface user;

 private:
  void writeSettings(const std::string& storeDirectory) const {
    const std::string text = R"({"format": 1, "storeDirectory": ")" + storeDirectory + R"(", "language": "en",
      "identity": {"uuid": "11111111-1111-4111-8111-111111111111", "name": "Ada", "email": "ada@example.org",
                   "workstationName": "desk", "workstationId": "22222222-2222-4222-8222-222222222222"}, "servers": {
        "files": {"kind": "directory", "baseDirectory": "\\srv"},
        "wire": {"host": "ftp.example.org", "protocol": "FTP", "user": "ada", "password": "x", "explicitTls": true,
                 "connectLimitMilliseconds": 999, "readLimitMilliseconds": 2500}}})";
    write("config/settings.json", text);
  }
};
