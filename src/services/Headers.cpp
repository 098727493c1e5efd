#include "host/Headers.h"
#include "cloud/Ondrath_Services.h"
#include "host/FileTypes.h"
#include "host/Project.h"
#include "host/ProjectDatabase.h"
#include "host/System.h"
#include "host/Trace.h"
#include "zephor/HeaderServices.h"

namespace Quorvel::FileAccess {
namespace {

/// Clears the caller's record, then fills it by `read`, which answers whether there is a header.
template <typename Header, typename Read>
bool deliver(Header* out, Read&& read) {
  if (out == nullptr) return false;
  *out = clearedHeader<Header>();
  Header header = clearedHeader<Header>();
  if (!read(header)) return false;
  *out = header;
  return true;
}

using TeilbildRowReader = int (ZP_ProjectDBTeilbildSets::*)(unsigned, TeilbildHeader&);

/// @param foundLine  takes the function, the number and the unit of the project
bool teilbildFromRows(unsigned number, TeilbildHeader* out, TeilbildRowReader read, const wchar_t* function,
                      const wchar_t* foundLine) {
  return deliver(out, [&](TeilbildHeader& header) {
    const int unit = kgunit();
    ZP_ProjectDBTeilbildSets rows(unit);
    if ((rows.*read)(number, header) <= 0) return false;
    lfperrC(foundLine, function, number, unit);
    return true;
  });
}

bool teilbildFromFile(unsigned number, TeilbildHeader* out, int pathNumber) {
  return deliver(out, [&](TeilbildHeader& header) {
    const bool read = ZP_Header_Teilbild::CheckOpenAndReadInfo(pathNumber, number, header, true) == 0;
    if (getFileAccessTrace() > 0) {
      lfperrC(L"%s: header from file err = %d\n", L"Quorvel::FileAccess::WGO_getTBHeader", read ? 0 : 1);
    }
    return read;
  });
}

}  // namespace

bool WGO_getTBHeader(unsigned number, TeilbildHeader* header, bool fromFile, int unit) {
  if (fromFile) return teilbildFromFile(number, header, unit);
  return teilbildFromRows(number, header, &ZP_ProjectDBTeilbildSets::getTeilbildRecord,
                          L"Quorvel::FileAccess::WGO_getTBHeader",
                          L"%s: get TBHeader for %d from DB with prjId = %d\n");
}

bool WGO_getTBHeaderFromCache(unsigned number, TeilbildHeader* header) {
  return teilbildFromRows(number, header, &ZP_ProjectDBTeilbildSets::getTeilbildRecordFromCache,
                          L"Quorvel::FileAccess::WGO_getTBHeaderFromCache",
                          L"%s: get TBHeader for %d from Cache with prjId = %d\n");
}

bool WGO_getTBHeaderFromDataBase(unsigned number, TeilbildHeader* header) {
  return teilbildFromRows(number, header, &ZP_ProjectDBTeilbildSets::getTeilbildRecordFromDataBase,
                          L"Quorvel::FileAccess::WGO_getTBHeaderFromDataBase",
                          L"%s: get TBHeader for %d from Data Base with prjId = %d\n");
}

bool WGO_getTBHeaderFromOnlineServer(unsigned number, TeilbildHeader* header) {
  return deliver(header, [&](TeilbildHeader& found) {
    return ZSYST_IsOndrathConnection() &&
           Ondrath_downloadHeader(get_ActivePrj(), static_cast<int>(number), eFileType_Teilbild, &found) &&
           found.number != 0;
  });
}

bool WGO_getPLHeader(unsigned number, PlanHeader* header, bool fromFile, int unit) {
  return deliver(header, [&](PlanHeader& found) {
    if (fromFile) return ZP_Header_Plan::CheckOpenAndReadInfo(unit, number, found, true) == 0;
    return ZP_ProjectDBPlanSets(kgunit()).getPlanRecord(number, found) > 0;
  });
}

bool WGO_getPLHeaderFromOnlineServer(unsigned number, PlanHeader* header) {
  return deliver(header, [&](PlanHeader& found) {
    return ZSYST_IsOndrathConnection() &&
           Ondrath_downloadHeader(get_ActivePrj(), static_cast<int>(number), eFileType_Plan, &found) &&
           (found.guidFirst != 0 || found.guidSecond != 0);
  });
}

bool WGO_getZEHeader(unsigned number, ZeichnungHeader* header, bool fromFile) {
  constexpr int kProjectPathNumber = 1;
  return deliver(header, [&](ZeichnungHeader& found) {
    if (fromFile) return ZP_Header_Zeichnung::CheckOpenAndReadInfo(kProjectPathNumber, number, found) == 0;
    return ZP_ProjectDBZeichnungSets(kgunit()).getZeichnungRecord(number, found) > 0;
  });
}

bool WGO_getZEHeaderFromOnlineServer(unsigned /*number*/, ZeichnungHeader* header) {
  return deliver(header, [](ZeichnungHeader& /*found*/) { return false; });
}

}  // namespace Quorvel::FileAccess
