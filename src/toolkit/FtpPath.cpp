#include "toolkit/FtpPath.h"

#include "platform/Text.h"

namespace Quorvel::FileAccess {

bool isSendable(std::wstring_view text) {
  return text.find_first_of(std::wstring_view(L"\r\n\0", 3)) == std::wstring_view::npos;
}

std::string serverPath(std::wstring_view path) {
  return cleanPath(platform::toUtf8(path));
}

std::string cleanPath(std::string_view bytes) {
  std::string out;
  out.reserve(bytes.size());
  for (const char c : bytes) {
    const char next = c == '\\' ? '/' : c;
    if (next == '/' && !out.empty() && out.back() == '/') continue;
    out.push_back(next);
  }
  if (out.size() > 1 && out.back() == '/') out.pop_back();
  return out;
}

std::string absolutePath(const std::string& base, const std::string& path) {
  const bool isAbsolute = !path.empty() && path.front() == '/';
  if (!isAbsolute && base.empty()) return path;
  std::string out = isAbsolute || base == "/" ? std::string() : base;
  std::size_t begin = 0;
  while (begin <= path.size()) {
    const std::size_t end = std::min(path.find('/', begin), path.size());
    const std::string_view part = std::string_view(path).substr(begin, end - begin);
    if (part == "..") {
      out.erase(std::min(out.rfind('/'), out.size()));
    } else if (!part.empty() && part != ".") {
      out.append("/").append(part);
    }
    begin = end + 1;
  }
  return out.empty() ? "/" : out;
}

bool isSameOrBelow(std::string_view path, std::string_view directory) {
  if (directory.empty() || path.substr(0, directory.size()) != directory) return false;
  return path.size() == directory.size() || directory.back() == '/' || path[directory.size()] == '/';
}

std::string_view leafOf(std::string_view path) {
  const std::size_t separator = path.rfind('/');
  return separator == std::string_view::npos ? path : path.substr(separator + 1);
}

std::optional<std::string> parsePrintedDirectory(std::string_view reply) {
  const std::size_t open = reply.find('"');
  if (open == std::string_view::npos) return std::nullopt;
  std::string path;
  for (std::size_t i = open + 1; i < reply.size(); ++i) {
    // No command could carry it back.
    if (static_cast<unsigned char>(reply[i]) < ' ' || reply[i] == '\x7F') return std::nullopt;
    if (reply[i] != '"') {
      path.push_back(reply[i]);
    } else if (i + 1 < reply.size() && reply[i + 1] == '"') {
      path.push_back(reply[i++]);
    } else {
      return path;
    }
  }
  return std::nullopt;
}

void FtpCurrentDirectory::confirm(std::string directory) {
  server_ = std::move(directory);
}

void FtpCurrentDirectory::forgetBelow(const std::string& path) {
  if (isSameOrBelow(server_, path)) server_.clear();
}

void FtpCurrentDirectory::forgetAll() {
  server_.clear();
  wanted_.clear();
}

bool FtpCurrentDirectory::isKnown(const std::string& directory) const {
  return !server_.empty() && isSameOrBelow(server_, directory);
}

}  // namespace Quorvel::FileAccess
