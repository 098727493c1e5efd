// Questions before something goes that nobody brings back easily.
#pragma once

#include <string>

namespace workstation::program {

/// As a box the focus is on No: what is typed for another window while it comes up must not agree.
/// @return true when the person agrees
bool agrees(const std::wstring& question);

}  // namespace workstation::program
