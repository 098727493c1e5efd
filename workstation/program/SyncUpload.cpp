#include "workstation/program/SyncUpload.h"

#include <map>
#include <optional>
#include <utility>

#include "platform/Files.h"
#include "platform/Paths.h"
#include "platform/Time.h"
#include "workstation/program/ServerLookup.h"
#include "workstation/program/ServerParts.h"
#include "workstation/program/ServerProgress.h"
#include "workstation/program/ServerSession.h"
#include "zephor/ThreadedTransfers.h"

namespace workstation::program {

using namespace Quorvel::FileAccess;

namespace {

constexpr int kLocalSide = ePrjPath;
constexpr std::size_t kFewFiles = 5;
constexpr const wchar_t* kLost = L"the connection is lost; whether it arrived shows at the next sync";

/// What the last, interrupted upload left on the server may be overwritten; what somebody else sent meanwhile may not.
bool mayResume(const ServerSession& session, Upload& upload) {
  if (upload.step.action != SyncAction::Resume) return true;
  if (isBeginOfFileHere(session, {}, upload.transfer, upload.step.target->size)) return true;
  upload.transfer.problem =
      L"its last upload was interrupted, and the server has another version since; server put or get "
      L"--force settles it";
  return false;
}

void setTimeHere(const std::wstring& path, const FILETIME& time) {
  const HANDLE file = CreateFileW(path.c_str(), FILE_WRITE_ATTRIBUTES, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                                  OPEN_EXISTING, 0, nullptr);
  if (file == INVALID_HANDLE_VALUE) return;
  SetFileTime(file, nullptr, nullptr, &time);
  CloseHandle(file);
}

/// What the server has is what is here, and it is not what it had before.
bool isThere(const ServerSession& session, const Upload& upload, const std::optional<RemoteFileEntry>& entry) {
  const TreeFile& source = upload.step.source;
  const platform::FileStatus here = platform::fileStatus(localPathOf(upload.transfer));
  if (!entry || entry->size != source.size || here.size != static_cast<std::uint64_t>(source.size)) return false;
  const bool isNew = !upload.step.target || CompareFileTime(&upload.step.target->time, &entry->time) != 0;
  return isNew || isBeginOfFileHere(session, {}, upload.transfer, entry->size);
}

/// The transfer object keeps the times apart where it knows of a failure. Where the file here has the server's time all
/// the same, it gets its own back.
void restoreTime(const Upload& upload, const std::optional<RemoteFileEntry>& entry) {
  const std::wstring path = localPathOf(upload.transfer);
  const FILETIME here = platform::fileStatus(path).writeTime;
  if (entry && CompareFileTime(&here, &entry->time) == 0) setTimeHere(path, upload.step.source.time);
}

std::optional<RemoteFileEntry> entryBefore(const Upload& upload) {
  if (!upload.step.target) return std::nullopt;
  const TreeFile& target = *upload.step.target;
  return RemoteFileEntry{target.name, target.time, target.size};
}

/// @return false when the connection is gone
bool sendAgain(const ServerSession& session, Upload& upload) {
  Transfer& transfer = upload.transfer;
  SetLastError(ERROR_SUCCESS);
  session.transfer().uploadFile(transfer.file.name.c_str(), nullptr, &kLocalSide, false);
  const DWORD code = GetLastError();
  const std::optional<RemoteFileEntry> entry = entryOf(session, transfer);
  transfer.isDone = isThere(session, upload, entry);
  if (transfer.isDone) return true;
  restoreTime(upload, entry);
  const bool isLost = isConnectionLost(code);
  if (!isLost) clearPart(session, {}, transfer, entryBefore(upload), false);
  const bool isChanged =
      platform::fileStatus(localPathOf(transfer)).size != static_cast<std::uint64_t>(upload.step.source.size);
  transfer.problem = isChanged ? L"it changed while it was sent; try again" : serverErrorText(code);
  if (!isChanged && code == ERROR_SUCCESS) transfer.problem = L"the server does not have it whole";
  return !isLost;
}

std::map<std::wstring, RemoteFileEntry> entriesOf(const ServerSession& session, const std::vector<Upload*>& group) {
  std::map<std::wstring, RemoteFileEntry> entries;
  if (group.size() <= kFewFiles) {
    for (const Upload* const upload : group) {
      if (auto entry = entryOf(session, upload->transfer))
        entries.emplace(upload->transfer.file.name, std::move(*entry));
    }
    return entries;
  }
  std::vector<RemoteFileEntry> found;
  findServerFiles(session, {joinServerPath(group.front()->transfer.serverDirectory, L"*")}, found);
  for (RemoteFileEntry& entry : found) entries.insert_or_assign(entry.name, std::move(entry));
  return entries;
}

/// @return false when the connection is gone
bool sendGroup(ServerSession& session, std::vector<Upload*>& group, ServerProgress& progress) {
  const Transfer& first = group.front()->transfer;
  session.aim(first.serverDirectory, first.localDirectory);
  std::erase_if(group, [&](Upload* upload) { return !mayResume(session, *upload); });
  if (group.empty()) return true;
  std::vector<InetFileInfo> list;
  list.reserve(group.size());
  for (const Upload* const upload : group) list.push_back({upload->transfer.file.name, 0, upload->step.source.size});
  IProgress* steps = &progress;
  Threading::uploadList(session.transfer(), list, L"", kLocalSide, false, &steps);
  const auto entries = entriesOf(session, group);
  bool isLost = false;
  for (Upload* const upload : group) {
    const auto found = entries.find(upload->transfer.file.name);
    const std::optional<RemoteFileEntry> entry = found != entries.end() ? std::optional(found->second) : std::nullopt;
    upload->transfer.isDone = isThere(session, *upload, entry);
    if (upload->transfer.isDone) continue;
    if (isLost) {
      restoreTime(*upload, entry);
      upload->transfer.problem = kLost;
    } else {
      isLost = !sendAgain(session, *upload);
    }
  }
  progress.endList(group.size());
  return !isLost;
}

}  // namespace

void sendInStep(ServerSession& session, std::vector<Upload>& uploads) {
  session.chooseConnections();
  ServerProgress progress(L"sending", uploads.size());
  std::map<std::wstring, std::vector<Upload*>> groups;
  for (Upload& upload : uploads) groups[upload.transfer.serverDirectory].push_back(&upload);
  bool isLost = false;
  for (auto& group : groups) {
    if (isLost) {
      for (Upload* const upload : group.second) upload->transfer.problem = kLost;
    } else {
      isLost = !sendGroup(session, group.second, progress);
    }
  }
}

}  // namespace workstation::program
