// The FTP client behind its wide facade: each operation of the interface, made of a session, transfers and listings.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "toolkit/Ftp2W.h"
#include "toolkit/FtpDialogue.h"
#include "toolkit/FtpEntryList.h"
#include "toolkit/FtpLister.h"
#include "toolkit/FtpLoop.h"
#include "toolkit/FtpSession.h"
#include "toolkit/FtpSettings.h"

namespace Quorvel::FileAccess {

class FtpSink;
class FtpSource;

class ClsFtp2 {
 public:
  ClsFtp2();

  FtpSettings& settings() { return settings_; }
  const FtpDialogue& dialogue() const { return dialogue_; }
  const FtpSession& session() const { return session_; }
  const FtpServerFacts& facts();
  void setReceiver(CkFtp2ProgressW* receiver);
  void setHeartbeat(std::int32_t milliseconds) { loop_.setHeartbeat(milliseconds); }

  bool connect();
  bool disconnect();
  bool isConnected() { return session_.isConnected(); }
  bool feat(std::wstring& out);
  bool quote(const std::wstring& command);

  bool changeDirectory(const std::wstring& path);
  void doubtDirectory() { session_.directory().forgetServer(); }
  bool createDirectory(const std::wstring& name);
  bool removeDirectory(const std::wstring& path);
  bool deleteTree();
  bool deleteFile(const std::wstring& name);
  bool rename(const std::wstring& oldName, const std::wstring& newName);
  /// -1 when it is not there.
  std::int64_t size(const std::wstring& name);

  bool getFile(const std::wstring& remote, const std::wstring& local);
  bool getData(const std::wstring& remote, CkByteData& out);
  bool putFile(const std::wstring& local, const std::wstring& remote);
  bool putData(const std::wstring& remote, const CkByteData& data);
  std::int64_t bytesOfLastTransfer() const { return lastBytes_; }

  void forgetListing() { isListed_ = false; }
  void setPattern(std::wstring pattern);
  /// Reads the listing unless it is there. @return entries; -1 on a failure
  std::int32_t countEntries();
  const FtpEntryList& entries() const { return entries_; }
  /// Name of an entry. One that is no UTF-8 is remembered, since it has to be sent as the server has it.
  std::wstring nameAt(std::size_t index);
  /// Times, and sizes of links, are asked for when the first of them is wanted: a listing for its names costs none.
  /// @return false when they can't be had any more
  bool hasDetails(std::size_t index);

 private:
  bool begin();
  /// A name as it is sent. Empty, and noted, when it can't be.
  std::optional<std::string> sendable(const std::wstring& name);
  /// As the server has it, separators cleaned.
  std::string pathOf(const std::wstring& path) const;
  bool readListing(const std::optional<std::string>& name);
  bool simple(const char* verb, const std::wstring& name);
  /// @param mayBePart  it begins at the offset that was set; otherwise that is taken back
  bool retrieve(const std::wstring& remote, FtpSink& sink, bool mayBePart);
  bool store(const std::wstring& remote, FtpSource& source);
  void noteRefusedTransfer(int code);

  FtpSettings settings_;
  FtpDialogue dialogue_;
  FtpLoop loop_;
  FtpSession session_;
  FtpLister lister_;
  FtpEntryList entries_;
  std::wstring pattern_ = L"*";
  bool isListed_ = false;
  enum class Details : std::uint8_t { Owed, Known, Lost };
  Details details_ = Details::Known;
  std::map<std::wstring, std::string, std::less<>> rawNames_;  ///< names that are no UTF-8, by what they are shown as
  std::int64_t lastBytes_ = 0;
  std::vector<char> buffer_;
};

}  // namespace Quorvel::FileAccess
