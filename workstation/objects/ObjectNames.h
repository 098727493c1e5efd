// Names and numbers of object files: making, parsing, and the three numberings of kinds that are in use.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "host/FileTypes.h"
#include "workstation/Export.h"

namespace workstation {

/// A Teilbild, Zeichnung or Plan by kind and number.
struct ObjectName {
  QuorvelFileType type = eFileType_Unknown;
  int number = -1;
};

/// True for the three kinds that object files have.
WORKSTATION_API bool isObjectType(int type);
/// Highest number of a kind: 9999 for Teilbilder, 999999 for the others; 0 for what is no object kind.
WORKSTATION_API int highestNumber(int type);
WORKSTATION_API bool isPossibleNumber(int type, int number);

/// File name of an object, such as "tb000012.zdw"; empty for an impossible kind or number.
WORKSTATION_API std::wstring objectFileName(int type, int number);
/// Kind and number of a file name without directory, letter case ignored.
WORKSTATION_API std::optional<ObjectName> parseObjectFileName(std::wstring_view fileName);

/// Kind of the transfer interface's object type (0, 1, 2); eFileType_Unknown for another, and back (-1 for another).
WORKSTATION_API QuorvelFileType fileTypeOfObjectType(int objectType);
WORKSTATION_API int objectTypeOfFileType(int type);
/// Kind of a load object (1 Teilbild, 2 Plan, 3 Zeichnung); eFileType_Unknown for another.
WORKSTATION_API QuorvelFileType fileTypeOfLoadObject(int loadObject);

}  // namespace workstation
