// Numbers of the objects that a cloud project has on the server and on this workstation.
#include <algorithm>

#include "cloud/Ondrath_Services.h"
#include "host/FileTypes.h"
#include "host/NetManager.h"
#include "host/Project.h"
#include "services/ProjectPlace.h"
#include "zephor/HeaderServices.h"
#include "zephor/ProjectListing.h"

namespace Quorvel::FileAccess {
namespace {

/// A file without a stored header has no number to tell: its record says 0.
template <typename Header>
void takeNumbers(const std::vector<void*>& records, std::vector<int>& out) {
  for (const void* record : records) {
    const int number = static_cast<const Header*>(record)->number;
    if (number > 0) out.push_back(number);
  }
}

bool numbersOnServer(const PRJ& prj, int type, std::vector<int>& out) {
  std::vector<void*> records;
  const bool isListed = Ondrath_downloadAllHeaders(prj, type, records);
  if (isListed && type == eFileType_Teilbild) takeNumbers<TeilbildHeader>(records, out);
  if (isListed && type == eFileType_Plan) takeNumbers<PlanHeader>(records, out);
  WGO_freeHeaders(type, records);
  return isListed;
}

void numbersOnDisk(const PRJ& prj, QuorvelFileType wanted, const wchar_t* extension, std::vector<int>& out) {
  const std::wstring directory = projectPlace(prj);
  if (directory.empty()) return;
  for (const std::wstring& name : NetManager::getFilesList(directory, extension)) {
    QuorvelFileType type = eFileType_Unknown;
    int number = -1;
    if (GetTypeFromFilePathName(name, type, number) && type == wanted) out.push_back(number);
  }
}

bool numbersOfProject(const PRJ& prj, QuorvelFileType type, const wchar_t* extension, std::vector<int>& onServer,
                      std::vector<int>& onDisk) {
  onServer.clear();
  onDisk.clear();
  if (!prj.IsOndrathProject()) return true;
  if (!numbersOnServer(prj, type, onServer)) return false;
  numbersOnDisk(prj, type, extension, onDisk);
  std::sort(onServer.begin(), onServer.end());
  std::sort(onDisk.begin(), onDisk.end());
  return true;
}

}  // namespace

bool WGO_getTBNrInfoFromProject(PRJ& prj, std::vector<int>& onServer, std::vector<int>& onDisk) {
  return numbersOfProject(prj, eFileType_Teilbild, L".zdw", onServer, onDisk);
}

bool WGO_getPLNrInfoFromProject(PRJ& prj, std::vector<int>& onServer, std::vector<int>& onDisk) {
  return numbersOfProject(prj, eFileType_Plan, L".zpl", onServer, onDisk);
}

}  // namespace Quorvel::FileAccess
