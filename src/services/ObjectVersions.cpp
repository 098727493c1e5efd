#include "services/ObjectVersions.h"

#include "cloud/CloudCall.h"
#include "cloud/CloudPaths.h"
#include "cloud/Ondrath_Services.h"
#include "host/FileTypes.h"
#include "host/Files.h"
#include "host/Guid.h"
#include "host/Headers.h"
#include "host/Locking.h"
#include "host/ObjectFiles.h"
#include "host/Project.h"
#include "host/System.h"
#include "host/Trace.h"
#include "services/ServedProject.h"
#include "zephor/Archives.h"
#include "zephor/HeaderServices.h"

namespace Quorvel::FileAccess {
namespace {

constexpr int kProjectPathNumber = 1;
constexpr int kReadOnly = 2;

/// While it lives, this thread's file layer opens files with lock kind 1.
class ScopedHeaderLockKind {
 public:
  ScopedHeaderLockKind() : before_(get_Lcfile_LockKind()) { set_Lcfile_LockKind(1); }
  ~ScopedHeaderLockKind() { set_Lcfile_LockKind(before_); }
  ScopedHeaderLockKind(const ScopedHeaderLockKind&) = delete;
  ScopedHeaderLockKind& operator=(const ScopedHeaderLockKind&) = delete;

