// What the server told of project files when this workstation last had them in step, kept beside the project's
// directory (UUID.files, so that it travels with nothing). Losing it costs transfers and no file: one that is damaged,
// of another directory or of another format counts as empty.
//
// Written whole or not at all. Of two processes that write at once the later one's stands; what the other had noted is
// fetched once more, since an entry never tells more than was true of the files here.
#pragma once

#include <functional>
#include <map>
#include <string>

#include "zephor/CloudFiles.h"

namespace Quorvel::FileAccess {

class ProjectFilesCache {
 public:
  /// @param directory  of the project, without a backslash at its end
  static ProjectFilesCache read(const std::wstring& directory);
  /// Reads it, edits it and writes it when that changed something. One thread at a time in this process, the others
  /// wait. A failure is told to the log.
  static void edit(const std::wstring& directory, const std::function<void(ProjectFilesCache&)>& change);

  // Files by keyOfProjectFile().

  /// Whether the server's record is the one that was in step.
  bool has(const std::wstring& key, const CResourceInfo& record) const;
  void put(const std::wstring& key, const CResourceInfo& record);
  void forget(const std::wstring& key);

 private:
  explicit ProjectFilesCache(const std::wstring& directory);
  bool parse(const std::string& content);
  std::string content() const;

  std::wstring path_;
  std::string head_;                           // first line: format, directory and when that was made
  std::map<std::string, std::string> stamps_;  // by key, both UTF-8
};

/// Name relative to the project, as the server's records and the paths here both give it: in lower case, with
/// backslashes.
std::wstring keyOfProjectFile(const std::wstring& relativeName);

}  // namespace Quorvel::FileAccess
