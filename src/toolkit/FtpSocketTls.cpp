// The TLS half of a socket: handshake, errors, the end.
#include <openssl/err.h>
#include <openssl/ssl.h>

#include <array>

#include "toolkit/FtpSocketState.h"
#include "toolkit/FtpTls.h"

namespace Quorvel::FileAccess {

namespace {

// The BIO lies over asio's socket and not over its descriptor: asio's send never raises SIGPIPE.
using Socket = boost::asio::ip::tcp::socket;

int bioWrite(BIO* bio, const char* data, int size) {
  BIO_clear_retry_flags(bio);
  boost::system::error_code error;
  auto* socket = static_cast<Socket*>(BIO_get_data(bio));
  const std::size_t sent = socket->send(boost::asio::buffer(data, static_cast<std::size_t>(size)), 0, error);
  if (!error) return static_cast<int>(sent);
  if (error == boost::asio::error::would_block) BIO_set_retry_write(bio);
  return -1;
}

int bioRead(BIO* bio, char* data, int size) {
  BIO_clear_retry_flags(bio);
  boost::system::error_code error;
  auto* socket = static_cast<Socket*>(BIO_get_data(bio));
  const std::size_t read = socket->receive(boost::asio::buffer(data, static_cast<std::size_t>(size)), 0, error);
  if (!error) return static_cast<int>(read);
  if (error == boost::asio::error::would_block) BIO_set_retry_read(bio);
  if (error == boost::asio::error::eof) BIO_set_flags(bio, BIO_FLAGS_IN_EOF);
  return error == boost::asio::error::eof ? 0 : -1;
}

long bioControl(BIO* bio, int command, long /*number*/, void* /*pointer*/) {
  if (command == BIO_CTRL_FLUSH) return 1;
  if (command == BIO_CTRL_EOF) return BIO_test_flags(bio, BIO_FLAGS_IN_EOF) != 0 ? 1 : 0;
  return 0;
}

BIO_METHOD* socketMethod() {
  static BIO_METHOD* const method = [] {
    BIO_METHOD* made = BIO_meth_new(BIO_get_new_index() | BIO_TYPE_SOURCE_SINK, "asio socket");
    if (made == nullptr) return made;
    BIO_meth_set_write(made, bioWrite);
    BIO_meth_set_read(made, bioRead);
    BIO_meth_set_ctrl(made, bioControl);
    return made;
  }();
  return method;
}

}  // namespace

bool FtpSocket::secure(FtpTls& tls, FtpTlsSession* keep, const FtpTlsSession* resume) {
  State& state = *state_;
  state.ssl.reset(tls.newConnection(keep, resume));
  BIO* bio = state.ssl && socketMethod() != nullptr ? BIO_new(socketMethod()) : nullptr;
  if (bio == nullptr) {
    state.ssl.reset();
    error_ = "TLS could not be started: " + tlsErrorText();
    return false;
  }
  BIO_set_data(bio, &state.socket);
  BIO_set_init(bio, 1);
  SSL_set_bio(state.ssl.get(), bio, bio);
  state.isHandshakeDone = false;
  state.isTlsEnded = false;
  return true;
}

FtpIo FtpSocket::handshake() {
  State& state = *state_;
  ERR_clear_error();
  const int result = SSL_connect(state.ssl.get());
  if (result != 1) return tlsStatus(result);
  state.isHandshakeDone = true;
  return FtpIo::Done;
}

bool FtpSocket::isSecure() const {
  return state_->isHandshakeDone;
}

std::string FtpSocket::tlsVersion() const {
  return state_->ssl ? SSL_get_version(state_->ssl.get()) : std::string();
}

bool FtpSocket::isCertificateRefused() const {
  return state_->ssl && SSL_get_verify_result(state_->ssl.get()) != X509_V_OK;
}

bool FtpSocket::isResetByPeer() const {
  return state_->isReset;
}

FtpIo FtpSocket::tlsStatus(int result) {
  SSL* const ssl = state_->ssl.get();
  switch (SSL_get_error(ssl, result)) {
    case SSL_ERROR_WANT_READ:
      return FtpIo::AgainRead;
    case SSL_ERROR_WANT_WRITE:
      return FtpIo::AgainWrite;
    case SSL_ERROR_ZERO_RETURN:
      return FtpIo::End;
    case SSL_ERROR_SYSCALL:
      state_->isTlsEnded = true;
      state_->isReset = true;
      error_ = "the connection was reset";
      return FtpIo::Failed;
    default:
      break;
  }
  state_->isTlsEnded = true;  // after a fatal error nothing may be sent, not even the end
  const bool isEnd = ERR_GET_REASON(ERR_peek_error()) == SSL_R_UNEXPECTED_EOF_WHILE_READING;
  error_ = isEnd ? "the connection ended without the end of TLS" : tlsErrorText();
  if (!isEnd && isCertificateRefused()) {
    error_ += std::string(": ") + X509_verify_cert_error_string(SSL_get_verify_result(ssl));
  }
  return isEnd ? FtpIo::Truncated : FtpIo::Failed;
}

FtpIo FtpSocket::endTls() {
  State& state = *state_;
  if (!state.ssl || !state.isHandshakeDone || state.isTlsEnded) return FtpIo::Done;
  ERR_clear_error();
  const int result = SSL_shutdown(state.ssl.get());
  if (result < 0 && SSL_get_error(state.ssl.get(), result) == SSL_ERROR_WANT_WRITE) return FtpIo::AgainWrite;
  state.isTlsEnded = true;
  return FtpIo::Done;
}

}  // namespace Quorvel::FileAccess
