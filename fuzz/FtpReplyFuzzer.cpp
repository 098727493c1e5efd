// Replies of a server, in the pieces in which they may arrive.

#include <vector>

#include "fuzz/Support.h"
#include "toolkit/FtpReply.h"

using namespace Quorvel::FileAccess;

namespace {

struct Dialogue {
  FtpReplyParser parser;
  std::vector<std::string> texts;

  void take(std::string_view bytes) {
    parser.append(bytes);
    while (const auto reply = parser.next()) {
      fuzz::require(reply->code >= 100 && reply->code < 600, "a code has three digits, from 1 to 5 at the start");
      fuzz::require(reply->text.starts_with(std::to_string(reply->code)), "a reply begins with its code");
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
