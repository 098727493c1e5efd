// The projects of a server of the older store.
#include <string>

#include "host/System.h"
#include "host/Trace.h"
#include "platform/Text.h"
#include "services/ServedProject.h"
#include "zephor/FileServices.h"
#include "zephor/FileTransfer.h"
#include "zephor/ProjectListing.h"
#include "zephor/Service.h"
#include "zephor/Workgroup.h"

namespace Quorvel::FileAccess {
namespace {

constexpr std::wstring_view kProjectEnding = L".prj";
constexpr const wchar_t* kSeparators = L"/\\";

/// What was listed last. On the host's main thread.
struct ListedProjects {
  std::wstring host;
  std::vector<std::wstring> names;
};

ListedProjects& listedProjects() {
  static ListedProjects projects;
  return projects;
}

/// Directory of an online server in which its projects lie.
std::wstring onlineRoot(const CServerProperties& properties) {
  const std::wstring& base = properties.baseDirectory;
  const std::size_t begin = base.find_first_not_of(kSeparators);
  return begin == std::wstring::npos ? L"/" : L"/" + base.substr(begin, base.find_last_not_of(kSeparators) + 1 - begin);
}

/// The transfer object in service of a server, which a change of the workgroup alone leaves without one. At the end the
/// object is set up for the server that it had before; the guard around this one then takes it there.
class ServedServer {
 public:
  ServedServer(const std::wstring& host, std::wstring hostBefore) : hostBefore_(std::move(hostBefore)) {
    if (setUp(host)) root_ = findRoot(host);
  }
  // Any name that is no online server's takes the connection's settings away; the cloud's always is one.
  ~ServedServer() { setUp(hostBefore_.empty() ? kOndrathHost : hostBefore_); }
  ServedServer(const ServedServer&) = delete;
  ServedServer& operator=(const ServedServer&) = delete;

  /// Where the projects lie; empty for a host that is none.
  const std::wstring& root() const { return root_; }

 private:
  static bool setUp(const std::wstring& host) {
    Initialize_forIZepInetFileTransfer record = Initialize_forIZepInetFileTransfer::DefaultValues();
    record.serverName = host.c_str();
    return getInetFileManager().initialize(record);
  }

  static void setPath(WGO_PathNr number, const std::wstring& path) {
    const int pathNumber = number;
    auto* const transfer = dynamic_cast<IZepInetFileTransferInternal*>(&getInetFileManager());
    if (transfer != nullptr) transfer->setPathFromNr(path.c_str(), &pathNumber);
  }

  static std::wstring findRoot(const std::wstring& host) {
    const CServerProperties properties(host);
    const bool isOnline = !properties.hostName.empty();
    std::wstring base = isOnline ? onlineRoot(properties) : globalHostsManager::instance().getHostPath(host);
    if (base.empty()) return {};
    setPath(eServerDataPath, base);
    const int projects = eServerPrjPath;
    std::wstring root = getInetFileManager().getPathFromNr(&projects);
    // A plain directory may hold its projects without a directory for them.
    if (isOnline || getInetFileManager().existDirectory(root.c_str())) return root;
    setPath(eServerPrjPath, base);
    return base;
  }

  const std::wstring hostBefore_;
  std::wstring root_;
};

/// Aims the service at a server for one listing. The thread's last error is then what the listing ended with.
/// @param list  is given the directory of the projects; answers 0, or the error
template <typename List>
void listOn(const std::wstring& host, List&& list) {
  DWORD code = ERROR_PATH_NOT_FOUND;
  {
    const ScopedAniCursor cursor(WGO_GetDisplayAniCursor());
    const std::wstring before = currentHost();
    const CScopedPrjSettings settings(host.c_str(), nullptr);
    const CTimeTrace timer(
        WGO_GetTrace(),
        platform::formatWide(L"WGO_getProjectDirectoriesFromServer::get project directories from %s", host), 1, false,
        true);
    const ServedServer server(host, before);
    if (!server.root().empty()) code = list(server.root());
  }
  if (code != ERROR_SUCCESS) {
    lfperrC(L"%s: the projects of %s could not be listed (error %u)\n",
            L"Quorvel::FileAccess::WGO_getProjectDirectoriesFromServer", host, code);
  }
  SetLastError(code);
}

/// Name of the project that a directory of a listing holds; empty when it holds none. What comes from a server becomes
/// part of paths here, so nothing but a name counts.
std::wstring projectOf(const std::wstring& directory) {
  if (directory.size() <= kProjectEnding.size() || !platform::endsWithIgnoreCase(directory, kProjectEnding)) return {};
  const std::wstring name = directory.substr(0, directory.size() - kProjectEnding.size());
  const std::size_t begin = name.find_first_not_of(kSeparators);
  if (begin == std::wstring::npos || name.find_first_of(kSeparators, begin) != std::wstring::npos) return {};
  return name.substr(begin);
}

DWORD listNames(const std::wstring& root, std::vector<std::wstring>& names) {
  std::vector<std::wstring> directories;
  SetLastError(ERROR_SUCCESS);
  if (!getInetFileManager().getServerDirectories(root.c_str(), 0, directories)) {
    return GetLastError() != ERROR_SUCCESS ? GetLastError() : ERROR_READ_FAULT;
  }
  for (const std::wstring& directory : directories) {
    std::wstring name = projectOf(directory);
    if (!name.empty()) names.push_back(std::move(name));
  }
  return ERROR_SUCCESS;
}

}  // namespace

std::size_t WGO_getProjectDirectoriesFromServer(const wchar_t* host, std::vector<WIN32_FIND_DATAW>& out) {
  out.clear();
  if (host == nullptr) return 0;
  listOn(host, [&](const std::wstring& /*root*/) { return getInetFileManager().getProjectDirectories(nullptr, out); });
  return out.size();
}

std::size_t WGO_getProjectDirectoriesFromServer(const wchar_t* host, std::vector<std::wstring>& names, bool forceRead) {
  ListedProjects& listed = listedProjects();
  if (host == nullptr) {
    names.clear();
    return 0;
  }
  if (!forceRead && listed.host == host && !listed.names.empty()) {
    names = listed.names;
    return names.size();
  }
  listed.names.clear();
  names.clear();
  listOn(host, [&](const std::wstring& root) { return listNames(root, listed.names); });
  names = listed.names;
  listed.host = host;
  return names.size();
}

void WGO_getProjectDirectoriesFromServerClearCache() {
  listedProjects().names.clear();
}

}  // namespace Quorvel::FileAccess
