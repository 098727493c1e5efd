// Texts of the language in use, and their parameters.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "workstation/Export.h"

namespace workstation {

/// Text `id` of the language in use, with its `%1` still in it. A number whose text comes in parts gives part `part`;
/// for any other number `part` does not matter. @return "#id" when there is no such text
WORKSTATION_API std::wstring languageText(int id, int part = 0);

/// Puts the parameters in the places of `%1` to `%9`. A place without a parameter becomes empty, and what is then left
/// blank at the end of the text goes.
WORKSTATION_API std::wstring withParameters(std::wstring_view text, const std::vector<std::wstring>& parameters);

/// Takes a text of parameters apart, each ended by character 30 or 31; empty ones at the end do not count.
WORKSTATION_API std::vector<std::wstring> splitParameters(std::wstring_view parameters);

}  // namespace workstation
