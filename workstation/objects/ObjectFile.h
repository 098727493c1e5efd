// Object files on the disk: wrapping any file into a Teilbild, Plan or Zeichnung, saving a new version, getting it
// back.
//
// Every operation answers 0 or an error code (2 not found, 5 access, 13 damaged or foreign, 80 exists, 87 argument) and
// then a text that names the file, the place and what was expected. What is written appears whole or not at all; a file
// that is open in the core is written through its handle. Any thread.
#pragma once

#include <cstdint>
#include <string>

#include "workstation/Export.h"
#include "workstation/objects/FolderListing.h"
#include "workstation/objects/ObjectRecord.h"

namespace workstation {

/// Who saves.
struct ObjectAuthor {
  int userNumber = 0;
  std::wstring userName;
};

/// What an object file tells about itself.
struct ObjectFileInfo {
  QuorvelFileType type = eFileType_Unknown;
  bool compressed = false;  ///< of a compressed Teilbild only the record was looked at
  ObjectRecord record;
  std::wstring contentName;  ///< name of the wrapped file, cut in a compressed one; empty when nothing is wrapped
  std::uint64_t fileSize = 0;
  std::uint64_t expandedSize = 0;  ///< of the uncompressed file, as a compressed one tells it; otherwise fileSize
};

/// Makes the file of a new object with version 1 and a new GUID; one that exists stays and is an error.
/// @param name     shown to the user, at most 127 UTF-16 units; empty: the content's file name
/// @param content  file to wrap; empty: none yet
/// @param path     of the new file, on success
WORKSTATION_API DWORD createObject(const std::wstring& directory, QuorvelFileType type, int number,
                                   const std::wstring& name, const std::wstring& content, const ObjectAuthor& author,
                                   std::wstring& path, std::wstring& error);

/// Saves: wraps another content, raises the version counter, keeps GUID, name and creation. A compressed Teilbild
/// becomes an uncompressed one. An object that is open in the core then counts as changed and not uploaded.
WORKSTATION_API DWORD replaceContent(const std::wstring& path, const std::wstring& content, const ObjectAuthor& author,
                                     std::wstring& error);

/// Saves without another content; here too a compressed Teilbild becomes an uncompressed one.
/// @param above  counter that the new version follows; null: the file's own
WORKSTATION_API DWORD touchVersion(const std::wstring& path, const ObjectAuthor& author, std::wstring& error,
                                   const std::uint32_t* above = nullptr);

/// Writes the wrapped content to `target`, byte for byte, checked against its CRC-32 on the way; an existing target is
/// replaced and hands its permissions on. The content of a compressed Teilbild comes out of its archive.
WORKSTATION_API DWORD exportContent(const std::wstring& path, const std::wstring& target, std::wstring& error);

/// Reads and checks everything but the content. A file whose name tells kind and number has to be of that kind; its
/// record then carries that number.
WORKSTATION_API DWORD readObjectHeader(const std::wstring& path, ObjectFileInfo& out, std::wstring& error);

/// Reads everything and checks the content too. A compressed Teilbild's record has to be that of the file packed in it.
WORKSTATION_API DWORD verifyObject(const std::wstring& path, std::wstring& error);

}  // namespace workstation
