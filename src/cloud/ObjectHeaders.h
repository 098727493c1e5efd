// What goes to the store with a Teilbild or Plan besides its name: the header, and the handle when the host has it
// open.
#pragma once

#include <cstdint>
#include <string>
#include <variant>

#include "host/Records.h"

class PRJ;

namespace Quorvel::FileAccess {

/// A Teilbild's or Plan's header, or none for a file of another type.
using ObjectHeader = std::variant<std::monostate, TeilbildHeader, PlanHeader>;

/// Where the headers of a directory's objects come from.
struct HeaderSource {
  int unit = 0;            ///< of the open project's database; 0: from the file
  std::wstring directory;  ///< of the files, with its separator
  int pathNumber = 1;      ///< host path that names the directory while a file is read
};

/// Clears the record, then reads it. @return false when there is none
bool readHeader(const HeaderSource& source, int number, TeilbildHeader& header);
bool readHeader(const HeaderSource& source, int number, PlanHeader& header);

/// Unit of the database that is open in the core when it is that of the project; otherwise 0, so that no object goes
/// with the header of another project's object of the same number.
int databaseUnitOf(const std::wstring& projectUuid);

/// Reads the header of an object file: from the project's database when it is the active project and open in the core,
/// otherwise from the file.
/// @param type    file type of the object
/// @param path    full path of the file
/// @param header  receives the header; none for a type that has no header
/// @return false when an object's header can't be read
bool loadObjectHeader(const PRJ& prj, int type, int number, const std::wstring& path, ObjectHeader& header);

/// Address and size of the record inside, null and 0 when there is none. Valid as long as `header` stays where it is.
const void* headerRecord(const ObjectHeader& header);
std::uint32_t headerRecordSize(const ObjectHeader& header);

/// The platform's handle of a file that the host holds open, through which it is sent; -1 when it is not open.
std::intptr_t openHandleOf(const std::wstring& path);

}  // namespace Quorvel::FileAccess
