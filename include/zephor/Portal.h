// Small services around the cloud: the user's filter of teams, links that open the web portal, models of a project.
#pragma once

#include <map>
#include <string>

#include "platform/WindowsTypes.h"
#include "zephor/Export.h"

class PRJ;

namespace Quorvel::FileAccess {

/// The teams that the user has filtered, by UUID, with their names: "teamsFilter.json" in host path 8.
/// @param teams  emptied first. @return false when there is no file, or none that can be read to its end
ZEPHOR_API bool WGO_ReadOndrathTeamFilter(std::map<std::wstring, std::wstring>& teams);
/// Replaces the file whole or not at all. @return false when it could not be written
ZEPHOR_API bool WGO_WriteOndrathTeamFilter(const std::map<std::wstring, std::wstring>& teams);

// Open the web portal in the desktop's browser, with the session of the user who is logged in. Nobody is asked to log
// in. A browser that does not start is told to the user. The link carries the session: it is written nowhere.

/// @return false when nobody is logged in, and when the browser did not start
ZEPHOR_API bool browseOndrathPortal(HWND parent);
/// @param viewer  in the viewer instead of on the dashboard. @return as above; false for a project not in the cloud
ZEPHOR_API bool browseOndrathProject(HWND parent, const PRJ& prj, bool viewer);

/// Makes a model of a cloud project. @return false when the service refused, and for a project not in the cloud
ZEPHOR_API bool WGO_CreateOndrathModel(const PRJ& prj, int number, const std::wstring& text);

}  // namespace Quorvel::FileAccess
