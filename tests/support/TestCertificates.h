// Certificates for servers of tests: a root that the client may trust, and what it signed.
#pragma once

#include <string>

namespace zephor_test {

enum class CertificateKind {
  Good,
  Expired,
  OtherHost,   ///< signed and valid, but for "elsewhere.example"
  SelfSigned,  ///< for the right host, signed by itself
};

struct CertificateFiles {
  std::string authority;    ///< PEM: the root's certificate, for the client
  std::string certificate;  ///< PEM: the server's certificate
  std::string key;          ///< PEM: its key
  std::string both;         ///< PEM: the key and the certificate
};

/// Writes the files into a directory (path of the system). The certificate is for "localhost" and the address.
/// Throws std::runtime_error.
CertificateFiles writeCertificates(const std::string& directory, const std::string& address, CertificateKind kind);

}  // namespace zephor_test