 private:
  int before_;
};

void closeObject(int handle) {
  const IZepFileLockingManager::ScopedIgnoreLock ignore(true);
  tbvtbc(handle);
}

bool openTeilbild(const std::wstring& path, int& handle) {
  const ScopedHeaderLockKind lockKind;
  return Sing_lfztboC(eFileType_Teilbild, kReadOnly, path, 0, handle) == 0;
}

/// Reads the header of a file that is not open in the core.
bool readHeader(const std::wstring& path, unsigned number, TeilbildHeader& header) {
  const int type = eFileType_Teilbild;
  const int objectNumber = static_cast<int>(number);
  if (WGO_isZipFile(kProjectPathNumber, type, objectNumber)) {
    return WGO_getTBHeaderFromZipFile(kProjectPathNumber, type, objectNumber, &header);
  }
  int handle = 0;
  if (!openTeilbild(path, handle)) return false;
  const bool read = liesTbHeader(handle, header);
  closeObject(handle);
  return read;
}

bool readHeader(const std::wstring& path, unsigned /*number*/, PlanHeader& header) {
  int handle = 0;
  if (Sing_lfztboC(eFileType_Plan, kReadOnly, path, 0, handle) != 0) return false;
  const bool read = liesPlHeader(handle, header);
  closeObject(handle);
  return read;
}

bool askHost(unsigned number, bool fromFile, TeilbildHeader& header) {
  return WGO_getTBHeader(number, &header, fromFile, kProjectPathNumber);
}

bool askHost(unsigned number, bool fromFile, PlanHeader& header) {
  return WGO_getPLHeader(number, &header, fromFile, kProjectPathNumber);
}

/// The local state of an object: a file that is open in the core is never opened a second time.
template <typename Header>
bool localHeader(unsigned number, int fileType, Header& header) {
  std::wstring path;
  const std::wstring name = transferObjectFileName(static_cast<int>(number), fileType);
  if (lffnamC(kProjectPathNumber, name, path) != 0 || CDirectoryUtility::GetFileSize(path) <= 0) return false;
  const PRJ active = get_ActivePrj();
  const bool online = active.IsOnlineProject() || active.IsOndrathProject();
  const bool openInCore = cfgethandle(path, 0) != -1;
  return online && !openInCore ? readHeader(path, number, header) : askHost(number, online, header);
}

template <typename Header>
std::optional<int> lastWriterOf(int number, int fileType) {
  Header header = clearedHeader<Header>();
  if (!localHeader(static_cast<unsigned>(number), fileType, header)) return std::nullopt;
  return header.lastUser;
}

void takeVersion(const TeilbildHeader& header, unsigned& counter, GUID& guid) {
  counter = header.versionCounter;
  guid = GetGUIDFromTwoDoubles(header.guidFirst, header.guidSecond);
}

enum class CacheAnswer { Found, NotOnServer, Unknown };

CacheAnswer askHeaderCache(unsigned number, TeilbildHeader& header) {
  constexpr const wchar_t* kFunction = L"Quorvel::FileAccess::WGO_getTBVersionCounter";
  int rows = -1;
  bool answered = false;
  guardedCall(kFunction, [&] {
    answered = getTBHeaderCache().getHeader(number, header, rows);
    return CloudStatus{0};
  });
  if (answered && rows == 1) return CacheAnswer::Found;
  if (answered && rows == 0) return CacheAnswer::NotOnServer;
  lfperrC(L"%s: Problem with header cache, nRows %d, ret = %d", kFunction, rows, answered ? 1 : 0);
  return CacheAnswer::Unknown;
}

bool serverHeader(unsigned number, TeilbildHeader& header) {
  if (!ZSYST_IsOndrathConnection()) return false;
  const CacheAnswer cached = askHeaderCache(number, header);
  if (cached != CacheAnswer::Unknown) return cached == CacheAnswer::Found;
  header = clearedHeader<TeilbildHeader>();
  return WGO_getTBHeaderFromOnlineServer(number, &header);
}

/// Counter 0 for a file that exists: a Zeichnung carries none.
std::uint32_t versionOfExistence(bool exists) {
  return exists ? 0 : kUnknownVersion;
}

void zeichnungVersions(int number, unsigned& local, unsigned& server) {
  std::wstring path;
  const std::wstring name = transferObjectFileName(number, eFileType_Zeichnung);
  const bool hasPath = lffnamC(kProjectPathNumber, name, path) == 0;
  local = versionOfExistence(hasPath && CDirectoryUtility::GetFileSize(path) >= 0);
  const PRJ active = get_ActivePrj();
  server = versionOfExistence(Ondrath_existsFile(active, Ondrath_ResolveProjectPath(active, {}, name)));
}

}  // namespace

bool WGO_getTBVersionCounter(unsigned number, unsigned& counter, GUID& guid, bool fromServer) {
  counter = kUnknownVersion;
  guid = GUID{};
  TeilbildHeader header = clearedHeader<TeilbildHeader>();
  const bool found = fromServer ? serverHeader(number, header) : localHeader(number, eFileType_Teilbild, header);
  if (found) takeVersion(header, counter, guid);
  return counter != kUnknownVersion;
}

bool GetPlanVersionCounter(unsigned number, unsigned& counter, GUID& guid, bool fromServer) {
  counter = kUnknownVersion;
  guid = GUID{};
  PlanHeader header = clearedHeader<PlanHeader>();
  const bool found =
      fromServer ? WGO_getPLHeaderFromOnlineServer(number, &header) : localHeader(number, eFileType_Plan, header);
  if (found) counter = header.versionCounter;
  return counter != kUnknownVersion;
}

UpdateVerdict objectVerdict(int number, int fileType) {
  unsigned local = kUnknownVersion;
  unsigned server = kUnknownVersion;
  GUID localGuid{};
  GUID serverGuid{};
  const auto unsignedNumber = static_cast<unsigned>(number);
  ObjectType type = eObject_Zeichnung;
  if (fileType == eFileType_Teilbild) {
    type = eObject_Teilbild;
    WGO_getTBVersionCounter(unsignedNumber, local, localGuid, false);
    WGO_getTBVersionCounter(unsignedNumber, server, serverGuid, true);
  } else if (fileType == eFileType_Plan) {
    type = eObject_Plan;
    GetPlanVersionCounter(unsignedNumber, local, localGuid, false);
    GetPlanVersionCounter(unsignedNumber, server, serverGuid, true);
  } else {
    zeichnungVersions(number, local, server);
  }
  const int pathNumber = ePrjPath;
  const CompareMode mode = eCompare_Ordered;
  return getInetFileManager().objectNeedsUpdate(&number, &type, &pathNumber, local, localGuid, server, serverGuid,
                                                &mode);
}

std::optional<int> lastLocalWriter(int number, int fileType) {
  if (fileType == eFileType_Teilbild) return lastWriterOf<TeilbildHeader>(number, fileType);
  if (fileType == eFileType_Plan) return lastWriterOf<PlanHeader>(number, fileType);
  return std::nullopt;
}

}  // namespace Quorvel::FileAccess
