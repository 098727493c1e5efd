// The Teilbilder and Plans that could not be uploaded: kept in memory, mirrored in "NotUploadedFiles.xml" of the open
// project.
//
// Every path is judged by its file name alone; files of other types are refused without a word. What the file holds
// from an earlier run is read before the list is changed, so that writing never forgets an entry; a file that is there
// and can't be read is not written over. From any thread. Nothing here reports an error to its caller.
#pragma once

#include <string>
#include <vector>

#include "zephor/Export.h"

ZEPHOR_API void addEntryToNotUploadedFilesList(const wchar_t* path);
/// From the list in memory only; the file follows at the next add or close.
ZEPHOR_API void removeEntryFromNotUploadedFilesList(const wchar_t* path);
ZEPHOR_API bool existsEntryInNotUploadedFilesList(const wchar_t* path);
/// Loads the list if need be. @return the number of names
ZEPHOR_API std::size_t getNotUploadedFilesList(std::vector<std::wstring>& names);
/// Writes the file, then empties the list.
ZEPHOR_API void closeNotUploadedFilesList();
/// Empties the list without writing.
ZEPHOR_API void resetNotUploadedFilesList();
ZEPHOR_API void deleteXMLFileOfNotUploadedFilesList(bool clearList);
/// Writes the list as "NotUploadedFiles.txt" into the temporary directory and opens it for the user.
/// @return false when the file could not be written or opened
ZEPHOR_API bool showNotUploadedFilesList();
