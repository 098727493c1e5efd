// Sorting a batch by kind, and the test of who may send an object.
#include "cloud/UploadPipeline.h"
#include "core/ObjectNames.h"
#include "host/Events.h"
#include "host/FileTypes.h"
#include "host/Locking.h"
#include "host/Trace.h"
#include "host/UserMessages.h"
#include "platform/UserInterface.h"

namespace Quorvel::FileAccess::Threading {
namespace {

constexpr const wchar_t* kFunction = L"Quorvel::FileAccess::Threading::getTypeSortedFileMaps";
constexpr int kNotLockedTextId = 1502500;

bool isFreeToSend(QuorvelFileType type, int number) {
  if (getFileLockingAgent().isSuspended()) return true;
  const std::optional<ObjectType> objectType = objectTypeOf(type);
  return objectType && getFileLockingManager().IsLockedByCurrentUser(number, *objectType);
}

/// Shown in batch runs too, where the host forbids other boxes: the file stays behind, and nothing else tells of it.
void tellNotLocked(const std::wstring& path, QuorvelFileType type, int number) {
  lfperrC(type == eFileType_Teilbild ? L"%s: file is not locked by current user, no upload possible for TB %d\n"
                                     : L"%s: file is not locked by current user, no upload possible for Layout %d\n",
          kFunction, number);
  const std::wstring text = path + L'\n' + CQuoString().GetQuorvotParText(kNotLockedTextId, nullptr, 0, 256).text();
  MessageBoxW(nullptr, text.c_str(), L"Quorvel", MB_ICONHAND);
}

QuorvFileInfo infoOf(const WGO_FileCompareInfo& file, std::size_t baseLength, bool transferFlag) {
  QuorvFileInfo info;
  info.name = file.fileName.substr(baseLength);
  info.transferFlag = transferFlag;
  for (const auto& [key, value] : file.metadata) info.AddMetadata(key, value);
  return info;
}

bool isInFolder(const QuorvFileInfo& info) {
  return info.name.find_first_of(L"\\/") != std::wstring::npos;
}

/// Keeps one file a number. The object itself, which lies in the project's directory, goes before a namesake of it that
/// somebody keeps in a folder; otherwise the first stays.
void keepOnce(NumberedFiles& files, NumberedFile file) {
  const auto [place, isNew] = files.try_emplace(file.number, file);
  if (isNew || place->second.info.name == file.info.name) return;
  if (isInFolder(place->second.info) && !isInFolder(file.info)) std::swap(place->second, file);
  lfperrC(L"%s: \"%s\" is not uploaded, its number goes with \"%s\"\n", kFunction, file.info.name,
          place->second.info.name);
}

}  // namespace

void getTypeSortedFileMaps(std::size_t baseLength, const std::vector<WGO_FileCompareInfo>& batch,
                           const std::vector<bool>& newFiles, NumberedFiles& teilbilder, NumberedFiles& plans,
                           std::vector<QuorvFileInfo>& others) {
  const bool isConverting = globalEventManager::instance().get(kDatwaRunningEvent, nullptr);
  for (std::size_t position = 0; position < batch.size(); ++position) {
    const WGO_FileCompareInfo& file = batch[position];
    const bool transferFlag = position < newFiles.size() && newFiles[position];
    QuorvelFileType type = eFileType_Unknown;
    int number = -1;
    GetTypeFromFilePathName(file.fileName, type, number);
    if (type != eFileType_Teilbild && type != eFileType_Plan) {
      others.push_back(infoOf(file, baseLength, transferFlag));
      continue;
    }
    if (!isConverting && !isFreeToSend(type, number)) {
      tellNotLocked(file.fileName, type, number);
      continue;
    }
    keepOnce(type == eFileType_Teilbild ? teilbilder : plans, {infoOf(file, baseLength, transferFlag), number});
  }
}

}  // namespace Quorvel::FileAccess::Threading
