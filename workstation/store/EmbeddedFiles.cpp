// The service's operations on what files there are: headers, listings, deleting.
#include <algorithm>

#include "platform/Text.h"
#include "workstation/store/EmbeddedProjectService.h"
#include "workstation/store/StoreError.h"
#include "workstation/store/TransferConditions.h"
#include "workstation/store/TransferTurn.h"

namespace workstation {

namespace {

constexpr int kUpperKinds = 5;

/// The bits of an image, least significant bit of each byte first.
HeaderBits bitsOf(const std::vector<std::uint8_t>& image, std::uint32_t limit) {
  const std::size_t count = std::min<std::size_t>(image.size() * 8, limit & ~7U);
  HeaderBits bits(count);
  for (std::size_t i = 0; i < count; ++i) bits[i] = ((image[i / 8] >> (i % 8)) & 1U) != 0;
  return bits;
}

/// A field of a listing line. The lines are split at `|` by a reader that swallows empty fields.
std::wstring field(std::wstring text) {
  std::replace(text.begin(), text.end(), L'|', L'/');
  return text.empty() ? std::wstring(L"-") : text;
}

std::wstring lineOf(const StoredFile& file) {
  return field(file.name) + L"|" + field(file.uploaderName) + L"|" + field(storeDateText(file.created)) + L"|" +
         field(storeDateText(file.modified)) + L"|" + std::to_wstring(file.revision) + L"|" +
         std::to_wstring(file.size);
}

bool isUpperKind(int kind) {
  return kind >= kCloudKindDeletedFirst && kind < kCloudKindDeletedFirst + kUpperKinds;
}

/// Live files of some classes; none of them, for a kind that there is not, is refused.
CloudStatus listKind(CloudStore& store, const StoreActor& actor, const std::wstring& project, int kind,
                     unsigned classes, std::vector<StoredFile>& out) {
  if (classes != 0) return store.files(actor, project, classes, out);
  setLastStoreText(platform::formatWide(L"there is no listing of kind %d", kind));
  return kStoreInvalidParameter;
}

/// The class of a kind from 32 on. Listings of names take it for the deleted files of the class, those of lines (the
/// groups of the new share) for the live ones.
unsigned upperClassOfKind(int kind) {
  return 1U << static_cast<unsigned>(kind - kCloudKindDeletedFirst);
}

}  // namespace

unsigned classesOfKind(int kind) {
  if (kind == kCloudKindWholeProject) return kAllClasses;
  return kind >= 0 && kind <= kCloudKindBim ? 1U << static_cast<unsigned>(kind) : 0;
}

CloudStatus EmbeddedProjectService::GetFileHeaders(const std::wstring& project, HeaderMap& headers,
                                                   std::uint32_t bits) {
  return run(L"GetFileHeaders", [&](CloudStore& store, const StoreActor& actor) {
    std::vector<std::wstring> names;
    names.reserve(headers.size());
    for (const auto& [name, value] : headers) names.push_back(name);
    std::map<std::wstring, std::vector<std::uint8_t>> images;
    const CloudStatus status = store.headers(actor, project, names, images);
    if (status != kStoreOk) return status;
    for (auto& [name, value] : headers) value = bitsOf(images[name], bits);
    return status;
  });
}

CloudStatus EmbeddedProjectService::GetAllFileHeaders(const std::wstring& project, HeaderMap& headers,
                                                      std::uint32_t bits, int kind) {
  return run(L"GetAllFileHeaders", [&](CloudStore& store, const StoreActor& actor) {
    headers.clear();
    if (kind != kCloudKindTeilbild && kind != kCloudKindPlan) {
      setLastStoreText(platform::formatWide(L"files of kind %d have no headers", kind));
      return kStoreInvalidParameter;
    }
    std::map<std::wstring, std::vector<std::uint8_t>> images;
    const CloudStatus status = store.allHeaders(actor, project, static_cast<FileClass>(kind), images);
    for (const auto& [name, image] : images) headers[name] = bitsOf(image, bits);
    return status;
  });
}

CloudStatus EmbeddedProjectService::DeleteFile(const std::wstring& project, const std::wstring& name) {
  return run(L"DeleteFile", [&](CloudStore& store, const StoreActor& actor) {
    const TransferTurn turn(project, {name});
    std::optional<std::int64_t> expected;
    const std::shared_ptr<TransferJudge> judge = transferJudge(project, name);
    if (judge) {
      expected = judge->judgeDeletion(store, actor, name).revision;
    } else if (const auto condition = transferCondition(project, name)) {
      expected = condition->revision;
    }
    const CloudStatus status = store.deleteFile(actor, project, name, expected);
    if (status == kStoreOk) moveConditionInStore(project, name, 0);
    if (judge) judge->deleted(name, status);
    return status;
  });
}

CloudStatus EmbeddedProjectService::HasFile(const std::wstring& project, const std::wstring& name, bool& found) {
  found = false;
  return run(L"HasFile", [&](CloudStore& store, const StoreActor& actor) {
    StoredFile file;
    const CloudStatus status = store.findFile(actor, project, name, file);
    found = status == kStoreOk;
    if (status != kStoreNotFound) return status;
    StoreProject membership;  // a file that is not there is an answer, a project that is not there is none
    return store.project(actor, project, membership);
  });
}

CloudStatus EmbeddedProjectService::GetProjectFileInfos(const std::wstring& project, std::vector<std::wstring>& lines,
                                                        int kind) {
  return run(L"GetProjectFileInfos", [&](CloudStore& store, const StoreActor& actor) {
    lines.clear();
    std::vector<StoredFile> files;
    const bool isNewShare = isUpperKind(kind) && kind != kCloudKindDeletedFirst;
    const unsigned classes = isNewShare ? upperClassOfKind(kind) : classesOfKind(kind);
    const CloudStatus status = listKind(store, actor, project, kind, classes, files);
    for (const StoredFile& file : files) lines.push_back(lineOf(file));
    return status;
  });
}

CloudStatus EmbeddedProjectService::GetNewShareFilesMetadata(const std::wstring& project,
                                                             std::vector<NewShareFileMetadata>& files,
                                                             ShareFileTypeID type) {
  return run(L"GetNewShareFilesMetadata", [&](CloudStore& store, const StoreActor& actor) {
    files.clear();
    std::vector<StoredFile> found;
    const unsigned classes = type >= eShareFile_Resource && type <= eShareFile_Bim ? 1U << unsigned(type) : 0;
    const CloudStatus status = listKind(store, actor, project, type, classes, found);
    for (const StoredFile& file : found) files.push_back({file.name, file.uuid, file.size, file.modified});
    return status;
  });
}

CloudStatus EmbeddedProjectService::GetQuorvelProjectResourceFiles(const std::wstring& project,
                                                                   std::vector<std::wstring>& names, int kind) {
  return run(L"GetQuorvelProjectResourceFiles", [&](CloudStore& store, const StoreActor& actor) {
    names.clear();
    // Kinds 1, 3 and 4 together are the whole project here: by them the library checks whether a copy is complete.
    unsigned classes = classesOfKind(kind);
    if (kind == kCloudKindOrdinary) classes |= classBit(FileClass::Resource);
    if (kind == kCloudKindPlan) classes |= classBit(FileClass::Teilbild);
    std::vector<StoredFile> files;
    const CloudStatus status = isUpperKind(kind) ? store.deletedFiles(actor, project, upperClassOfKind(kind), files)
                                                 : listKind(store, actor, project, kind, classes, files);
    for (const StoredFile& file : files) names.push_back(file.name);
    return status;
  });
}

}  // namespace workstation
