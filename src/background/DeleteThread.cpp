#include "background/DeleteThread.h"

#include <chrono>

#include "background/BackgroundState.h"
#include "background/BackgroundThread.h"
#include "background/Pacing.h"
#include "cloud/CloudCall.h"
#include "cloud/Ondrath_Services.h"
#include "platform/Files.h"

namespace Quorvel::FileAccess {
namespace {

constexpr const wchar_t* kThread = L"Quorvel::FileAccess::deleteThreadProc";
constexpr unsigned long kRemoved = 2;
constexpr unsigned long kModified = 3;
constexpr CloudStatus kNotDeleted = static_cast<CloudStatus>(0x8000FFFF);
constexpr std::chrono::milliseconds kStartPause{1};

/// Answers what WGO_deleteServerFile would, without the transfer object, which is the main thread's.
std::uint32_t deleteOnServer(const BackgroundFile& file) {
  return statusCode(guardedCall(
      kThread, [&] { return Ondrath_deleteFile(file.project, file.path()) ? CloudStatus{0} : kNotDeleted; }));
}

void deleteThreadProc(const BackgroundFile& file) {
  BackgroundState& state = backgroundState();
  std::uint32_t result = 0;
  {
    const FileTurn turn(state.turns, file.key());
    const platform::FileStatus status = platform::fileStatus(file.path());
    if (status.exists && !status.isDirectory) {
      // It came back: deleting now could take away what has just been uploaded.
      traceBackground(L"%s: Delete Thread - the file is there again! File=\"%s\"\n", kThread, file.relativePath());
      leaveToSynchronisation(file, kModified);
      return;
    }
    traceBackground(L"%s: Delete Thread working... File=\"%s%s\"\n", kThread, file.relativeDirectory, file.name);
    result = deleteOnServer(file);
  }
  if (result != 0) leaveToSynchronisation(file, kRemoved);
  state.logs.of(file.projectDirectory).append(L"Delete", file.relativePath(), result);
}

/// The change stays somebody's, whatever happens.
void runDeletion(const BackgroundFile& file) {
  try {
    deleteThreadProc(file);
  } catch (...) {
    refusedByException(kThread);
    leaveToSynchronisation(file, kRemoved);
  }
}

}  // namespace

void startDeletion(const BackgroundFile& file) {
  if (runDetached(L"Deleting: " + file.name, backgroundState().deletions, [file] { runDeletion(file); })) {
    pacing().sleep(kStartPause, {});
  } else {
    leaveToSynchronisation(file, kRemoved);
  }
}

}  // namespace Quorvel::FileAccess
