// Replies of a server, in the pieces in which they may arrive, and what is read out of them.

#include <vector>

#include "fuzz/Support.h"
#include "toolkit/FtpAddress.h"
#include "toolkit/FtpFeatures.h"
#include "toolkit/FtpPath.h"
#include "toolkit/FtpReply.h"

using namespace Quorvel::FileAccess;

namespace {

void readOut(const std::string& reply) {
  parseFeatures(reply);
  const auto passive = parsePassive(reply);
  const auto extended = parseExtendedPassive(reply);
  fuzz::require((!passive || passive->port != 0) && (!extended || extended->port != 0), "a port can be connected to");
  fuzz::require(!passive || passive->address.find_first_not_of("0123456789.") == std::string::npos,
                "an address is one");
  const auto directory = parsePrintedDirectory(reply);
  fuzz::require(!directory || directory->find_first_of(std::string_view("\r\n\0", 3)) == std::string::npos,
                "a directory can be sent back");
}

struct Dialogue {
  FtpReplyParser parser;
  std::vector<std::string> texts;

  void take(std::string_view bytes) {
    parser.append(bytes);
    while (const auto reply = parser.next()) {
      fuzz::require(reply->code >= 100 && reply->code < 600, "a code has three digits, from 1 to 5 at the start");
      fuzz::require(reply->text.starts_with(std::to_string(reply->code)), "a reply begins with its code");
      readOut(reply->text);
      texts.push_back(reply->text);
    }
  }
};

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view bytes = fuzz::textOf(data, size);
  Dialogue whole;
  Dialogue cut;
  whole.take(bytes);
  for (const char& byte : bytes) cut.take({&byte, 1});
  fuzz::require(whole.texts == cut.texts, "replies do not depend on how they arrive");
  fuzz::require(whole.parser.isBroken() == cut.parser.isBroken(), "neither does what is no reply");
  return 0;
}
