// What `zephor --json status --project-line` tells, line by line as it comes. Pure; texts are UTF-8.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace workstation {

/// In the order of urgency, which is what the column of states sorts by.
enum class RowState : std::uint8_t {
  Damaged,
  ChangedOnBoth,
  OlderInStore,
  Unsent,  ///< to be saved, and an attempt to send it failed
  ChangedHere,
  OnlyHere,
  NewerInStore,
  OnlyInStore,
  RemovedFromStore,
  RemovedHere,
  Unknown,  ///< a state that this window has no word for; it shows the program's
  InStep,
};

struct StatusRow {
  std::string item;
  std::string name;
  std::optional<std::int64_t> here;   ///< version; nothing: not here
  std::optional<std::int64_t> store;  ///< version; nothing: not there, or the store counts none
  std::string holder;                 ///< of the lock; empty: not locked
  bool isYours = false;               ///< the lock is held here
  bool isUnsent = false;              ///< an attempt to send it failed
  RowState state = RowState::Unknown;
  std::string stateText;  ///< the program's words
  std::string reason;
  bool operator==(const StatusRow&) const = default;
};

struct ShownProject {
  std::string name;
  std::string uuid;
  std::string directory;
  std::string user;
  bool operator==(const ShownProject&) const = default;
};

class StatusLines {
 public:
  /// Takes what was read by now, wherever it was cut.
  void add(std::string_view bytes);
  /// The output has ended; a last line without its end counts as cut off.
  void finish();

  const std::optional<ShownProject>& project() const { return project_; }
  const std::vector<StatusRow>& rows() const { return rows_; }
  /// The first line that is none of the two kinds, with its number; empty when all are.
  const std::string& problem() const { return problem_; }

 private:
  void takeLine(std::string_view line);
  void refuse(std::string_view line, const char* expected);

  std::string rest_;
  std::size_t lineNumber_ = 0;
  std::optional<ShownProject> project_;
  std::vector<StatusRow> rows_;
  std::string problem_;
};

}  // namespace workstation
