// A TCP connection that never blocks, with TLS when it is wanted.
//
// Reading and writing are tried at once; FtpLoop waits when the answer is to come again. A closed peer never raises a
// signal in the process. One thread.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

#include "toolkit/FtpLoop.h"

namespace Quorvel::FileAccess {

class FtpTls;
struct FtpTlsSession;

/// A numeric address with its port.
struct FtpEndpoint {
  std::string address;
  std::uint16_t port = 0;
};

enum class FtpIo : std::uint8_t {
  Done,       ///< bytes were moved, or the handshake is complete
  AgainRead,  ///< come again when the socket is readable
  AgainWrite,
  End,        ///< the peer ended its side in order
  Truncated,  ///< the connection ended without the end that TLS demands (RFC 8446, section 6.1)
  Failed,
};

struct FtpMoved {
  FtpIo status = FtpIo::Failed;
  std::size_t bytes = 0;
};

enum class FtpConnectState : std::uint8_t { Pending, Connected, Refused };

class FtpSocket {
 public:
  explicit FtpSocket(FtpLoop& loop);
  ~FtpSocket();
  FtpSocket(const FtpSocket&) = delete;
  FtpSocket& operator=(const FtpSocket&) = delete;

  /// @param sendBufferBytes  0 leaves it to the system
  void beginConnect(const FtpEndpoint& endpoint, int sendBufferBytes);
  FtpConnectState connectState() const;
  /// Why it was refused.
  std::string connectError() const;
  bool isOpen() const;
  /// Address of the peer; empty when there is none.
  FtpEndpoint peer() const;

  /// Begins TLS on a connected socket; handshake() carries it out. Sessions that the server hands out are put into
  /// `keep` when it is not null; it outlives the socket. `resume` is taken for this connection when it is not null.
  bool secure(FtpTls& tls, FtpTlsSession* keep, const FtpTlsSession* resume);
  FtpIo handshake();
  bool isSecure() const;
  /// "TLSv1.3"; empty without TLS.
  std::string tlsVersion() const;
  /// The handshake failed because of the peer's certificate.
  bool isCertificateRefused() const;
  /// TLS failed because the connection broke.
  bool isResetByPeer() const;

  FtpMoved read(void* data, std::size_t size);
  FtpMoved write(const void* data, std::size_t size);
  /// Tells the peer that no more will be sent: the end of TLS, then that of the connection.
  /// @return Done; or AgainWrite while the connection does not take the end of TLS: come again
  FtpIo finishSending();
  /// Ends TLS in order and closes.
  void close();
  /// Closes so that the peer can't take it for an orderly end. proftpd 1.3.8 outlived 300 of 300 transfers that were
  /// broken off in this way over TLS 1.3, and 36 of 40 that ended with the end of TLS.
  void reset();

  /// Why the last operation failed.
  const std::string& error() const { return error_; }

 private:
  friend class FtpLoop;
  void arm(FtpInterest interest);
  bool isReady(FtpInterest interest) const;
  FtpIo tlsStatus(int result);
  FtpIo endTls();

  struct State;
  std::unique_ptr<State> state_;
  std::string error_;
};

}  // namespace Quorvel::FileAccess
