// The FTP client (RFC 959, 2228, 2389, 2428, 3659, 4217) behind wide strings.
//
// Set the properties, Connect, work, Disconnect. One thread at a time. A client that is destroyed while connected
// closes its connection without a farewell.
#pragma once

#include <memory>

#include "toolkit/RemoteClient.h"

namespace Quorvel::FileAccess {

class ClsFtp2;

/// What the server told of itself when this client connected.
struct FtpServerFacts {
  bool tls = false;
  std::wstring tlsVersion;  ///< "TLSv1.3"; empty without TLS
  bool rest = false;        ///< REST STREAM
  bool mlst = false;        ///< MLST and MLSD
  bool mdtm = false;
  bool mfmt = false;
  bool utf8 = false;
  std::wstring greeting;
};

class CkFtp2W final : public IRemoteClient {
 public:
  CkFtp2W();
  ~CkFtp2W() override;

  /// "name", "name:port", an IPv4 address, or "[v6]:port". A port here stands before put_Port.
  void put_Hostname(const wchar_t* host);
  void put_Username(const wchar_t* user);
  void put_Password(const wchar_t* password);
  /// False: FEAT is not asked at the connect.
  void put_AutoFeat(bool automatic);
  /// True takes EPSV, false PASV; without a call EPSV with PASV as the way out.
  void put_UseEpsv(bool use);
  /// Data connections are always opened by the client; false is ignored.
  void put_Passive(bool passive);
  /// Longest time without any progress; 0 for no limit.
  void put_ReadTimeout(std::int32_t seconds);
  /// Budget for each of resolving, connecting and the TLS handshake; 0 stands for the system's own limits.
  void put_ConnectTimeout(std::int32_t seconds);
  /// Only "utf-8" is known; a listing that is not valid UTF-8 is read as Latin-1.
  void put_DirListingCharset(const wchar_t* charset);
  void put_Port(std::int32_t port);
  /// Explicit TLS: AUTH TLS on the ordinary port.
  void put_AuthTls(bool use);
  /// Implicit TLS.
  void put_Ssl(bool use);
  /// A PEM file (library path) with certificates that are trusted beside those of the system; empty for none.
  void put_TrustedCertificates(const wchar_t* path);

  /// Valid after a Connect.
  const FtpServerFacts& facts();
  /// Time from a command to its reply, the shortest seen in this session, in microseconds; 0 before the first.
  std::int64_t roundTripMicroseconds() const;

  bool Connect() override;
  bool Disconnect() override;
  bool get_IsConnected() override;
  std::int32_t get_ConnectFailReason() const override;
  std::wstring lastErrorText() const override;
  int lastReplyCode() const override;
  std::wstring lastReplyText() const override;
  bool Feat(CkStringW& out) override;
  bool Quote(const wchar_t* command) override;
  bool ChangeRemoteDir(const wchar_t* path) override;
  void doubtRemoteDir() override;
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
  void ClearDirCache() override;
  void put_ListPattern(const wchar_t* pattern) override;
  std::int32_t get_NumFilesAndDirs() override;
  bool GetFilename(std::int32_t index, CkStringW& name) override;
  bool GetIsDirectory(std::int32_t index) override;
  std::int64_t GetSize64(std::int32_t index) override;
  bool GetLastModifiedFTime(std::int32_t index, FILETIME& time) override;
  bool GetLastModifiedTime(std::int32_t index, SYSTEMTIME& time) override;
  void setEventCallback(CkFtp2ProgressW* receiver) override;
  void put_HeartbeatMs(std::int32_t milliseconds) override;
  void put_SendBufferSize(std::int32_t bytes) override;
  std::int64_t bytesOfLastTransfer() const override;

 private:
  std::unique_ptr<ClsFtp2> client_;
};

}  // namespace Quorvel::FileAccess
