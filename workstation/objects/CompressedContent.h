// The inside of a compressed Teilbild: fixed header, header record, the two leading sections in plain form, and an
// archive that holds the whole uncompressed file as its one entry. docs/compressed-files.md has the layout.
#pragma once

#include <string>

#include "workstation/objects/ObjectReader.h"

namespace workstation {

/// Reads header and record of an opened compressed file. What stands behind the record is not looked at: a header is
/// told also of a file whose archive is damaged.
DWORD readCompressedRecord(const std::wstring& path, OpenedObject& object, std::wstring& error);

/// Reads and checks the plain sections, which give the layout of the uncompressed file and the content's full name.
DWORD readCompressedSections(const std::wstring& path, OpenedObject& object, std::wstring& error);

/// As readContent, out of the archive: the uncompressed file in it has to begin with the plain sections, and its sizes
/// and checksums have to be those that they tell. Without a target the record is compared too. The archive lies in
/// memory, the uncompressed file never does.
DWORD readCompressedContent(const std::wstring& path, const OpenedObject& object, const BlockFile* target,
                            std::uint64_t position, std::wstring& error);

}  // namespace workstation
