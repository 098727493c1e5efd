// What is to be told a moment later: files that wait for their quiet, and missing ones in their time of grace. Pure:
// the caller tells the time and looks at the files.
#pragma once

#include <chrono>
#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <utility>

#include "workstation/Export.h"

namespace workstation {

/// How a file looks from outside.
struct FileState {
  std::int64_t size = -1;  ///< -1: not known
  std::int64_t written = 0;
  std::int64_t changed = 0;  ///< of the last change to content, name or attributes; both in ns since 1970
  std::uint64_t number = 0;  ///< of the file in its file system
  bool operator==(const FileState&) const = default;
};

class WORKSTATION_API PendingNotices {
 public:
  using Clock = std::chrono::steady_clock;
  using Time = Clock::time_point;

  struct Due {
    std::string path;
    bool isGone = false;
    bool isClosed = false;  ///< a writer has closed it
    bool isPutOff = false;
    FileState seen;  ///< as it was when its quiet began
  };

  PendingNotices(Clock::duration quiet, Clock::duration goneFor) : quiet_(quiet), goneFor_(goneFor) {}

  /// What comes from now on waits this long.
  void setTimes(Clock::duration quiet, Clock::duration goneFor);

  /// A file may have new content. Its quiet begins again, unless it looks as it did when that began; a writer that
  /// never rests can't put the notice off for ever.
  /// @return whether it was in its time of grace, which ends
  bool written(const std::string& path, const FileState& state, bool isClosed, Time now);
  /// A file is away. The grace lasts while others go, too: whoever removes a whole root is seen to do so before a
  /// file of it is told.
  void gone(const std::string& path, Time now);
  /// For a file that was due and can't be told yet: a further quiet, or grace.
  void putOff(const Due& due, const FileState& state, Clock::duration quiet, Time now);
  void forget(const std::string& path);
  /// Everything below a directory.
  void forgetBelow(const std::string& directory);

  /// When there is something to take; none while nothing waits.
  std::optional<Time> next() const;
  /// The earliest one that is due, which is then forgotten.
  std::optional<Due> take(Time now);
  /// Makes everything that waits for its quiet due at once.
  void endQuiet(Time now);
  /// Makes everything due at once.
  void endAll(Time now);

 private:
  struct Entry {
    Due due;
    Time since;
    Time deadline;
  };
  void put(Entry entry);

  Clock::duration quiet_;
  Clock::duration goneFor_;
  Time lastGone_;
  std::map<std::string, Entry> entries_;
  std::set<std::pair<Time, std::string>> order_;
};

}  // namespace workstation
