// What a watch decides about one file, and about many that vanish. Pure.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>

#include "workstation/program/ObjectState.h"
#include "workstation/store/CacheRecord.h"

namespace workstation::program {

/// What an upload that nobody has decided on is judged by.
struct UploadFacts {
  FileContent here;                        ///< size and time
  std::optional<FileContent> settled;      ///< what both sides had, with its hash, when it last moved by itself
  std::optional<VersionStamp> base;        ///< the store's side when both were last in step
  std::optional<FileContent> stored;       ///< what the store has now; nothing when it has none
  VersionStamp store;                      ///< the same as the base keeps it
  std::function<bool()> hasStoredContent;  ///< reads the file here
  bool isOwn = false;                      ///< the store's is what this process sent last
};

enum class UploadStep : std::uint8_t {
  Send,          ///< onto the version that was last in step, or as a new file
  AlreadyThere,  ///< both sides have the same
  ChangedThere,  ///< somebody else's version would be lost
  DeletedThere,  ///< somebody deleted what was changed here
};
UploadStep decideUpload(const UploadFacts& facts);

/// Whether so many files that vanish within moments look like an accident: a directory that was emptied or unmounted.
/// @param served  how many there were of the kind that is deleted in the store
bool looksLikeAccident(std::size_t vanished, std::size_t served);

/// Pauses between attempts: one second, then twice as long each time, up to a minute.
class Backoff {
 public:
  std::chrono::seconds next();

 private:
  std::chrono::seconds pause_{1};
};

}  // namespace workstation::program
