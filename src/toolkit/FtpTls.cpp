#include "toolkit/FtpTls.h"

#include <openssl/err.h>
#include <openssl/ssl.h>
#include <openssl/x509v3.h>

#include <boost/asio/ip/address.hpp>

#include "toolkit/RemoteClient.h"

namespace Quorvel::FileAccess {

namespace {

// Larger than a record, so that one receive brings several.
constexpr std::size_t kReadAheadBytes = std::size_t{128} * 1024;

int keepIndex() {
  static const int index = SSL_get_ex_new_index(0, nullptr, nullptr, nullptr, nullptr);
  return index;
}

int onNewSession(SSL* ssl, SSL_SESSION* session) {
  auto* keep = static_cast<FtpTlsSession*>(SSL_get_ex_data(ssl, keepIndex()));
  if (keep == nullptr) return 0;
  keep->session = std::shared_ptr<SSL_SESSION>(session, SSL_SESSION_free);
  return 1;
}

bool setHost(SSL* ssl, const std::string& host) {
  boost::system::error_code notAnAddress;
  boost::asio::ip::make_address(host, notAnAddress);
  X509_VERIFY_PARAM* const expected = SSL_get0_param(ssl);
  if (!notAnAddress) return X509_VERIFY_PARAM_set1_ip_asc(expected, host.c_str()) == 1;
  X509_VERIFY_PARAM_set_hostflags(expected, X509_CHECK_FLAG_NO_PARTIAL_WILDCARDS);
  return X509_VERIFY_PARAM_set1_host(expected, host.c_str(), host.size()) == 1 &&
         SSL_set_tlsext_host_name(ssl, host.c_str()) == 1;
}

}  // namespace

FtpTls::FtpTls(std::string host) : host_(std::move(host)) {}

FtpTls::~FtpTls() {
  SSL_CTX_free(context_);
}

std::int32_t FtpTls::prepare(const std::string& trustedPem) {
  SSL_CTX_free(context_);
  ERR_clear_error();
  context_ = SSL_CTX_new(TLS_client_method());
  if (context_ == nullptr || SSL_CTX_set_min_proto_version(context_, TLS1_2_VERSION) != 1) {
    return eConnect_TlsNotPrepared;
  }
  SSL_CTX_set_verify(context_, SSL_VERIFY_PEER, nullptr);
  SSL_CTX_set_mode(context_, SSL_MODE_ENABLE_PARTIAL_WRITE | SSL_MODE_ACCEPT_MOVING_WRITE_BUFFER);
  SSL_CTX_set_read_ahead(context_, 1);
  SSL_CTX_set_default_read_buffer_len(context_, kReadAheadBytes);
  SSL_CTX_set_session_cache_mode(context_, SSL_SESS_CACHE_CLIENT | SSL_SESS_CACHE_NO_INTERNAL);
  SSL_CTX_sess_set_new_cb(context_, onNewSession);
  if (SSL_CTX_set_default_verify_paths(context_) != 1) return eConnect_TlsNotPrepared;
  if (!trustedPem.empty() && SSL_CTX_load_verify_file(context_, trustedPem.c_str()) != 1) {
    return eConnect_OwnCertificates;
  }
  return eConnect_Ok;
}

ssl_st* FtpTls::newConnection(FtpTlsSession* keep, const FtpTlsSession* resume) {
  ERR_clear_error();
  SSL* const ssl = context_ != nullptr ? SSL_new(context_) : nullptr;
  if (ssl == nullptr) return nullptr;
  if (!setHost(ssl, host_) || SSL_set_ex_data(ssl, keepIndex(), keep) != 1) {
    SSL_free(ssl);
    return nullptr;
  }
  if (resume == nullptr || !resume->session) return ssl;
  // A session that a connection has used is marked as not to be used again when that connection does not end in order:
  // each gets its own duplicate.
  SSL_SESSION* const copy = SSL_SESSION_dup(resume->session.get());
  if (copy != nullptr) SSL_set_session(ssl, copy);
  SSL_SESSION_free(copy);
  return ssl;
}

std::string tlsErrorText() {
  const unsigned long code = ERR_get_error();
  if (code == 0) return "TLS failed";
  const char* const reason = ERR_reason_error_string(code);
  return reason != nullptr ? std::string("TLS: ") + reason : "TLS failed with error " + std::to_string(code);
}

}  // namespace Quorvel::FileAccess
