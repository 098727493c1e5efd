// The FTP client before a scripted server, with short limits.
#pragma once

#include <gmock/gmock.h>

#include <string>

#include "platform/Text.h"
#include "tests/support/ScriptedFtpServer.h"
#include "tests/support/TemporaryDirectory.h"
#include "toolkit/ByteData.h"
#include "toolkit/Ftp2W.h"
#include "toolkit/Progress.h"
#include "toolkit/StringW.h"

namespace zephor_test {

using namespace Quorvel::FileAccess;

/// Aborts an operation at the first question, or once more than so many bytes arrived.
class AbortingReceiver final : public CkFtp2ProgressW {
 public:
  explicit AbortingReceiver(std::int64_t limit = -1) : limit_(limit) {}
  void onAbortCheck(bool& abort) override { abort = abort || limit_ < 0 || isOver_; }
  void onTransferRate(std::int64_t bytes, std::uint32_t /*rate*/) override { isOver_ = bytes > limit_; }

 private:
  std::int64_t limit_;
  bool isOver_ = false;
};

inline std::string textOf(const CkByteData& data) {
  return data.getSize() == 0 ? std::string()
                             : std::string(reinterpret_cast<const char*>(data.getData()), data.getSize());
}

/// Names of a fresh listing, in its order; one entry "failed" when there is none.
inline std::vector<std::wstring> listOf(CkFtp2W& client, const wchar_t* pattern) {
  client.ClearDirCache();
  client.put_ListPattern(pattern);
  const std::int32_t count = client.get_NumFilesAndDirs();
  if (count < 0) return {L"failed"};
  std::vector<std::wstring> names;
  for (std::int32_t i = 0; i < count; ++i) {
    CkStringW name;
    EXPECT_TRUE(client.GetFilename(i, name));
    names.push_back(name.text());
  }
  return names;
}

class DialogueTest : public ::testing::Test {
 protected:
  DialogueTest() {
    client.put_Hostname(server.host().c_str());
    client.put_Username(L"ada");
    client.put_Password(L"lovelace");
    client.put_ConnectTimeout(2);
    client.put_ReadTimeout(2);
  }

  /// Connected, and the server's notes empty.
  void connect() {
    ASSERT_TRUE(client.Connect()) << errorText();
    server.clearCommands();
  }
  /// As an operation begins: a session that is found dead is replaced.
  void connectIfDead() {
    if (!client.get_IsConnected()) {
      ASSERT_TRUE(client.Connect()) << errorText();
    }
  }
  std::string errorText() const { return platform::toUtf8(client.lastErrorText()); }

  bool get(const wchar_t* name, std::string& bytes) {
    CkByteData data;
    const bool isWhole = client.GetRemoteFileBinaryData(name, data);
    bytes = textOf(data);
    return isWhole;
  }
  bool put(const wchar_t* name, const std::string& bytes) {
    CkByteData data;
    data.append(bytes.data(), bytes.size());
    return client.PutFileFromBinaryData(name, data);
  }
  std::vector<std::wstring> list(const wchar_t* pattern) { return listOf(client, pattern); }

  ScriptedFtpServer server;
  CkFtp2W client;
};

}  // namespace zephor_test
