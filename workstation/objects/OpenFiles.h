// The object files that are open in the core of this process: one entry per file, by handle, path and platform handle.
//
// A file that is open here is only written through its entry's platform handle, with the entry's mutex held; it may be
// read at the same time through other handles. Any thread.
#pragma once

#include <atomic>
#include <memory>
#include <mutex>
#include <string>

#include "host/FileTypes.h"
#include "platform/WindowsTypes.h"
#include "workstation/Export.h"

namespace workstation {

/// One open file. `mutex` guards the content; whoever holds it may call back into this table.
struct OpenFile {
  int handle = 0;
  std::wstring path;                  ///< as it was opened
  std::wstring key;                   ///< canonical and in lower case
  std::atomic<HANDLE> file{nullptr};  ///< INVALID_HANDLE_VALUE once it is closed
  QuorvelFileType type = eFileType_Unknown;
  int number = -1;
  std::atomic<bool> modified{false};  ///< holds changes that have not been uploaded
  std::atomic<bool> compressed{false};
  std::recursive_mutex mutex;
};

/// Opens an object file in the core for reading and writing. Nobody can then write, replace or remove it by its name.
/// @return a handle above 0, or 0 with a text; a file that is open already is refused
WORKSTATION_API int openInCore(const std::wstring& path, std::wstring& error);
WORKSTATION_API void closeInCore(int handle);
WORKSTATION_API void closeAllInCore();
/// Notes whether the file holds changes that have not been uploaded. @return false for an unknown handle
WORKSTATION_API bool markModified(int handle, bool modified = true);

WORKSTATION_API std::shared_ptr<OpenFile> findOpenFile(int handle);
WORKSTATION_API std::shared_ptr<OpenFile> findOpenFile(const std::wstring& path);
WORKSTATION_API std::shared_ptr<OpenFile> findOpenFile(HANDLE file);

/// Writes the content of `source` through an open file's handle. The old content is kept beside the file until the new
/// one is complete, and stands again after a failure.
/// @return 0, or an error code with a text; `source` is removed on success
WORKSTATION_API DWORD replaceOpenContent(OpenFile& open, const std::wstring& source, std::wstring& error);

/// Brings back the content that a crash in the middle of replaceOpenContent left beside an object file. Nothing happens
/// to a file that is open.
WORKSTATION_API void recoverInterruptedReplace(const std::wstring& path);

/// Holds the entry's mutex of a file that is open in the core while it lives; does nothing for another file.
class WORKSTATION_API QuiescedFile {
 public:
  explicit QuiescedFile(const std::wstring& path);

 private:
  std::shared_ptr<OpenFile> open_;
  std::unique_lock<std::recursive_mutex> lock_;
};

}  // namespace workstation
