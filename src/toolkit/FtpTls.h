// What all TLS connections of one client share: trust, versions, and the session that data connections resume.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

struct ssl_st;
struct ssl_ctx_st;
struct ssl_session_st;

namespace Quorvel::FileAccess {

/// The newest session of a connection. Sessions of TLS 1.3 come after the handshake, and servers may send several.
struct FtpTlsSession {
  std::shared_ptr<ssl_session_st> session;
};

class FtpTls {
 public:
  /// @param host  name or address that the certificate must be for
  explicit FtpTls(std::string host);
  ~FtpTls();
  FtpTls(const FtpTls&) = delete;
  FtpTls& operator=(const FtpTls&) = delete;

  /// Trusts what the system trusts, and the certificates of a PEM file (system path) unless it is empty.
  /// @return 0, or the ConnectFailReason
  std::int32_t prepare(const std::string& trustedPem);

  /// @return null on failure; the caller owns it
  ssl_st* newConnection(FtpTlsSession* keep, const FtpTlsSession* resume);

 private:
  std::string host_;
  ssl_ctx_st* context_ = nullptr;
};

/// The oldest error that OpenSSL has noted for this thread.
std::string tlsErrorText();

}  // namespace Quorvel::FileAccess
