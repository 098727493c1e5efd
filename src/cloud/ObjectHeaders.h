// The header that goes to the store with a Teilbild or Plan.
#pragma once

#include <cstdint>
#include <string>
#include <variant>

#include "host/Records.h"

class PRJ;

namespace Quorvel::FileAccess {

/// A Teilbild's or Plan's header, or none for a file of another type.
using ObjectHeader = std::variant<std::monostate, TeilbildHeader, PlanHeader>;

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

}  // namespace Quorvel::FileAccess
