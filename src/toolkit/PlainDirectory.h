// The plain directory behind makeDirectoryClient. Internal to the toolkit.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "toolkit/DirectoryListing.h"
#include "toolkit/RemoteClient.h"

namespace Quorvel::FileAccess {

class ArrivingFile;
class OpenFile;
class TransferMeter;

/// Reply codes that an FTP server gives in the same case.
enum DirectoryReply : int {
  eReply_Ok = 200,
  eReply_Features = 211,
  eReply_FileStatus = 213,
  eReply_TransferDone = 226,
  eReply_ActionDone = 250,
  eReply_Created = 257,
  eReply_Restarts = 350,
  eReply_Aborted = 426,
  eReply_Busy = 450,
  eReply_LocalError = 451,
  eReply_NoSpace = 452,
  eReply_UnknownCommand = 500,
  eReply_BadArgument = 501,
  eReply_Unavailable = 550,
  eReply_NameRefused = 553,
};

class DirectoryClient final : public IRemoteClient {
 public:
  bool Connect() override;
  bool Disconnect() override;
  bool get_IsConnected() override { return isConnected_; }
  std::int32_t get_ConnectFailReason() const override { return eConnect_Ok; }
  std::wstring lastErrorText() const override { return operation_ + L"\n" + replyText_ + L"\n"; }
  int lastReplyCode() const override { return replyCode_; }
  std::wstring lastReplyText() const override { return replyText_; }
  bool Feat(CkStringW& out) override;
  bool Quote(const wchar_t* command) override;
  bool ChangeRemoteDir(const wchar_t* path) override;
  bool CreateRemoteDir(const wchar_t* name) override;
  bool RemoveRemoteDir(const wchar_t* path) override;
  bool DeleteTree() override;
  bool DeleteRemoteFile(const wchar_t* name) override;
  bool RenameRemoteFile(const wchar_t* oldName, const wchar_t* newName) override;
  bool GetFile(const wchar_t* remote, const wchar_t* local) override;
  bool PutFile(const wchar_t* local, const wchar_t* remote) override;
  bool GetRemoteFileBinaryData(const wchar_t* remote, CkByteData& out) override;
  bool PutFileFromBinaryData(const wchar_t* remote, const CkByteData& data) override;
  std::int32_t GetSizeByName(const wchar_t* name) override;
  std::int64_t GetSizeByName64(const wchar_t* name) override;
  void ClearDirCache() override { listing_.reset(); }
  void put_ListPattern(const wchar_t* pattern) override;
  std::int32_t get_NumFilesAndDirs() override;
  bool GetFilename(std::int32_t index, CkStringW& name) override;
  bool GetIsDirectory(std::int32_t index) override;
  std::int64_t GetSize64(std::int32_t index) override;
  bool GetLastModifiedFTime(std::int32_t index, FILETIME& time) override;
  bool GetLastModifiedTime(std::int32_t index, SYSTEMTIME& time) override;
  void setEventCallback(CkFtp2ProgressW* receiver) override { receiver_ = receiver; }
  // Every piece of the work takes less time than a heartbeat, and each asks whether to go on.
  void put_HeartbeatMs(std::int32_t /*milliseconds*/) override {}
  void put_SendBufferSize(std::int32_t bytes) override;
  std::int64_t bytesOfLastTransfer() const override { return bytesOfLastTransfer_; }

 private:
  /// Opens an operation. @return false, with the failure told, when there is no connection
  bool begin(const wchar_t* operation, const wchar_t* subject, const wchar_t* second = nullptr);
  bool reply(int code, const std::wstring& text);
  bool fail(DWORD error, const std::wstring& path);
  /// Fails with the thread's last error.
  bool failed(const std::wstring& path) { return fail(GetLastError(), path); }
  /// Library path of a name below the current directory; empty, with the failure told, when the name leaves it.
  std::wstring fileOf(const wchar_t* name);
  std::wstring directoryOf(const wchar_t* path);
  bool isAbortWanted() const;
  template <typename Sink>
  bool send(const OpenFile& source, const std::wstring& sourcePath, std::uint64_t expected, TransferMeter& meter,
            const Sink& sink);
  bool arrive(ArrivingFile& file, const std::wstring& path, TransferMeter& meter);
  const DirectoryEntry* entryAt(std::int32_t index) const;

  bool isConnected_ = false;
  std::wstring current_ = L"\\";
  std::wstring operation_;
  int replyCode_ = 0;
  std::wstring replyText_;
  std::uint64_t restart_ = 0;  // where the next read into memory begins
  std::wstring pattern_ = L"*";
  std::optional<std::vector<DirectoryEntry>> listing_;
  CkFtp2ProgressW* receiver_ = nullptr;
  std::int32_t piece_ = 256 * 1024;
  std::vector<char> buffer_;
  std::int64_t bytesOfLastTransfer_ = 0;
};

}  // namespace Quorvel::FileAccess
