// What changed in a directory since a first look, and sending that to a cloud project.
#pragma once

#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

#include "platform/WindowsTypes.h"
#include "zephor/DirectoryWalk.h"
#include "zephor/Export.h"
#include "zephor/FileFilter.h"

class PRJ;

namespace Quorvel::FileAccess {

/// What happened to a file.
enum FileChangeState : std::int32_t { eFileChange_Deleted = -1, eFileChange_Created = 0, eFileChange_Changed = 1 };

/// One change. The entry of a side on which the file is missing is all zero.
struct ZEPHOR_API WGO_FileCompareInfo {
  /// The state follows from which of both entries has a name; two equal ones, also two empty, are a change.
  WGO_FileCompareInfo(std::wstring fullPath, const WIN32_FIND_DATAW& old, const WIN32_FIND_DATAW& current);

  /// Travels with the upload. A key that is there keeps its value.
  /// @return false, and nothing is done, when the key is empty
  bool AddMetadata(const std::wstring& key, const std::wstring& value);

  std::wstring fileName;  ///< full path
  std::int32_t state = eFileChange_Changed;
  WIN32_FIND_DATAW oldData;
  WIN32_FIND_DATAW newData;
  std::unordered_map<std::wstring, std::wstring> metadata;
};

/// Appends what differs: changed files, then deleted, then created ones, each group in the order of its paths. A file
/// counts as changed when its creation or write time differs; its size is not looked at.
/// @return the number of records in `changes` afterwards
ZEPHOR_API std::size_t WGO_getDirectoryChanges(DirectorySnapshot& first, DirectorySnapshot& second,
                                               std::vector<WGO_FileCompareInfo>& changes);

/// Remembers a directory and tells later what changed. One thread at a time. While uploads are blocked (see
/// WGO_blockUpload) nothing is looked at and nothing is sent, which is no failure.
class ZEPHOR_API WGO_DirectoryChanges {
 public:
  WGO_DirectoryChanges();
  ~WGO_DirectoryChanges();
  WGO_DirectoryChanges(WGO_DirectoryChanges&& other) noexcept;
  WGO_DirectoryChanges& operator=(WGO_DirectoryChanges&& other) noexcept;

  /// Forgets everything and takes the first look. @param filter  may be null; a copy is kept
  /// The last error tells why the look is not whole, as after WGO_getFilesFromDirectory; 0 when it is.
  /// @return as WGO_getFilesFromDirectory; 1 while uploads are blocked
  int init(const wchar_t* directory, const WGO_FileFilter* filter, bool withSubdirectories);
  void reset();
  /// Looks again and compares with the first look, which stays the base. What an earlier resume saw counts as still
  /// there: a file that went between two calls is not told as deleted. Files of a directory that could not be read are
  /// told as deleted although they may well be there, so whoever deletes on the strength of a look asks for the last
  /// error first: 0 when all was read, otherwise as after WGO_getFilesFromDirectory.
  const std::vector<WGO_FileCompareInfo>& resume(bool withSubdirectories);
  /// The list as it stands.
  const std::vector<WGO_FileCompareInfo>& resumeNoCompare();
  /// Puts one notice of a watcher into the list, in the place of an earlier one about the same path. The path lies in
  /// the open project; std::out_of_range when it is shorter than the project's directory.
  /// @param action  1 added, 2 removed, 3 modified, 4 renamed from, 5 renamed to
  void update(const std::wstring& fullPath, unsigned long action);
  /// Sends changes to a cloud project, in the order of the upload's groups. Only the last deletion's answer counts.
  /// @param deleteOnServer  deletes there what is deleted here
  /// @return true also when nothing is sent: no changes, uploads blocked, no project, one that is not in the cloud
  bool upload(const std::vector<WGO_FileCompareInfo>& changes, const PRJ* project, bool deleteOnServer);
  const DirectorySnapshot& getFilesMap() const;
  /// One trace line a change.
  void dump(const std::vector<WGO_FileCompareInfo>& changes) const;

 private:
  std::wstring directory_;
  DirectorySnapshot first_;
  DirectorySnapshot second_;
  std::unique_ptr<WGO_FileFilter> filter_;
  std::vector<WGO_FileCompareInfo> changes_;
};

}  // namespace Quorvel::FileAccess
