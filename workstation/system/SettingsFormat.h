// The text of settings.json and its values. Pure: touches no file.
#pragma once

#include <string>

#include "workstation/system/SettingsValues.h"

namespace workstation {

/// Reads and checks a settings text.
/// @param file  name of the file for the error text
/// @return false with an error that names file, line and what was expected
bool parseSettings(const std::string& text, const std::wstring& file, SettingsValues& out, std::wstring& error);

/// The settings text with `values` in it. What `before` (a text that parseSettings takes, or empty) holds beside them
/// is kept; setup paths are the administrator's and are kept as they stand there, and so are servers that are the same
/// in both.
std::string renderSettings(const std::string& before, const SettingsValues& values);

}  // namespace workstation
