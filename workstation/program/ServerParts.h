// What an upload that failed leaves on the server: the beginning of the file, newer than the file here.
//
// It must neither pass for the file nor come back over it. The part is removed where the server can be asked; where it
// can't, an empty file beside the one here, with the name of the copy that an upload keeps there, tells later syncs.
#pragma once

#include <optional>

#include "workstation/program/ServerTransfer.h"
#include "zephor/FileTransfer.h"

namespace workstation::program {

/// The server's file as it stands now.
std::optional<Quorvel::FileAccess::RemoteFileEntry> entryOf(const ServerSession& session, const Transfer& transfer);

/// True when the server's bytes are the first ones of the file here, or all of them.
/// @param below  the file's directory below what the session is aimed at
bool isBeginOfFileHere(const ServerSession& session, const std::wstring& below, const Transfer& transfer,
                       std::int64_t serverSize);

/// Removes what an upload that failed has left.
/// @param before  what the server had before it
/// @param isLost  the connection is gone
void clearPart(const ServerSession& session, const std::wstring& below, const Transfer& transfer,
               const std::optional<Quorvel::FileAccess::RemoteFileEntry>& before, bool isLost);

void markInterrupted(const Transfer& transfer);
/// Takes the mark away, or the copy that an upload left.
void unmarkInterrupted(const Transfer& transfer);

}  // namespace workstation::program
