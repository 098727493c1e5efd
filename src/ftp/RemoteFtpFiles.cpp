// The primitives that change directories and names.
#include "ftp/RemoteFailure.h"
#include "ftp/RemoteThreadData.h"
#include "ftp/ServerPaths.h"

namespace Quorvel::FileAccess {
namespace {

/// The server's reply for a file or directory that is not there, or not for this user.
constexpr int kNotAvailable = 550;

RemoteStatus badArgument() {
  SetLastError(ERROR_INVALID_PARAMETER);
  return {.failed = true, .error = ERROR_INVALID_PARAMETER};
}

RemoteStatus pathNotFound() {
  SetLastError(ERROR_PATH_NOT_FOUND);
  return {.failed = true, .error = ERROR_PATH_NOT_FOUND};
}

std::size_t lastSeparator(const std::wstring& path) {
  return path.find_last_of(L"/\\");
}

std::wstring withoutSeparatorAtEnd(std::wstring path) {
  while (path.size() > 1 && (path.back() == L'/' || path.back() == L'\\')) path.pop_back();
  return path;
}

/// The directory that holds a path; the root for one directly below it.
std::wstring parentOf(const std::wstring& path) {
  const std::size_t separator = lastSeparator(path);
  if (separator == std::wstring::npos) return {};
  return path.substr(0, separator == 0 ? 1 : separator);
}

std::wstring nameOf(const std::wstring& path) {
  return path.substr(lastSeparator(path) + 1);
}

}  // namespace

RemoteStatus RemoteFtp::changeDirectory(RemoteRetryContext& context, const std::wstring& directory) {
  return goTo(context, directory, failure::kChangeDirectory);
}

RemoteStatus RemoteFtp::goTo(RemoteRetryContext& context, const std::wstring& directory, const RemoteFailure& failure) {
  ThreadData* data = find();
  // An empty path would leave the work in whatever directory was current.
  if (data == nullptr || data->client == nullptr || directory.empty()) return badArgument();
  data->directory = directory;
  notifyDirectory(directory);
  if (data->client->ChangeRemoteDir(directory.c_str())) return {};
  if (data->client->lastReplyCode() == kNotAvailable) return pathNotFound();
  return failed(context, failure, hostName + directory);
}

RemoteStatus RemoteFtp::remoteFileExists(RemoteRetryContext& context, const std::wstring& name, bool& found) {
  found = false;
  IRemoteClient* used = client();
  if (used == nullptr) return badArgument();
  found = used->GetSizeByName64(name.c_str()) >= 0;
  if (found || used->lastReplyCode() == kNotAvailable || used->get_IsConnected()) return {};
  return failed(context, failure::kGetFileData, placeOf(name));
}

RemoteStatus RemoteFtp::deleteFile(RemoteRetryContext& context, const std::wstring& name) {
  IRemoteClient* used = client();
  if (used == nullptr) return badArgument();
  const bool hasSize = used->GetSizeByName64(name.c_str()) >= 0;
  if (!hasSize && used->lastReplyCode() == kNotAvailable) return {};
  // Other ways to have no size are no proof that the file is gone: a server without SIZE, or that is busy.
  if (used->DeleteRemoteFile(name.c_str())) return {};
  if (!hasSize && used->lastReplyCode() == kNotAvailable) {
    const std::wstring details = used->lastErrorText();
    used->ClearDirCache();
    used->put_ListPattern(name.c_str());
    if (used->get_NumFilesAndDirs() == 0) return {};
    if (context.logErrors) logLines(details);
  }
  return failed(context, failure::kDeleteFile, placeOf(name));
}

RemoteStatus RemoteFtp::createDirectory(RemoteRetryContext& context, const std::wstring& path) {
  const std::wstring bare = withoutSeparatorAtEnd(path);
  const std::wstring name = nameOf(bare);
  if (name.empty()) return badArgument();
  if (const std::wstring parent = parentOf(bare); !parent.empty()) {
    const RemoteStatus status = goTo(context, parent, failure::kCreateDirectory);
    if (!status.isSuccess()) return status;
  }
  IRemoteClient* used = client();
  if (used == nullptr) return badArgument();
  if (used->CreateRemoteDir(name.c_str())) return {};
  if (used->get_IsConnected()) {
    // Somebody else, or another thread, may have made it at the same moment.
    const std::wstring details = used->lastErrorText();
    if (used->ChangeRemoteDir(bare.c_str())) return {};
    if (context.logErrors) logLines(details);
  }
  return failed(context, failure::kCreateDirectory, hostName + bare);
}

RemoteStatus RemoteFtp::renameFile(RemoteRetryContext& context, const std::wstring& oldName,
                                   const std::wstring& newName) {
  ThreadData* data = find();
  if (data == nullptr || data->client == nullptr) return badArgument();
  IRemoteClient& used = *data->client;
  const ThreadData::Rename rename{data->directory, oldName, newName};
  if (rename == data->unansweredRename) {
    const bool oldIsGone = used.GetSizeByName64(oldName.c_str()) < 0 && used.lastReplyCode() == kNotAvailable;
    data->unansweredRename = {};
    if (oldIsGone && used.GetSizeByName64(newName.c_str()) >= 0) return {};
  }
  if (used.RenameRemoteFile(oldName.c_str(), newName.c_str())) {
    data->unansweredRename = {};
    return {};
  }
  if (!used.get_IsConnected()) data->unansweredRename = rename;
  return failed(context, failure::kRenameFile, placeOf(oldName) + L" to " + newName);
}

RemoteStatus RemoteFtp::deleteDirectory(RemoteRetryContext& context, const std::wstring& path) {
  const std::wstring bare = withoutSeparatorAtEnd(path);
  const std::wstring parent = parentOf(bare);
  // Never a root, never what is merely current.
  if (nameOf(bare).empty() || parent.empty() || hasDotComponent(bare)) return badArgument();
  RemoteStatus status = goTo(context, bare, failure::kDeleteDirectory);
  if (!status.isSuccess()) return status;
  if (!client()->DeleteTree()) return failed(context, failure::kDeleteDirectory, hostName + bare);
  status = goTo(context, parent, failure::kDeleteDirectory);
  if (!status.isSuccess()) return status;
  if (client()->RemoveRemoteDir(bare.c_str())) return {};
  return failed(context, failure::kDeleteDirectory, hostName + bare);
}

}  // namespace Quorvel::FileAccess
