// A server in memory whose clients fail on command, and that notes what it is asked.
//
//   FakeServer server;
//   connection.remote().setClientMaker(server.maker());
//   server.fail("PutFile", {kNoReply, {.code = 552}});   // the next two
//   ...
//   EXPECT_EQ(server.count("PutFile"), 3);
#pragma once

#include <algorithm>
#include <deque>
#include <fstream>
#include <functional>
#include <iterator>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "ftp/RemoteClients.h"
#include "ftp/RemoteConfiguration.h"
#include "platform/Paths.h"
#include "platform/Text.h"
#include "platform/Time.h"
#include "toolkit/ByteData.h"
#include "toolkit/FtpListing.h"
#include "toolkit/Progress.h"
#include "toolkit/StringW.h"

namespace zephor_test {

struct FakeFailure {
  int code = 500;           ///< reply code; 0 for none
  bool dropped = false;     ///< the connection is gone afterwards
  bool doneAnyway = false;  ///< the server did it before the reply got lost
  std::int32_t reason = 0;  ///< of a connect
  std::int64_t bytes = 0;   ///< that a transfer moved before
  bool unsent = false;      ///< the command of a transfer never went out
};
constexpr FakeFailure kNoReply{.code = 0, .dropped = true};

class FakeServer {
 public:
  Quorvel::FileAccess::RemoteClientMaker maker();

  /// The next calls of an operation fail so, in turn; afterwards it succeeds. "RenameRemoteFile a b" names one call.
  void fail(const std::string& operation, std::initializer_list<FakeFailure> failures) {
    const std::lock_guard lock(mutex_);
    failures_[operation].insert(failures_[operation].end(), failures);
  }
  /// All further calls of an operation fail so.
  void failAlways(const std::string& operation, const FakeFailure& failure) {
    const std::lock_guard lock(mutex_);
    always_[operation] = failure;
  }
  void recover() {
    const std::lock_guard lock(mutex_);
    failures_.clear();
    always_.clear();
  }
  int count(const std::string& operation) const {
    const std::lock_guard lock(mutex_);
    return static_cast<int>(std::count_if(calls_.begin(), calls_.end(), [&](const std::string& call) {
      return call == operation || call.starts_with(operation + " ");
    }));
  }
  std::vector<std::string> calls() const {
    const std::lock_guard lock(mutex_);
    return calls_;
  }
  /// Ends every connection, which its client sees at its next look.
  void dropAll() {
    const std::lock_guard lock(mutex_);
    ++generation_;
  }

  // Touched by one thread at a time.
  std::map<std::wstring, std::string> files;
  std::wstring features = L"211-Features:\n REST STREAM\n211 End";
  bool matchesBareNames = true;
  std::function<void()> duringUpload;
  SYSTEMTIME time = {2025, 3, 1, 10, 9, 30, 15, 0};              ///< of every file, UTC
  std::vector<Quorvel::FileAccess::RemoteConnectionType> types;  ///< of each client made

 private:
  friend class FakeRemoteClient;

  /// @return null for a success
  std::unique_ptr<FakeFailure> outcome(const std::string& operation, const std::wstring& detail) {
    const std::lock_guard lock(mutex_);
    const std::string call = operation + (detail.empty() ? "" : " " + platform::toUtf8(detail));
    calls_.push_back(call);
    for (const std::string& key : {call, operation}) {
      std::deque<FakeFailure>& waiting = failures_[key];
      if (!waiting.empty()) {
        auto failure = std::make_unique<FakeFailure>(waiting.front());
        waiting.pop_front();
        return failure;
      }
      if (const auto found = always_.find(key); found != always_.end()) {
        return std::make_unique<FakeFailure>(found->second);
      }
    }
    return nullptr;
  }

