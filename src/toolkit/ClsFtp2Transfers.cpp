// The transfers of the FTP client.
#include "toolkit/ByteData.h"
#include "toolkit/ClsFtp2.h"
#include "toolkit/FtpData.h"
#include "toolkit/FtpTransfer.h"
#include "toolkit/Progress.h"

namespace Quorvel::FileAccess {

void ClsFtp2::noteRefusedTransfer(int code) {
  // The directory may have vanished under the session. What is remembered of it would hide that: the next change of
  // directory asks the server.
  if (code == 550 || code == 553) session_.directory().forgetServer();
}

bool ClsFtp2::retrieve(const std::wstring& remote, FtpSink& sink, bool mayBePart) {
  lastBytes_ = 0;
  const std::optional<std::string> name = sendable(remote);
  if (!name || !session_.prepare() || (!mayBePart && !session_.cancelRestart())) return false;
  const std::optional<std::uint64_t> offset = session_.takeRestart();
  if (!offset) return false;
  CkFtp2ProgressW* const receiver = loop_.receiver();
  if (receiver != nullptr) receiver->onBeginDownload(remote.c_str());
  FtpTransfer transfer(session_);
  transfer.setOffset(*offset);
  const bool isRetrieved = transfer.retrieve("RETR " + *name, sink);
  lastBytes_ = transfer.bytes();
  if (isRetrieved) {
    session_.noteTransferDone();
  } else {
    noteRefusedTransfer(transfer.finalCode());
    if (*offset > 0 && lastBytes_ == 0) session_.doubtRestart();
  }
  if (receiver != nullptr) receiver->onEndDownload(remote.c_str(), lastBytes_);
  return isRetrieved;
}

bool ClsFtp2::store(const std::wstring& remote, FtpSource& source) {
  const std::optional<std::string> name = sendable(remote);
  if (!name || !session_.prepare() || !session_.cancelRestart()) return false;
  CkFtp2ProgressW* const receiver = loop_.receiver();
  if (receiver != nullptr) receiver->onBeginUpload(remote.c_str());
  FtpTransfer transfer(session_);
  const bool isStored = transfer.store("STOR " + *name, source);
  lastBytes_ = transfer.bytes();
  if (isStored) {
    session_.noteTransferDone();
  } else {
    noteRefusedTransfer(transfer.finalCode());
  }
  if (receiver != nullptr) receiver->onEndUpload(remote.c_str(), lastBytes_);
  return isStored;
}

bool ClsFtp2::getFile(const std::wstring& remote, const std::wstring& local) {
  FtpFileSink sink(local, buffer_);
  return retrieve(remote, sink, false);
}

bool ClsFtp2::getData(const std::wstring& remote, CkByteData& out) {
  FtpMemorySink sink(out, buffer_);
  return retrieve(remote, sink, true);
}

bool ClsFtp2::putFile(const std::wstring& local, const std::wstring& remote) {
  lastBytes_ = 0;
  FtpFileSource source(local, buffer_, settings_.sendPieceBytes);
  if (source.isOpen()) return store(remote, source);
  dialogue_.begin();
  dialogue_.note("Error: " + source.error());
  return false;
}

bool ClsFtp2::putData(const std::wstring& remote, const CkByteData& data) {
  lastBytes_ = 0;
  FtpMemorySource source(data, settings_.sendPieceBytes);
  return store(remote, source);
}

}  // namespace Quorvel::FileAccess
