#include "tests/support/TestCertificates.h"

#include <openssl/ec.h>
#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/x509v3.h>

#include <fstream>
#include <memory>
#include <stdexcept>

namespace zephor_test {

namespace {

constexpr long kDay = 24L * 60 * 60;

using Key = std::unique_ptr<EVP_PKEY, decltype(&EVP_PKEY_free)>;
using Certificate = std::unique_ptr<X509, decltype(&X509_free)>;

template <class T>
T checked(T result, const char* what) {
  if (!result) throw std::runtime_error(std::string("certificate of a test: ") + what);
  return result;
}

Key makeKey() {
  return {checked(EVP_EC_gen("P-256"), "no key"), &EVP_PKEY_free};
}

void addExtension(X509* certificate, X509* issuer, int id, const std::string& value) {
  X509V3_CTX context;
  X509V3_set_ctx(&context, issuer, certificate, nullptr, nullptr, 0);
  const std::unique_ptr<X509_EXTENSION, decltype(&X509_EXTENSION_free)> extension(
      checked(X509V3_EXT_conf_nid(nullptr, &context, id, value.c_str()), "no extension"), &X509_EXTENSION_free);
  checked(X509_add_ext(certificate, extension.get(), -1) == 1, "extension refused");
}

struct Wanted {
  std::string name;
  std::string hosts;  ///< subject alternative names; empty for an authority
  long serial = 1;
  long validFrom = -2 * kDay;  ///< seconds from now
  long validTo = 30 * kDay;
};

/// Without an issuer it signs itself.
Certificate makeCertificate(const Wanted& wanted, EVP_PKEY* key, X509* issuer, EVP_PKEY* issuerKey) {
  Certificate certificate(checked(X509_new(), "no memory"), &X509_free);
  X509* const raw = certificate.get();
  if (issuer == nullptr) issuer = raw;
  X509_set_version(raw, X509_VERSION_3);
  ASN1_INTEGER_set(X509_get_serialNumber(raw), wanted.serial);
  X509_gmtime_adj(X509_getm_notBefore(raw), wanted.validFrom);
  X509_gmtime_adj(X509_getm_notAfter(raw), wanted.validTo);
  X509_set_pubkey(raw, key);
  X509_NAME_add_entry_by_txt(X509_get_subject_name(raw), "CN", MBSTRING_UTF8,
                             reinterpret_cast<const unsigned char*>(wanted.name.c_str()), -1, -1, 0);
  X509_set_issuer_name(raw, X509_get_subject_name(issuer));
  addExtension(raw, issuer, NID_subject_key_identifier, "hash");
  if (wanted.hosts.empty()) {
    addExtension(raw, issuer, NID_basic_constraints, "critical,CA:TRUE");
    addExtension(raw, issuer, NID_key_usage, "critical,keyCertSign,cRLSign");
  } else {
    addExtension(raw, issuer, NID_subject_alt_name, wanted.hosts);
  }
  checked(X509_sign(raw, issuerKey, EVP_sha256()) != 0, "not signed");
  return certificate;
}

/// @param write  puts it into a BIO, 1 for success
template <class Write>
std::string pemOf(const Write& write) {
  const std::unique_ptr<BIO, decltype(&BIO_free)> bio(checked(BIO_new(BIO_s_mem()), "no memory"), &BIO_free);
  checked(write(bio.get()) == 1, "not written");
  char* data = nullptr;
  const long size = BIO_get_mem_data(bio.get(), &data);
  return {data, static_cast<std::size_t>(size)};
}

std::string pemOf(X509* certificate) {
  return pemOf([=](BIO* bio) { return PEM_write_bio_X509(bio, certificate); });
}

std::string pemOf(EVP_PKEY* key) {
  return pemOf([=](BIO* bio) { return PEM_write_bio_PrivateKey(bio, key, nullptr, nullptr, 0, nullptr, nullptr); });
}

void writeFile(const std::string& path, const std::string& text) {
  std::ofstream file(path, std::ios::binary);
  file << text;
  checked(file.good(), "a file can't be written");
}

}  // namespace

CertificateFiles writeCertificates(const std::string& directory, const std::string& address, CertificateKind kind) {
  const Key authorityKey = makeKey();
  const Certificate authority =
      makeCertificate({"Test authority", {}}, authorityKey.get(), nullptr, authorityKey.get());

  const Key key = makeKey();
  Wanted wanted{"localhost", "DNS:localhost,IP:" + address, 2};
  if (kind == CertificateKind::Expired) wanted.validTo = -kDay;
  if (kind == CertificateKind::OtherHost) wanted.hosts = "DNS:elsewhere.example";
  const bool selfSigned = kind == CertificateKind::SelfSigned;
  const Certificate certificate = makeCertificate(wanted, key.get(), selfSigned ? nullptr : authority.get(),
                                                  selfSigned ? key.get() : authorityKey.get());

  CertificateFiles files{directory + "/authority.pem", directory + "/certificate.pem", directory + "/key.pem",
                         directory + "/both.pem"};
  writeFile(files.authority, pemOf(authority.get()));
  writeFile(files.certificate, pemOf(certificate.get()));
  writeFile(files.key, pemOf(key.get()));
  writeFile(files.both, pemOf(key.get()) + pemOf(certificate.get()));
  return files;
}

}  // namespace zephor_test
