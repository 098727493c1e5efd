// Pointing the transfer object somewhere without asking the server.
#pragma once

#include <string>

namespace Quorvel::FileAccess {

/// Gives the transfer object back a host and project directory that it had before; nothing is tested and nobody logs
/// in.
void aimTransferAt(const std::wstring& host, const std::wstring& projectDirectory);

}  // namespace Quorvel::FileAccess
