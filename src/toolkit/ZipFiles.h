// The files that go into an archive: a directory looked through. Internal to the toolkit.
#pragma once

#include <string>
#include <vector>

#include "toolkit/ZipEntries.h"

namespace Quorvel::FileAccess {

struct ZipSelection {
  std::wstring pattern = L"*";  ///< of file names
  bool recurses = true;
  std::vector<std::wstring> excludedNames;        ///< of files
  std::vector<std::wstring> excludedDirectories;  ///< by name, at any depth
  std::wstring archive;                           ///< library path of the archive itself, which never goes in
  std::vector<std::wstring>* links = nullptr;     ///< null, or receives the paths of links, which are left out
};

/// An entry that refers to a file.
///
/// @param name  in the archive
ZipEntry fileEntry(const std::wstring& path, const std::wstring& name, std::uint64_t size, const FILETIME& time);

/// Appends the files of a directory, and directories in which nothing was found. Links are left out.
///
/// @param prefix  of the names in the archive; empty or ended by a slash
/// @return the reason when a directory, or a name in it, can't be read
std::wstring collectFiles(const std::wstring& directory, const std::wstring& prefix, const ZipSelection& selection,
                          std::vector<ZipEntry>& out);

}  // namespace Quorvel::FileAccess
