// Reading an object file's sections with all their checks.
#pragma once

#include <string>

#include "workstation/objects/BlockFile.h"
#include "workstation/objects/ObjectFile.h"
#include "workstation/objects/ObjectLayout.h"

namespace workstation {

/// An object file whose sections were read and checked; the content is still to be read.
struct OpenedObject {
  BlockFile file;
  std::uint64_t fileSize = 0;
  ObjectLayout layout;  ///< of an uncompressed file
  ObjectFileInfo info;
};

/// @return 0, or an error code with a text that begins with the path
DWORD openObject(const std::wstring& path, OpenedObject& out, std::wstring& error);

/// Copies the content of an uncompressed file to `position` of `target` and checks it.
/// @param target  null: only checks
DWORD readContent(const std::wstring& path, const OpenedObject& object, const BlockFile* target, std::uint64_t position,
                  std::wstring& error);

/// Sets `error` to "path: problem" and answers the code.
DWORD failure(DWORD code, const std::wstring& path, const std::wstring& problem, std::wstring& error);

/// Position and size of the record in a compressed Teilbild.
constexpr std::uint64_t kCompressedRecordPosition = 48;

}  // namespace workstation
