#include "workstation/program/ServerLookup.h"

#include <algorithm>

#include "workstation/program/ServerSession.h"

namespace workstation::program {

using Quorvel::FileAccess::RemoteFileEntry;

ServerPath serverPathArgument(const std::string& argument) {
  ServerPath path;
  if (parseServerPath(wide(argument), path)) return path;
  throw CommandFailure{ExitCode::Usage, wide(argument) +
                                            L": expected a path below the server's base directory, separated by "
                                            L"/, without .. and backslash"};
}

unsigned long findServerFiles(const ServerSession& session, const ServerPath& path, std::vector<RemoteFileEntry>& out) {
  const std::wstring directory = session.serverPath(path.directory());
  const unsigned long result =
      session.transfer().getServerFileInfos(directory.c_str(), path.name().c_str(), out, nullptr);
  // A listing is the server's word; only a plain name can be one of its files.
  std::erase_if(out, [](const RemoteFileEntry& entry) {
    return entry.name.empty() || entry.name.find_first_of(L"/\\") != std::wstring::npos;
  });
  std::sort(out.begin(), out.end(), [](const RemoteFileEntry& a, const RemoteFileEntry& b) { return a.name < b.name; });
  return result;
}

bool isServerFile(const ServerSession& session, const ServerPath& path) {
  std::vector<RemoteFileEntry> found;
  if (path.text.empty() || findServerFiles(session, path, found) != 0) return false;
  return std::any_of(found.begin(), found.end(), [&](const auto& entry) { return entry.name == path.name(); });
}

bool isServerDirectory(const ServerSession& session, const ServerPath& path) {
  return session.transfer().existDirectory(session.serverPath(path.text).c_str());
}

}  // namespace workstation::program
