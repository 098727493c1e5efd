// Passwords of servers: from a file that only its user may read, the environment, the settings, or the person.
#pragma once

#include <string>

#include "workstation/Servers.h"

namespace workstation::program {

/// The first line of a password file. Throws CommandFailure for a file that others than its user may read, or that
/// holds no password.
std::wstring readPasswordFile(const std::string& path);
/// Asks at the terminal, without showing what is typed.
/// @return false when there is no terminal, or nothing was typed
bool promptForPassword(const std::wstring& server, std::wstring& password);
/// ZEPHOR_SERVER_PASSWORD; empty when it is not set. Throws CommandFailure when it can be no password.
std::wstring passwordOfEnvironment();

/// The password to log in with: of the file, if one is named, of the environment, of the settings, or of the person.
/// Throws CommandFailure when there is none, or when others may read the settings that hold it.
std::wstring passwordFor(const std::wstring& name, const ServerSettings& server, const std::string& passwordFile);

}  // namespace workstation::program
