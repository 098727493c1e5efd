// The listing of one directory of the server, kept while work stays in that directory.
//
// It never expires, and nothing that changes the server empties it: what is uploaded into its directory is not seen
// until the directory changes. It is meant for work on a single thread, but any thread may call.
#pragma once

#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "zephor/FileTransfer.h"

namespace Quorvel::FileAccess {

class ListingCache {
 public:
  /// Work goes on in a directory; another than before empties the list.
  void notify(const std::wstring& directory);
  bool isEmpty();
  void clear();
  /// Takes the listing of the directory last notified.
  void fill(std::vector<RemoteFileEntry> entries);
  /// Looks a name up without regard to case.
  std::optional<RemoteFileEntry> find(const std::wstring& name);

 private:
  std::mutex mutex_;
  std::wstring directory_;  ///< without a separator at its end
  std::vector<RemoteFileEntry> entries_;
};

}  // namespace Quorvel::FileAccess
