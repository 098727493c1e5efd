// What the caller set on an FTP client before it connects.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

namespace Quorvel::FileAccess {

struct FtpSettings {
  /// Seconds, where the caller sets none: a server that says nothing at all is not waited for without end.
  static constexpr std::int32_t kBuiltInLimit = 60;

  std::wstring hostname;
  std::wstring user;
  std::wstring password;
  std::wstring trustedCertificates;  ///< library path of a PEM file; empty for none
  bool autoFeat = true;
  std::optional<bool> useEpsv;
  std::int32_t readTimeoutSeconds = 60;     ///< idle time; 0 for the built-in limit
  std::int32_t connectTimeoutSeconds = 30;  ///< 0 for the built-in limit
  std::int32_t port = 21;
  bool authTls = false;
  bool implicitTls = false;
  std::size_t sendPieceBytes = std::size_t{256} * 1024;
  int sendBufferBytes = 0;  ///< of the socket; 0 leaves it to the system

  std::int32_t readLimit() const { return readTimeoutSeconds > 0 ? readTimeoutSeconds : kBuiltInLimit; }
  std::int32_t connectLimit() const { return connectTimeoutSeconds > 0 ? connectTimeoutSeconds : kBuiltInLimit; }
};

}  // namespace Quorvel::FileAccess
