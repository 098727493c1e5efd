// The folders of the workstation and how a server's name becomes the name of one.
#pragma once

#include <string>
#include <vector>

namespace workstation {

/// The host of projects that are on no server.
constexpr const wchar_t* kLocalHost = L"localhost";

/// The cloud, a configured server of the older store, or this machine.
bool isKnownHost(const std::wstring& host);

/// A directory name that is different for different servers, whatever characters their names hold.
std::wstring serverRootName(const std::wstring& host);

/// Name in the settings of the server that a host name or name means; empty when there is none.
std::wstring serverNameOf(const std::wstring& host);

/// Every folder that the workstation itself needs, as library paths.
std::vector<std::wstring> workstationFolders();

}  // namespace workstation
