// File names of numbered project objects, and the two numberings of object types.
//
//   Teilbild   file type 0   object type 0   tb000001.zdw
//   Zeichnung  file type 28  object type 1   ze000001.000
//   Plan       file type 33  object type 2   pb000001.zpl
#pragma once

#include <optional>
#include <string>

#include "host/FileTypes.h"
#include "zephor/FileTransfer.h"

namespace Quorvel::FileAccess {

/// File name of an object; empty for a type that is none.
std::wstring objectFileName(ObjectType type, int number);

/// Search pattern of all objects of a type, "tb??????.zdw"; empty for a type that is none.
std::wstring objectFilePattern(ObjectType type);

/// Empty for every file type but the three of the table.
std::optional<ObjectType> objectTypeOf(int fileType);

}  // namespace Quorvel::FileAccess
