// Content of an appended entry as it goes into an archive: read at one moment of its file, and deflated. Internal to
// the toolkit.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "platform/WindowsTypes.h"
#include "toolkit/Deflate.h"
#include "toolkit/ZipEntries.h"

namespace Quorvel::FileAccess {

/// Content of more bytes goes in pieces.
constexpr std::uint64_t kStreamedFrom = std::uint64_t{64} << 20U;

/// What changes with every write to a file.
struct FileState {
  bool exists = false;
  std::uint64_t size = 0;
  std::uint64_t ticks = 0;  ///< of the last write

  bool operator==(const FileState& other) const {
    return exists == other.exists && size == other.size && ticks == other.ticks;
  }
  bool operator!=(const FileState& other) const { return !(*this == other); }
};

FileState stateOf(const std::wstring& path);
/// The state of a file whose next write will change it. The system's times go in steps, so that a file which was
/// written just now is waited for.
/// @return nothing when somebody goes on writing
std::optional<FileState> settledStateOf(const std::wstring& path);

/// True for the first bytes of an SQLite database, of which other files beside it may be a part.
bool isDatabase(std::string_view content);

struct ReadyContent {
  std::wstring failure;                      ///< why there is none; empty for what follows
  bool isLarge = false;                      ///< a file that has to be read in pieces; nothing else is set
  std::shared_ptr<const CkByteData> stored;  ///< null when the content is deflated
  DeflatedBlock block;
  std::uint64_t size = 0;
  std::uint32_t crc = 0;
  FileState state;          ///< of the file
  bool isDatabase = false;  ///< the file is one

  const std::uint8_t* bytes() const { return stored ? stored->getData() : block.bytes.get(); }
  std::size_t storedSize() const { return stored ? stored->getSize() : block.size; }
};

/// Any thread. A file that is written meanwhile is read again, and again; one that does not rest is a failure.
/// @param level  0: stored
ReadyContent makeReady(const ZipEntry& entry, int level);

}  // namespace Quorvel::FileAccess
