#include "background/UploadThreads.h"

#include <chrono>
#include <utility>

#include "background/BackgroundState.h"
#include "background/BackgroundThread.h"
#include "background/Pacing.h"
#include "cloud/CloudCall.h"
#include "cloud/Ondrath_Services.h"
#include "diagnostics/ConnectionLog.h"
#include "platform/Files.h"
#include "platform/Synchronisation.h"
#include "platform/Text.h"
#include "zephor/FileServices.h"

namespace Quorvel::FileAccess {
namespace {

using std::chrono::milliseconds;

constexpr const wchar_t* kThread = L"Quorvel::FileAccess::uploadThreadProc";
constexpr const wchar_t* kUploadEx = L"Quorvel::FileAccess::WGO_uploadFileEx";
constexpr unsigned long kModified = 3;
constexpr milliseconds kStartPause{100};
constexpr milliseconds kSettlePause{50};
constexpr int kSettlePasses = 10;
constexpr int kAttempts = 3;
/// Characters of the list that go into the connection log, which drops longer texts than it takes.
constexpr std::size_t kListedCharacters = 3000;

/// Waits for the second notice, which tells that the file was saved. A third one before anybody looked lets the wait
/// take its whole time.
void settle(const UploadContext& context) {
  for (int pass = 0; pass < kSettlePasses && context.requestCount != 2; ++pass) pacing().sleep(kSettlePause, {});
}

/// Answers what WGO_uploadFileEx would, in its order, without its busy cursor. That one asks the transfer object, which
/// belongs to the main thread and may be aimed at another server, and calls a file that it did not send for that reason
/// a success; and it knows the open project only.
/// @param isBlocked  set when uploads are blocked: the answer is 0 then, and nothing was sent
std::uint32_t uploadOnce(const BackgroundFile& file, bool& isBlocked) {
  isBlocked = WGO_isBlockedUpload();
  if (isBlocked) return ERROR_SUCCESS;
  const std::wstring path = file.path();
  if (_waccess(path.c_str(), 0) != 0) {
    lfperrC(L"%s: cannot access %s\n", kUploadEx, path);
    return ERROR_FILE_NOT_FOUND;
  }
  return statusCode(guardedCall(kThread, [&] { return CloudStatus{Ondrath_uploadFile(file.project, path) ? 0 : 1}; }));
}

std::uint32_t upload(const BackgroundFile& file, bool& isBlocked) {
  std::uint32_t result = 0;
  for (int attempt = 0; attempt < kAttempts; ++attempt) {
    result = uploadOnce(file, isBlocked);
    if (result == 0) break;
  }
  return result;
}

void uploadThreadProc(const std::shared_ptr<UploadContext>& context) {
  BackgroundState& state = backgroundState();
  const std::wstring path = context->file.path();
  state.uploadThreads.enter(context);
  traceBackground(L"%s: UploadThread started - waiting... File=\"%s\"\n", kThread, path);
  settle(*context);
  bool isBlocked = false;
  {
    // The name is kept until it is this thread's turn: a file that is saved again and again while one upload of it goes
    // on gets one more thread, not one for each notice.
    const FileTurn turn(state.turns, context->key);
    state.uploadThreads.freeName(*context);
    context->working = 1;
    traceBackground(L"%s: UploadThread - working... File=\"%s\"\n", kThread, path);
    context->result = upload(context->file, isBlocked);
  }
  traceBackground(L"%s: UploadThread - finished! File=\"%s\" - result = 0x%08X\n", kThread, path, context->result);
  if (isBlocked) traceBackground(L"%s: UploadThread - uploads are blocked! File=\"%s\"\n", kThread, path);
  const bool isMissing = context->result == ERROR_FILE_NOT_FOUND;
  if (isBlocked || (context->result != 0 && !isMissing)) leaveToSynchronisation(context->file, kModified);
  const std::wstring list = state.uploadThreads.leave(*context);
  ConnectionLogger::AppendConnectionLog(platform::formatWide(L"%s\n\n", list).c_str());
  state.logs.of(context->file.projectDirectory).append(L"Upload", context->file.relativePath(), context->result);
}

/// Leaves neither name nor list entry behind, whatever happens.
void runUpload(const std::shared_ptr<UploadContext>& context) {
  try {
    uploadThreadProc(context);
  } catch (...) {
    refusedByException(kThread);
    backgroundState().uploadThreads.freeName(*context);
    backgroundState().uploadThreads.leave(*context);
    leaveToSynchronisation(context->file, kModified);
  }
}

}  // namespace

std::shared_ptr<UploadContext> UploadThreads::countOrWait(const BackgroundFile& file) {
  auto fresh = std::make_shared<UploadContext>(file);
  const std::lock_guard guard(lock_);
  const auto [place, isNew] = waiting_.try_emplace(fresh->key, fresh);
  if (isNew) return fresh;
  ++place->second->requestCount;
  return nullptr;
}

void UploadThreads::freeName(const UploadContext& context) {
  const std::lock_guard guard(lock_);
  const auto found = waiting_.find(context.key);
  if (found != waiting_.end() && found->second.get() == &context) waiting_.erase(found);
}

void UploadThreads::enter(const std::shared_ptr<UploadContext>& context) {
  const std::lock_guard guard(lock_);
  context->threadId = GetCurrentThreadId();
  list_.try_emplace(context->threadId, context);
}

std::wstring UploadThreads::leave(const UploadContext& context) {
  constexpr const wchar_t* kHeading = L"\n\nUpload Thread List:\n";
  std::wstring text = kHeading;
  const std::lock_guard guard(lock_);
  std::size_t listed = 0;
  for (auto entry = list_.begin(); entry != list_.end() && text.size() < kListedCharacters; ++entry, ++listed) {
    text += platform::formatWide(L" - ID = %d \"%s\"\n", entry->first, entry->second->file.path());
  }
  if (listed < list_.size()) text += platform::formatWide(L" - and %d more\n", list_.size() - listed);
  const auto found = list_.find(context.threadId);
  if (found != list_.end() && found->second.get() == &context) list_.erase(found);
  return list_.empty() ? std::wstring(kHeading) + L"empty!" : text;
}

void startUpload(const BackgroundFile& file) {
  BackgroundState& state = backgroundState();
  const std::shared_ptr<UploadContext> context = state.uploadThreads.countOrWait(file);
  if (context == nullptr) return;
  if (!runDetached(context->eventName, state.uploads, [context] { runUpload(context); })) {
    state.uploadThreads.freeName(*context);
    leaveToSynchronisation(file, kModified);
    return;
  }
  pacing().sleep(kStartPause, {});
}

}  // namespace Quorvel::FileAccess
