#include "toolkit/FtpReply.h"

#include <algorithm>

namespace Quorvel::FileAccess {

namespace {

// Servers send lines of some hundred bytes; a path in a reply may have 4 KiB.
constexpr std::size_t kLongestLine = std::size_t{8} * 1024;
constexpr std::size_t kLongestReply = std::size_t{64} * 1024;
constexpr std::size_t kCodeLength = 3;

bool isDigit(char c) {
  return c >= '0' && c <= '9';
}

/// True for as much of a code as the line has of it.
bool beginsLikeCode(std::string_view line) {
  const std::string_view code = line.substr(0, kCodeLength);
  if (!std::all_of(code.begin(), code.end(), isDigit)) return false;
  return code.empty() || (code[0] >= '1' && code[0] <= '5');
}

/// The line has `code` and then `separator`. Some servers leave out the blank where no text follows.
bool hasCode(std::string_view line, std::string_view code, char separator) {
  if (line.substr(0, kCodeLength) != code) return false;
  return line.size() == kCodeLength ? separator == ' ' : line[kCodeLength] == separator;
}

std::string_view withoutLineEnd(std::string_view line) {
  while (!line.empty() && line.back() == '\r') line.remove_suffix(1);
  return line;
}

int toCode(std::string_view line) {
  return (line[0] - '0') * 100 + (line[1] - '0') * 10 + (line[2] - '0');
}

}  // namespace

void FtpReplyParser::append(std::string_view bytes) {
  if (!broken_) bytes_ += bytes;
}

std::optional<FtpReply> FtpReplyParser::next() {
  if (broken_) return std::nullopt;
  FtpReply reply;
  const std::string_view bytes = bytes_;
  std::size_t begin = 0;
  for (;;) {
    const std::size_t end = bytes.find('\n', begin);
    const bool isWhole = end != std::string_view::npos;
    const std::string_view line = withoutLineEnd(bytes.substr(begin, isWhole ? end - begin : end));
    const bool isFirst = begin == 0;
    broken_ = line.size() > kLongestLine || begin + line.size() > kLongestReply || (isFirst && !beginsLikeCode(line));
    if (broken_ || !isWhole) return std::nullopt;
    if (isFirst) {
      const std::string_view code = line.substr(0, kCodeLength);
      broken_ = code.size() < kCodeLength || !(hasCode(line, code, ' ') || hasCode(line, code, '-'));
      if (broken_) return std::nullopt;
      reply.code = toCode(line);
    } else {
      reply.text += '\n';
    }
    reply.text += line;
    begin = end + 1;
    if (hasCode(line, std::string_view(reply.text).substr(0, kCodeLength), ' ')) break;
  }
  bytes_.erase(0, begin);
  return reply;
}

bool FtpReplyParser::isEmpty() const {
  return bytes_.empty();
}

bool FtpReplyParser::isBroken() const {
  return broken_;
}

void FtpReplyParser::reset() {
  bytes_.clear();
  broken_ = false;
}

}  // namespace Quorvel::FileAccess
