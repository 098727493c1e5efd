// settings.json on the disk: read when it has changed, changed under a lock that all processes of the workstation take.
#pragma once

#include <functional>
#include <memory>
#include <mutex>
#include <string>

#include "platform/Time.h"
#include "workstation/system/SettingsValues.h"

namespace workstation {

/// Any thread.
class SettingsFile {
 public:
  /// @param path  library path of settings.json
  explicit SettingsFile(std::wstring path);

  const std::wstring& path() const { return path_; }

  /// Reads the file now. @return false with an error that names file, line and what was expected
  bool load(std::wstring& error);

  /// The values as the file has them. While it can't be read, those that were read last; never null.
  std::shared_ptr<const SettingsValues> values();

  /// Reads the file, lets `edit` change the values, and replaces the file whole; all under the lock.
  /// A file that is missing or damaged is refused and stays as it is.
  bool change(const std::function<void(SettingsValues&)>& edit, std::wstring& error);

  /// Makes the file. An existing one is refused, or with `replace` keeps what `values` does not name; a damaged one is
  /// then kept beside it with ".old" behind its name.
  bool create(const SettingsValues& values, bool replace, std::wstring& error);

 private:
  bool readText(std::string& text, std::wstring& error);
  bool isCurrent();
  void remember(const SettingsValues& values);

  const std::wstring path_;
  std::mutex mutex_;
  std::shared_ptr<const SettingsValues> values_ = std::make_shared<SettingsValues>();
  FILETIME writeTime_{};
  std::uint64_t size_ = 0;
  bool isSettled_ = false;  ///< the file had been at rest when it was read, so an equal time means equal content
};

}  // namespace workstation
