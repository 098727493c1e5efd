// What a server says that it can (RFC 2389): one record, read once per connection. Pure.
#pragma once

#include <string>
#include <string_view>

namespace Quorvel::FileAccess {

struct FtpFeatures {
  bool rest = false;  ///< REST STREAM
  bool mlst = false;  ///< MLST and MLSD
  bool mdtm = false;
  bool mfmt = false;
  bool size = false;
  bool epsv = false;
  bool utf8 = false;
  bool authTls = false;
  bool pbsz = false;
  bool prot = false;
};

/// @param reply  the reply to FEAT with all its lines
FtpFeatures parseFeatures(std::string_view reply);

}  // namespace Quorvel::FileAccess
