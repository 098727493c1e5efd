#include "toolkit/FtpSocket.h"

#include <openssl/err.h>
#include <openssl/ssl.h>

#include <boost/asio/ip/tcp.hpp>
#include <climits>

#include "toolkit/FtpSocketState.h"
#include "toolkit/FtpTls.h"

namespace Quorvel::FileAccess {

using boost::asio::ip::tcp;
using boost::system::error_code;

FtpSocket::FtpSocket(FtpLoop& loop) : state_(std::make_unique<State>(loop.context())) {}

FtpSocket::~FtpSocket() {
  close();
}

void FtpSocket::beginConnect(const FtpEndpoint& endpoint, int sendBufferBytes) {
  State& state = *state_;
  error_code error;
  const auto address = boost::asio::ip::make_address(endpoint.address, error);
  const tcp::endpoint target(address, endpoint.port);
  if (!error) state.socket.open(target.protocol(), error);
  if (!error) state.socket.non_blocking(true, error);
  if (error) {
    error_ = error.message();
    state.connect = FtpConnectState::Refused;
    return;
  }
  error_code ignored;
  state.socket.set_option(tcp::no_delay(true), ignored);
  if (sendBufferBytes > 0) {
    state.socket.set_option(boost::asio::socket_base::send_buffer_size(sendBufferBytes), ignored);
  }
  state.connect = FtpConnectState::Pending;
  state.connectResult = std::make_shared<State::ConnectResult>();
  state.socket.async_connect(target, [result = state.connectResult](const error_code& done) {
    result->isDone = true;
    result->error = done;
  });
}

FtpConnectState FtpSocket::connectState() const {
  State& state = *state_;
  if (state.connect == FtpConnectState::Pending && state.connectResult && state.connectResult->isDone) {
    state.connect = state.connectResult->error ? FtpConnectState::Refused : FtpConnectState::Connected;
  }
  return state.connect;
}

std::string FtpSocket::connectError() const {
  const auto& result = state_->connectResult;
  return result && result->error ? result->error.message() : error_;
}

bool FtpSocket::isOpen() const {
  return state_->socket.is_open();
}

FtpEndpoint FtpSocket::peer() const {
  error_code error;
  const tcp::endpoint peer = state_->socket.remote_endpoint(error);
  if (error) return {};
  return {peer.address().to_string(), peer.port()};
}

FtpMoved FtpSocket::read(void* data, std::size_t size) {
  State& state = *state_;
  if (state.ssl) {
    ERR_clear_error();
    const int result = SSL_read(state.ssl.get(), data, static_cast<int>(std::min<std::size_t>(size, INT_MAX)));
    if (result > 0) return {FtpIo::Done, static_cast<std::size_t>(result)};
    return {tlsStatus(result), 0};
  }
  error_code error;
  const std::size_t bytes = state.socket.receive(boost::asio::buffer(data, size), 0, error);
  if (!error) return {FtpIo::Done, bytes};
  if (error == boost::asio::error::would_block) return {FtpIo::AgainRead, 0};
  if (error == boost::asio::error::eof) return {FtpIo::End, 0};
  error_ = error.message();
  return {FtpIo::Failed, 0};
}

FtpMoved FtpSocket::write(const void* data, std::size_t size) {
  State& state = *state_;
  if (state.ssl) {
    ERR_clear_error();
    const int result = SSL_write(state.ssl.get(), data, static_cast<int>(std::min<std::size_t>(size, INT_MAX)));
    if (result > 0) return {FtpIo::Done, static_cast<std::size_t>(result)};
    return {tlsStatus(result), 0};
  }
  error_code error;
  const std::size_t bytes = state.socket.send(boost::asio::buffer(data, size), 0, error);
  if (!error) return {FtpIo::Done, bytes};
  if (error == boost::asio::error::would_block) return {FtpIo::AgainWrite, 0};
  error_ = error.message();
  return {FtpIo::Failed, 0};
}

FtpIo FtpSocket::finishSending() {
  if (endTls() == FtpIo::AgainWrite) return FtpIo::AgainWrite;
  error_code ignored;
  state_->socket.shutdown(tcp::socket::shutdown_send, ignored);
  return FtpIo::Done;
}

void FtpSocket::close() {
  endTls();
  state_->ssl.reset();
  error_code ignored;
  state_->socket.close(ignored);
}

void FtpSocket::reset() {
  state_->ssl.reset();
  error_code ignored;
  state_->socket.set_option(boost::asio::socket_base::linger(true, 0), ignored);
  state_->socket.close(ignored);
}

void FtpSocket::arm(FtpInterest interest) {
  State& state = *state_;
  if (interest == FtpInterest::Connect) return;
  State::Readiness& readiness = interest == FtpInterest::Read ? *state.readable : *state.writable;
  readiness.isReady = false;
  if (readiness.isArmed) return;
  readiness.isArmed = true;
  const auto type = interest == FtpInterest::Read ? tcp::socket::wait_read : tcp::socket::wait_write;
  auto kept = interest == FtpInterest::Read ? state.readable : state.writable;
  state.socket.async_wait(type, [kept = std::move(kept)](const error_code&) {
    kept->isArmed = false;
    kept->isReady = true;
  });
}

bool FtpSocket::isReady(FtpInterest interest) const {
  switch (interest) {
    case FtpInterest::Read:
      return state_->readable->isReady;
    case FtpInterest::Write:
      return state_->writable->isReady;
    case FtpInterest::Connect:
      break;
  }
  return connectState() != FtpConnectState::Pending;
}

}  // namespace Quorvel::FileAccess
