// The inside of a socket, shared by its plain and its TLS half.
#pragma once

#include <openssl/ssl.h>

#include <boost/asio/ip/tcp.hpp>
#include <memory>

#include "toolkit/FtpSocket.h"

namespace Quorvel::FileAccess {

struct FtpSslDeleter {
  void operator()(SSL* ssl) const { SSL_free(ssl); }
};

struct FtpSocket::State {
  /// Shared with a wait under way, which may end behind the socket.
  struct Readiness {
    bool isArmed = false;
    bool isReady = false;
  };
  struct ConnectResult {
    bool isDone = false;
    boost::system::error_code error;
  };

  explicit State(boost::asio::io_context& context) : socket(context) {}

  boost::asio::ip::tcp::socket socket;
  std::unique_ptr<SSL, FtpSslDeleter> ssl;  ///< its BIO points to `socket`
  bool isHandshakeDone = false;
  bool isTlsEnded = false;
  bool isReset = false;
  std::shared_ptr<Readiness> readable = std::make_shared<Readiness>();
  std::shared_ptr<Readiness> writable = std::make_shared<Readiness>();
  std::shared_ptr<ConnectResult> connectResult;
  FtpConnectState connect = FtpConnectState::Refused;
};

}  // namespace Quorvel::FileAccess
