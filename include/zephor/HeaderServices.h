// Headers of project objects, each service from one source: file, project database, cache, compressed file, server.
//
// A service clears its output before it looks: when it answers false the record is as clearedHeader() makes it, all
// zero but for the version counter of a Teilbild or Plan, which is kUnknownVersion. None shows anything to the user.
#pragma once

#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "host/Records.h"
#include "platform/WindowsTypes.h"
#include "zephor/Export.h"

class PRJ;

namespace Quorvel::FileAccess {

/// @param fromFile  true: the file below host path `unit`; false: the open project's database
ZEPHOR_API bool WGO_getTBHeader(unsigned number, TeilbildHeader* header, bool fromFile, int unit);
ZEPHOR_API bool WGO_getTBHeaderFromCache(unsigned number, TeilbildHeader* header);
ZEPHOR_API bool WGO_getTBHeaderFromDataBase(unsigned number, TeilbildHeader* header);
ZEPHOR_API bool WGO_getTBHeaderFromOnlineServer(unsigned number, TeilbildHeader* header);
ZEPHOR_API bool WGO_getPLHeader(unsigned number, PlanHeader* header, bool fromFile, int unit);
ZEPHOR_API bool WGO_getPLHeaderFromOnlineServer(unsigned number, PlanHeader* header);
ZEPHOR_API bool WGO_getZEHeader(unsigned number, ZeichnungHeader* header, bool fromFile);
/// Headers of many Plans, in parallel where lists are allowed to be (zephor/ThreadedTransfers.h). Those that could not
/// be read are left out.
ZEPHOR_API void WGO_GetPLHeadersFromOnlineServer(const std::set<int>& numbers, std::map<int, PlanHeader>& headers);
/// Always false: the server keeps no Zeichnung headers.
ZEPHOR_API bool WGO_getZEHeaderFromOnlineServer(unsigned number, ZeichnungHeader* header);

/// Version counter and file GUID of a Teilbild here or on the server; the counter is kUnknownVersion when the answer is
/// false.
ZEPHOR_API bool WGO_getTBVersionCounter(unsigned number, unsigned& counter, GUID& guid, bool fromServer);

ZEPHOR_API bool WGO_getTBHeaderInfoFromProject(PRJ& prj, std::vector<TeilbildHeader>& server,
                                               std::vector<TeilbildHeader>& local);
ZEPHOR_API bool WGO_getPLHeaderInfoFromProject(PRJ& prj, std::vector<PlanHeader>& server,
                                               std::vector<PlanHeader>& local);
/// Stored headers of a type, as records that the caller owns and frees with WGO_freeHeaders.
ZEPHOR_API bool WGO_DownloadAllHeaders(const PRJ& prj, int type, std::vector<void*>& out);
/// As above for single objects: one record for each different number, in ascending order.
ZEPHOR_API bool WGO_DownloadHeaders(std::vector<int>& numbers, int type, std::vector<void*>& out);
ZEPHOR_API void WGO_freeHeaders(int type, std::vector<void*>& headers);

}  // namespace Quorvel::FileAccess
