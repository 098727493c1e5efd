#include "workstation/desktop/window/CommandLine.h"

#include <algorithm>

namespace workstation {
namespace {

bool isHeldByOther(const StatusRow& row) {
  return !row.holder.empty() && !row.isYours;
}

bool hasSomethingToSave(const StatusRow& row) {
  switch (row.state) {
    case RowState::ChangedHere:
    case RowState::OnlyHere:
    case RowState::Unsent:
    case RowState::ChangedOnBoth:  // refused, and the answer tells what to do
    case RowState::Unknown:
      return !isHeldByOther(row);
    default:
      return false;
  }
}

bool hasSomethingToFetch(const StatusRow& row) {
  switch (row.state) {
    case RowState::NewerInStore:
    case RowState::OnlyInStore:
    case RowState::RemovedHere:
    case RowState::ChangedOnBoth:  // refused, and the answer tells what to do
    case RowState::OlderInStore:
    case RowState::Damaged:
    case RowState::Unknown:
      return true;
    default:
      return false;
  }
}

bool fits(Command command, const StatusRow& row) {
  switch (command) {
    case Command::Lock:
      return row.holder.empty();
    case Command::Unlock:
      return row.isYours;
    case Command::Save:
      return hasSomethingToSave(row);
    case Command::Fetch:
      return hasSomethingToFetch(row);
    default:
      return false;
  }
}

}  // namespace

bool makesSense(Command command, const std::vector<const StatusRow*>& selected, bool unsent) {
  if (command == Command::Sync || command == Command::BackgroundLog) return true;
  if (command == Command::SendAgain) return unsent;
  return std::any_of(selected.begin(), selected.end(), [&](const StatusRow* row) { return fits(command, *row); });
}

std::vector<std::string> wordsOf(Command command, const std::vector<const StatusRow*>& selected) {
  if (command == Command::Sync) return {"sync"};
  if (command == Command::SendAgain) return {"not-uploaded", "retry"};
  if (command == Command::BackgroundLog) return {"background", "log"};
  std::vector<std::string> words{command == Command::Lock     ? "lock"
                                 : command == Command::Unlock ? "unlock"
                                 : command == Command::Save   ? "save"
                                                              : "fetch"};
  for (const StatusRow* row : selected) words.push_back(row->item);
  return words;
}

std::vector<std::string> pinned(std::vector<std::string> arguments, const std::string& projectUuid) {
  std::erase_if(arguments, [](const std::string& word) { return word.starts_with("--project="); });
  arguments.push_back("--project=" + projectUuid);
  return arguments;
}

}  // namespace workstation
