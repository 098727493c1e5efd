// Where a Teilbild given by numbers lies.
#pragma once

#include <string>

namespace Quorvel::FileAccess {

/// Full path of a Teilbild below a host path; empty when the host can't tell it or the type is another.
std::wstring teilbildPath(int pathNumber, int fileType, int number);

}  // namespace Quorvel::FileAccess
