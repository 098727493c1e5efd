// The bodies of the store: files named by the SHA-256 of their content, `bodies/ab/abcdef...`, and `incoming`, where
// they are written before they get their name. Failures are thrown as StoreError.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "platform/WindowsTypes.h"
#include "workstation/Export.h"

namespace workstation {

/// A content that stands under its name in the store, not yet synced.
struct PlacedBody {
  std::string sha256;
  std::uint64_t size = 0;
};

/// Reads the next bytes into a buffer. @return bytes read, 0 at the end; throws StoreError
using BodySource = std::function<std::size_t(std::uint8_t* buffer, std::size_t size)>;

class Bodies {
 public:
  explicit Bodies(std::string directory) : directory_(std::move(directory)) {}

  /// Makes the directories of a new store.
  void create() const;
  const std::string& directory() const { return directory_; }
  std::string pathOf(const std::string& sha256) const;
  std::string incoming() const { return directory_ + "/incoming"; }
  /// Held shared by whoever puts bodies whose records are not committed, exclusively by the sweep.
  std::string lockPath() const { return directory_ + "/incoming/lock"; }

  /// Takes a content in and gives it its name. The same content may stand there already; a damaged one is replaced.
  PlacedBody take(const BodySource& source) const;
  /// Makes all of them survive a loss of power: one by one for a few, the whole file system at once for many.
  void sync(const std::vector<PlacedBody>& bodies) const;
  /// Writes a body to `target` with its write time, checking the content against its name.
  /// @return false when there is no such body; nothing is left at `target` then, nor when the content is damaged
  bool copyTo(const std::string& sha256, const std::string& target, const FILETIME& writeTime) const;

 private:
  void makeRoomFor(const std::string& sha256) const;

  std::string directory_;
};

std::string randomHex(std::size_t bytes);
/// SHA-256 of a text, and of a file's content (empty when there is none), as 64 hexadecimal digits.
std::string sha256Of(const std::string& text);
WORKSTATION_API std::string sha256OfFile(const std::string& path);

}  // namespace workstation
