// The window's texts in the language in use.
#pragma once

#include <QString>
#include <cstdint>

#include "workstation/desktop/window/StatusLines.h"

namespace workstation {

enum class WindowText : std::uint8_t {
  Title,
  Object,
  Name,
  State,
  LockedBy,
  Here,
  Store,
  Reason,
  LockedByYou,  ///< %1: the own name
  Lock,
  Unlock,
  Save,
  Fetch,
  Sync,
  SendAgain,
  BackgroundLog,
  OpenFolder,
  Refresh,
  Interrupt,
  LockTip,
  UnlockTip,
  SaveTip,
  FetchTip,
  SyncTip,
  SendAgainTip,
  BackgroundLogTip,
  OpenFolderTip,
  RefreshTip,
  InterruptTip,
  Filter,
  FilterHint,
  Objects,  ///< accessible name of the table
  Log,
  Working,
  Reading,
  Waiting,  ///< %1: a command that is to come
  Running,  ///< %1: the command
  Interrupting,
  Done,  ///< %1: the command, as in all the following
  Failed,
  Misused,
  PartlyDone,
  LockedByOther,
  NotLoggedIn,
  Interrupted,
  EndedOddly,  ///< %2: the exit code
  NotStarted,  ///< %2: why
  NotBegun,
  Counts,  ///< %1: objects, %2: shown, %3: selected
  NoObjects,
  NoState,    ///< %1: the program's words
  OldState,   ///< %1: the time of what is shown
  Malformed,  ///< %1: the line and what was expected
  NoFolder,   ///< %1: its path
  CloseTitle,
  CloseQuestion,
  CloseThen,
  CloseInterrupted,
  CloseNever,
  DryRun,
  Count
};

QString windowText(WindowText text);
/// Word for the state; of an unknown one the program's.
QString stateText(const StatusRow& row);
/// Why, and which button helps.
QString reasonText(const StatusRow& row);

}  // namespace workstation