  mutable std::mutex mutex_;
  std::vector<std::string> calls_;
  std::map<std::string, std::deque<FakeFailure>> failures_;
  std::map<std::string, FakeFailure> always_;
  int generation_ = 0;
};

class FakeRemoteClient final : public Quorvel::FileAccess::IRemoteClient {
 public:
  explicit FakeRemoteClient(FakeServer& server) : server_(server) {}

  bool Connect() override {
    connected_ = act("Connect");
    generation_ = server_.generation_;
    return connected_;
  }
  bool Disconnect() override {
    connected_ = false;
    return act("Disconnect");
  }
  bool get_IsConnected() override { return connected_ && generation_ == server_.generation_; }
  std::int32_t get_ConnectFailReason() const override { return reason_; }
  std::wstring lastErrorText() const override { return L"what the server said"; }
  int lastReplyCode() const override { return code_; }
  std::wstring lastReplyText() const override { return replyText_; }
  bool Feat(Quorvel::FileAccess::CkStringW& out) override {
    out.setString(server_.features);
    return act("Feat");
  }
  bool Quote(const wchar_t* command) override {
    const bool ok = act("Quote", command);
    if (ok || doneAnyway_) rest_ = std::stoul(std::wstring(command).substr(5));
    if (!ok) return false;
    code_ = 350;
    replyText_ = std::wstring(L"350 Restarting at ") + std::wstring(command).substr(5);
    return false;
  }
  bool ChangeRemoteDir(const wchar_t* path) override { return act("ChangeRemoteDir", path); }
  bool CreateRemoteDir(const wchar_t* name) override { return act("CreateRemoteDir", name); }
  bool RemoveRemoteDir(const wchar_t* path) override { return act("RemoveRemoteDir", path); }
  bool DeleteTree() override { return act("DeleteTree"); }
  bool DeleteRemoteFile(const wchar_t* name) override {
    return act("DeleteRemoteFile", name) && server_.files.erase(name) != 0;
  }
  bool RenameRemoteFile(const wchar_t* oldName, const wchar_t* newName) override {
    const bool ok = act("RenameRemoteFile", std::wstring(oldName) + L" " + newName);
    if (!ok && !doneAnyway_) return false;
    if (!server_.files.contains(oldName)) return refuse(550);
    server_.files[newName] = server_.files[oldName];
    server_.files.erase(oldName);
    return ok;
  }
  bool GetFile(const wchar_t* remote, const wchar_t* local) override {
    std::ofstream file(platform::systemPath(local), std::ios::binary);
    file << server_.files[remote];
    return act("GetFile", remote);
  }
  bool PutFile(const wchar_t* local, const wchar_t* remote) override {
    const bool ok = act("PutFile", remote);
    if (receiver_ != nullptr && !unsent_) receiver_->setLastMessage(L"STOR x");
    if (!ok) return false;
    if (server_.duringUpload) server_.duringUpload();
    std::ifstream file(platform::systemPath(local), std::ios::binary);
    server_.files[remote] = {std::istreambuf_iterator<char>(file), {}};
    return true;
  }
  bool GetRemoteFileBinaryData(const wchar_t* remote, Quorvel::FileAccess::CkByteData& out) override {
    const std::string& content = server_.files[remote];
    const std::size_t begin = std::min(std::exchange(rest_, 0), content.size());
    if (!act("GetRemoteFileBinaryData", remote)) return false;
    for (std::size_t i = begin; i < content.size(); ++i) {
      out.append(&content[i], 1);
      bool abort = false;
      if (receiver_ != nullptr) {
        receiver_->onTransferRate(static_cast<std::int64_t>(i - begin + 1), 1);
        receiver_->onAbortCheck(abort);
      }
      if (abort) return refuse(426);
    }
    return true;
  }
  bool PutFileFromBinaryData(const wchar_t* remote, const Quorvel::FileAccess::CkByteData& data) override {
    if (!act("PutFileFromBinaryData", remote)) return false;
    server_.files[remote].assign(reinterpret_cast<const char*>(data.getData()), data.getSize());  // NOLINT
    return true;
  }
  std::int32_t GetSizeByName(const wchar_t* name) override { return static_cast<std::int32_t>(GetSizeByName64(name)); }
  std::int64_t GetSizeByName64(const wchar_t* name) override {
    if (!act("GetSizeByName64", name)) return -1;
    const auto found = server_.files.find(name);
    if (found != server_.files.end()) return static_cast<std::int64_t>(found->second.size());
    refuse(550);
    return -1;
  }
  void ClearDirCache() override { listing_.clear(); }
  void put_ListPattern(const wchar_t* pattern) override { pattern_ = pattern; }
  std::int32_t get_NumFilesAndDirs() override {
    if (!act("List", pattern_)) return -1;
    listing_.clear();
    if (!server_.matchesBareNames && pattern_.find(L'*') == std::wstring::npos) return 0;
    for (const auto& [name, content] : server_.files) {
      if (Quorvel::FileAccess::matchesPattern(name, pattern_)) listing_.push_back(name);
    }
    return static_cast<std::int32_t>(listing_.size());
  }
  bool GetFilename(std::int32_t index, Quorvel::FileAccess::CkStringW& name) override {
    name.setString(at(index));
    return true;
  }
  bool GetIsDirectory(std::int32_t) override { return false; }
  std::int64_t GetSize64(std::int32_t index) override {
    return static_cast<std::int64_t>(server_.files.at(at(index)).size());
  }
  bool GetLastModifiedFTime(std::int32_t, FILETIME& time) override {
    return SystemTimeToFileTime(&server_.time, &time) != FALSE;
  }
  bool GetLastModifiedTime(std::int32_t, SYSTEMTIME& time) override {
    return SystemTimeToTzSpecificLocalTime(nullptr, &server_.time, &time) != FALSE;
  }
  void setEventCallback(Quorvel::FileAccess::CkFtp2ProgressW* receiver) override { receiver_ = receiver; }
  void put_HeartbeatMs(std::int32_t) override {}
  void put_SendBufferSize(std::int32_t bytes) override { act("SendBufferSize", std::to_wstring(bytes)); }
  std::int64_t bytesOfLastTransfer() const override { return bytes_; }

