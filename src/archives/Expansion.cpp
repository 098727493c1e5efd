// Expanding a compressed Teilbild in place: what is found out before the file is touched.
#include "archives/DisabledUnzipping.h"
#include "archives/InPlaceWorkers.h"
#include "archives/ObjectFileHandle.h"
#include "archives/TeilbildPath.h"
#include "host/FileTypes.h"
#include "host/ObjectFiles.h"
#include "platform/Files.h"
#include "platform/UserInterface.h"
#include "zephor/Archives.h"

namespace Quorvel::FileAccess {

unsigned long WGO_unzipProjectFile(const std::wstring& path) {
  QuorvelFileType type = eFileType_Unknown;
  int number = -1;
  if (!GetTypeFromFilePathName(path, type, number)) return ERROR_INVALID_DATA;
  if (type == eFileType_Teilbild && isUnzippingDisabled(type, number)) return ERROR_SUCCESS;
  if (!WGO_isZipFile(path.c_str(), nullptr)) return ERROR_INVALID_DATA;
  // Nobody ends it here: it stays until the host sets another cursor.
  platform::userInterface().setBusyCursor(true);

  const HANDLE handle = getOpenFileHandle_FromFileName(path);
  ExpansionJob job;
  job.path = path;
  job.number = number;
  job.fileSize = platform::fileStatus(path).size;
  job.record.number = number;
  return ObjectFileHandle::isReal(handle) ? lcfile_doLowlevelOnFile(handle, &my_WGO_unzipProjectFile, &job)
                                          : my_WGO_unzipProjectFile(nullptr, &job);
}

unsigned long WGO_unzipProjectFile(const int& pathNumber, const int& fileType, const int& number) {
  if (fileType != eFileType_Teilbild) return ERROR_SUCCESS;
  return WGO_unzipProjectFile(teilbildPath(pathNumber, fileType, number));
}

}  // namespace Quorvel::FileAccess
