// Bringing the project database in line with the objects of the open project.
//
// A row set that does not take changes from a server, or that belongs to another project than the open one, is never
// touched: the answer is -1, as it is when its rows can't be read. A header that can't be read means that no file
// stands behind the number, which is no error. On the caller's thread.
#pragma once

#include <set>
#include <vector>

#include "host/ProjectDatabase.h"
#include "zephor/Export.h"
#include "zephor/FileTransfer.h"

namespace Quorvel::FileAccess {

/// Brings the rows of `numbers` in line with the headers of their files.
/// @param records  rows to work on in the place of a query, which are written back when rows were changed; may be null
/// @return what the row set answers to its changes: rows written, or -1; 0 for no numbers
ZEPHOR_API int WGO_UpdateTeilbildSetsDBFromServer(const std::set<int>& numbers, ZP_ProjectDBTeilbildSets& sets,
                                                  std::vector<ZP_PrjDBTeilbildRecordData>* records);
/// The same. Headers of a project on a server come from there.
/// @param limit  of the numbers, only headers of these are asked for; null for all
ZEPHOR_API int WGO_UpdatePlanSetsDBFromServer(const std::set<int>& numbers, ZP_ProjectDBPlanSets& sets,
                                              std::vector<ZP_PrjDBPlanRecordData>* records, const std::set<int>* limit);
/// The same. Headers always come from the files. @param limit  without effect
ZEPHOR_API int WGO_UpdateZeichnungSetsDBFromServer(const std::set<int>& numbers, ZP_ProjectDBZeichnungSets& sets,
                                                   std::vector<ZP_PrjDBZeichnungRecordData>* records,
                                                   const std::set<int>* limit);

/// Adds rows of Zeichnungen that are in the project's folder alone and removes those of which there is no file. Nothing
/// happens when the folder can't be listed.
ZEPHOR_API void WGO_SyncDBZeichnungsNumbersFromServer(ZP_ProjectDBZeichnungSets& sets);
/// Numbers of a kind in the project's folder. @return 0, the host's error, or -1 for a kind that is none
ZEPHOR_API int WGO_GetExistingObjectNumbersFromServer(ObjectType objectType, std::set<int>& numbers);

}  // namespace Quorvel::FileAccess
