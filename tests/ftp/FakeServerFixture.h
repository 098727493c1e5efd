// A transfer object whose server is the one in memory.
#pragma once

#include "ftp/FtpConnection.h"
#include "tests/core/StartedWorkstation.h"
#include "tests/ftp/FakeRemoteClient.h"

namespace zephor_test {

class FakeServerFixture : public StartedWorkstation {
 protected:
  void SetUp() override {
    using namespace Quorvel::FileAccess;
    start();
    connection_ = std::make_unique<CZepFtpConnection>();
    connection().remote().setClientMaker(server.maker());
    initialise();
    constexpr int kOnline = 1;
    constexpr int kServerRoot = eServerDataPath;
    constexpr int kLocalRoot = eLocalDataPath;
    connection().setServerName(L"");
    connection().setConnectionType(&kOnline);
    connection().setPathFromNr(L"/data", &kServerRoot);
    connection().setPathFromNr(path(L"local").c_str(), &kLocalRoot);
  }
  void initialise() {
    Quorvel::FileAccess::Initialize_forIZepInetFileTransfer record;
    record.serverName = L"wire";
    ASSERT_TRUE(connection().initialize(record));
  }

  Quorvel::FileAccess::CZepFtpConnection& connection() { return *connection_; }
  const int* project() const { return &kProject; }

  FakeServer server;

 private:
  static constexpr int kProject = Quorvel::FileAccess::ePrjPath;
  std::unique_ptr<Quorvel::FileAccess::CZepFtpConnection> connection_;
};

}  // namespace zephor_test