 private:
  bool act(const std::string& operation, const std::wstring& detail = {}) {
    doneAnyway_ = false;
    unsent_ = false;
    bytes_ = 0;
    const std::unique_ptr<FakeFailure> failure = server_.outcome(operation, detail);
    if (failure == nullptr) {
      code_ = 200;
      return true;
    }
    doneAnyway_ = failure->doneAnyway;
    unsent_ = failure->unsent;
    bytes_ = failure->bytes;
    reason_ = failure->reason;
    if (failure->dropped) connected_ = false;
    return refuse(failure->code);
  }
  bool refuse(int code) {
    code_ = code;
    replyText_ = std::to_wstring(code);
    return false;
  }
  const std::wstring& at(std::int32_t index) const { return listing_.at(static_cast<std::size_t>(index)); }

  FakeServer& server_;
  Quorvel::FileAccess::CkFtp2ProgressW* receiver_ = nullptr;
  std::vector<std::wstring> listing_;
  std::wstring pattern_;
  std::wstring replyText_;
  std::size_t rest_ = 0;
  std::int64_t bytes_ = 0;
  std::int32_t reason_ = 0;
  int code_ = 0;
  int generation_ = 0;
  bool connected_ = false;
  bool doneAnyway_ = false;
  bool unsent_ = false;
};

inline Quorvel::FileAccess::RemoteClientMaker FakeServer::maker() {
  return [this](const Quorvel::FileAccess::RemoteConfiguration& configuration) {
    const std::lock_guard lock(mutex_);
    types.push_back(configuration.connectionType);
    return std::make_unique<FakeRemoteClient>(*this);
  };
}

}  // namespace zephor_test
