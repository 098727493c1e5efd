// The uploads that are on their way, one thread each.
#pragma once

#include <atomic>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <string>

#include "background/BackgroundFile.h"
#include "platform/WindowsTypes.h"

namespace Quorvel::FileAccess {

/// Owned together by the thread, the list and the name, whoever lets go last.
struct UploadContext {
  explicit UploadContext(BackgroundFile changed)
      : file(std::move(changed)), key(file.key()), eventName(L"Uploading: " + file.name) {}

  const BackgroundFile file;
  const std::wstring key;
  /// Names the thread. It is no key: files of several directories share it.
  const std::wstring eventName;
  DWORD threadId = 0;                          ///< set by the thread, under the list's lock
  std::uint32_t result = 0;                    ///< the thread's own
  std::atomic<std::uint32_t> working{0};       ///< 0 waiting, 1 working
  std::atomic<std::uint32_t> requestCount{1};  ///< notices seen while the thread waits
};

/// Any thread. The lock is never held during a transfer.
class UploadThreads {
 public:
  /// Counts a notice for the thread that waits with this file; without one, waits in the name of a new context, for
  /// which the caller starts a thread. Both are one step, so that no notice falls between.
  /// @return null when the notice was counted
  std::shared_ptr<UploadContext> countOrWait(const BackgroundFile& file);
  /// From here on a notice for this file is not counted any more.
  void freeName(const UploadContext& context);
  /// Takes the calling thread into the list.
  void enter(const std::shared_ptr<UploadContext>& context);
  /// Takes it out again. @return the list as it was before for the connection log, or that it is empty now
  std::wstring leave(const UploadContext& context);

 private:
  std::mutex lock_;
  std::map<std::wstring, std::shared_ptr<UploadContext>> waiting_;  ///< by key
  std::map<DWORD, std::shared_ptr<UploadContext>> list_;            ///< by thread
};

/// Begins the upload of a file, or counts one more notice for it.
void startUpload(const BackgroundFile& file);

}  // namespace Quorvel::FileAccess
