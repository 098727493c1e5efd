// A file of a server read in pieces, so that a large one needs little memory.
#pragma once

#include <cstdint>
#include <functional>
#include <string>

namespace workstation::program {

class ServerSession;

/// Reads bytes of a file in growing pieces of at most 8 MiB, each a transfer of its own.
/// @param directory  below what the session is aimed at
/// @param take       sees each piece; false ends the reading
/// @return what went wrong; empty when all was read, or `take` had enough
std::wstring readPieces(const ServerSession& session, const std::wstring& directory, const std::wstring& name,
                        std::int64_t offset, std::int64_t size, const std::function<bool(const std::string&)>& take);

}  // namespace workstation::program
