// Archives of folders and of whole projects: packing, unpacking, and a look inside.
//
// A packed project is a zip archive whose name ends in ".qpn", with a "Project1.Dat.xml" of its own at its top. An
// archive of a shared project has the project's data under "Link4/Resource". All operations belong to the user's
// thread, with helpers of their own: they show a modal progress bar and talk through message boxes. A failure shows a
// box and answers false. A file goes into an archive as it was at one moment, or fails it by name when it does not
// rest; who has a database of the folder open in this process closes it before packing. Links stay out, which the log
// tells.
#pragma once

#include <string>
#include <vector>

#include "zephor/Export.h"

class PRJ;

namespace Quorvel::FileAccess {

/// Packs a folder. An archive that is there is replaced whole or not at all, without a question.
/// @param excludedDirectories  names of directories that stay out, at any depth
ZEPHOR_API bool WGO_zipFolder(const wchar_t* folder, const wchar_t* zipPath,
                              const std::vector<std::wstring>& excludedDirectories, bool recursive);
/// Packs a project. An archive that is there is asked about and replaced whole or not at all. The directory "Lck" stays
/// out and so does every "Project1.Dat.xml"; a packed project gets a new one, with a GUID of its own. Any other archive
/// has none.
/// @param flag, text  the caller's
ZEPHOR_API bool WGO_zipProjectFolder(const wchar_t* folder, const wchar_t* zipPath, bool flag, const wchar_t* text);
/// Unpacks a folder. A target that is not there appears whole or not at all; into one that is there nothing is written
/// before all content was checked.
ZEPHOR_API bool WGO_unzipFolder(const wchar_t* zipPath, const wchar_t* target);
/// As below.
/// @param target  null or empty: the root of the projects of this machine
ZEPHOR_API bool WGO_unzipProjectFolder(const wchar_t* zipPath, const wchar_t* target, std::wstring& projectName);
/// Unpacks a project into the directory `NAME.prj` below the target, which appears whole or not at all. A project that
/// is there is asked about and moved into the trash, or beside the new one with ".bak" behind its name.
/// @param projectName  receives the name on success
ZEPHOR_API bool WGO_unzipProjectFolderToPath(const std::wstring& zipPath, const std::wstring& target,
                                             std::wstring& projectName);
ZEPHOR_API bool WGO_isShareProjectZipFile(const wchar_t* zipPath);
/// Reads the project information out of an archive; shows nothing.
/// @param xml   receives its text
/// @param info  null, or receives the descriptor
ZEPHOR_API bool WGO_getProjectDatXmlFromZipFile(const wchar_t* zipPath, std::wstring& xml, PRJ* info);
/// Asks the user for the name of an archive and packs the files into it, by their bare names.
ZEPHOR_API void WGO_zipFiles(const std::vector<std::wstring>& files);

/// Whether WGO_zipProjectFolder replaces an archive without a question. One answer for the process.
ZEPHOR_API void zipProjectFolderIgnoreExisting(bool ignore);

/// While it lives, nobody is asked about an archive that is there. Guards do not nest: the first that ends clears it.
class ZEPHOR_API ScopedIgnoreExisting {
 public:
  ScopedIgnoreExisting();
  ~ScopedIgnoreExisting();
  ScopedIgnoreExisting(const ScopedIgnoreExisting&) = delete;
  ScopedIgnoreExisting& operator=(const ScopedIgnoreExisting&) = delete;
};

}  // namespace Quorvel::FileAccess
