// Pointing the transfer object somewhere without asking the server.
#pragma once

#include <string>

namespace Quorvel::FileAccess {

/// Gives the transfer object back a host and project directory that it had before; nothing is tested and nobody logs
/// in.
void aimTransferAt(const std::wstring& host, const std::wstring& projectDirectory);
/// Name under which a server that the transfer object stood at is set up anew. The object knows a server that it was
/// initialised with by its address alone, which several accounts may share.
std::wstring registeredName(const std::wstring& workgroupServer, const std::wstring& host);

}  // namespace Quorvel::FileAccess
