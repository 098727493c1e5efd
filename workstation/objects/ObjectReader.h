// Reading an object file's sections with all their checks.
#pragma once

#include <array>
#include <functional>
#include <string>
#include <vector>

#include "workstation/objects/BlockFile.h"
#include "workstation/objects/ObjectFile.h"
#include "workstation/objects/ObjectLayout.h"

namespace workstation {

/// An object file that is being read.
struct OpenedObject {
  BlockFile file;
  std::uint64_t fileSize = 0;
  ObjectLayout layout;  ///< of the uncompressed file; of a compressed one told by openContent
  ObjectFileInfo info;
  std::array<std::uint8_t, 48> compressedHeader{};
  std::vector<std::uint8_t> sections;  ///< head and tables as a compressed file has them in plain form
};

/// Reads and checks the sections; of a compressed file the record alone.
/// @return 0, or an error code with a text that begins with the path
DWORD openObject(const std::wstring& path, OpenedObject& out, std::wstring& error);
/// As openObject, with all that readContent needs of a compressed file.
DWORD openContent(const std::wstring& path, OpenedObject& out, std::wstring& error);

/// Copies the content to `position` of `target` and checks it.
/// @param target  null: only checks
DWORD readContent(const std::wstring& path, const OpenedObject& object, const BlockFile* target, std::uint64_t position,
                  std::wstring& error);

/// Reads at most `size` bytes, none only at the end.
using BlockReader = std::function<DWORD(void* buffer, std::size_t size, std::size_t& got)>;
/// The same from a source that stands at the content's first byte.
DWORD takeContent(const std::wstring& path, const ObjectLayout& layout, const BlockReader& read,
                  const BlockFile* target, std::uint64_t position, std::wstring& error);

/// Sets `error` to "path: problem" and answers the code.
DWORD failure(DWORD code, const std::wstring& path, const std::wstring& problem, std::wstring& error);
/// The failure of a reading; a file that ends too early is damaged.
DWORD failRead(DWORD code, const std::wstring& path, const wchar_t* section, std::uint64_t position, std::uint64_t size,
               std::wstring& error);

/// Position of the record in a compressed Teilbild.
constexpr std::uint64_t kCompressedRecordPosition = 48;

}  // namespace workstation
