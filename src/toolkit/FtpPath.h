// Paths of a server as the client sends them, and what it remembers of the current directory. Pure.
//
// Paths are UTF-8 with `/`, without an empty component, without one at the end.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace Quorvel::FileAccess {

/// False for a text with CR, LF or NUL, which would end the command early and begin another.
bool isSendable(std::wstring_view text);

/// `\` becomes `/`, runs of separators one; a separator at the end is dropped unless it stands alone.
std::string serverPath(std::wstring_view path);
/// The same of bytes.
std::string cleanPath(std::string_view bytes);

/// `path` as seen from `base`, with "." and ".." taken as text; `base` is absolute, or empty for not known.
/// @return an absolute path, or `path` itself where it is relative and the base not known
std::string absolutePath(const std::string& base, const std::string& path);

bool isSameOrBelow(std::string_view path, std::string_view directory);
/// The name behind the last separator.
std::string_view leafOf(std::string_view path);

/// The path in the reply to PWD: `257 "/a ""b"" c" is current` (RFC 959, appendix II).
std::optional<std::string> parsePrintedDirectory(std::string_view reply);

/// The directory that the caller works in, and the one that the server is in. They differ while nothing needs them to
/// be equal.
class FtpCurrentDirectory {
 public:
  /// The server said, or did, that it is there.
  void confirm(std::string directory);
  /// Where the server is has to be asked for. The caller's wish stays.
  void forgetServer() { server_.clear(); }
  /// The same if the server is at `path` or below it.
  void forgetBelow(const std::string& path);
  void forgetAll();

  /// True when the directory must exist, since the server is in it or below it.
  bool isKnown(const std::string& directory) const;
  void want(std::string directory) { wanted_ = std::move(directory); }

  const std::string& wanted() const { return wanted_; }
  const std::string& server() const { return server_; }
  /// A command that means the current directory has to be sent a change ahead.
  bool isChangeNeeded() const { return !wanted_.empty() && wanted_ != server_; }

 private:
  std::string server_;
  std::string wanted_;
};

}  // namespace Quorvel::FileAccess
