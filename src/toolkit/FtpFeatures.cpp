#include "toolkit/FtpFeatures.h"

#include <algorithm>
#include <string_view>

namespace Quorvel::FileAccess {

namespace {

std::string upperCase(std::string_view text) {
  std::string result(text);
  std::transform(result.begin(), result.end(), result.begin(),
                 [](char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c; });
  return result;
}

/// Cuts the first word off a text. Words end at one of `separators`.
std::string_view takeWord(std::string_view& text, std::string_view separators) {
  text.remove_prefix(std::min(text.find_first_not_of(separators), text.size()));
  const std::string_view word = text.substr(0, text.find_first_of(separators));
  text.remove_prefix(word.size());
  return word;
}

/// "TLS", "TLS;TLS-C;SSL;", "SSL,TLS"
bool offersTls(std::string_view methods) {
  for (;;) {
    const std::string_view method = takeWord(methods, " ;,");
    if (method.empty()) return false;
    if (method == "TLS" || method == "TLS-C") return true;
  }
}

void takeFeature(std::string_view line, FtpFeatures& features) {
  const std::string_view name = takeWord(line, " \t\r");
  if (name == "REST") features.rest = true;
  if (name == "MLST") features.mlst = true;
  if (name == "MDTM") features.mdtm = true;
  if (name == "MFMT") features.mfmt = true;
  if (name == "SIZE") features.size = true;
  if (name == "EPSV") features.epsv = true;
  if (name == "UTF8") features.utf8 = true;
  if (name == "AUTH") features.authTls = features.authTls || offersTls(line);
  if (name == "PBSZ") features.pbsz = true;
  if (name == "PROT") features.prot = true;
}

}  // namespace

FtpFeatures parseFeatures(std::string_view reply) {
  FtpFeatures features;
  if (reply.substr(0, 3) != "211") return features;
  const std::string text = upperCase(reply);
  std::string_view rest = text;
  while (!rest.empty()) {
    std::string_view line = rest.substr(0, rest.find('\n'));
    rest.remove_prefix(std::min(line.size() + 1, rest.size()));
    // Some servers put the code before every line.
    if (line.substr(0, 4) == "211-" || line.substr(0, 4) == "211 ") line.remove_prefix(4);
    takeFeature(line, features);
  }
  return features;
}

}  // namespace Quorvel::FileAccess
