#include "workstation/store/ContainerLook.h"

#include <algorithm>
#include <set>

#include "host/System.h"
#include "platform/Files.h"
#include "platform/Paths.h"
#include "platform/Text.h"
#include "workstation/store/Bodies.h"
#include "workstation/store/DiskFiles.h"
#include "workstation/store/LocalTree.h"

namespace workstation {

namespace {

constexpr const wchar_t* kCachesDirectory = L"CloudSTD";

bool isOfService(std::string_view key) {
  return key == kServiceDirectory || key.starts_with(std::string(kServiceDirectory) + '\\');
}

bool isTemporary(std::string_view name) {
  std::string replaced;
  const std::size_t slash = name.rfind('\\');
  return isLeftoverOfLoad(slash == std::string_view::npos ? name : name.substr(slash + 1), replaced);
}

/// Finds out how far a process came that was killed on the way.
void settleWay(SettledFile& row, CacheCase& file) {
  const bool isInStore = file.stored != nullptr && file.stored->sha256 == row.announced.sha256;
  const bool hasCome = row.way == FileWay::Coming && file.here.looksLike(row.announced);
  // What is not here may also be one whose commit was given up, and that somebody else has committed since.
  const bool wasSent = row.way == FileWay::Sending && row.announced.isKnown() && isInStore && file.here.isKnown();
  const bool wasDeleted = row.way == FileWay::Sending && !row.announced.isKnown() && file.stored == nullptr;
  if (hasCome || wasSent) row.content = row.announced;
  if ((hasCome && isInStore) || wasSent) row.revision = file.stored->revision;
  if (wasDeleted || !row.content.isKnown()) file.base = nullptr;
}

/// What stands in the way of a file that would count as deleted, without being one: a link that leads nowhere, a pipe;
/// or the link behind which the file may be. Empty for nothing.
std::wstring standsInPlaceOf(const std::wstring& root, const std::wstring& name) {
  for (std::wstring part = name; !part.empty(); part = platform::directoryOf(part)) {
    std::wstring path = platform::joinPath(root, part);
    const auto status = diskStatus(platform::systemPath(path));
    if (status && (status->isLink || (part == name && !status->isDirectory))) return path;
  }
  return {};
}

}  // namespace

void lookAtCache(CloudStore& store, const StoreActor& actor, const std::wstring& container, const std::wstring& root,
                 SettledFiles settled, CacheLook& look) {
  look = {};
  look.settled = std::move(settled);
  const CloudStatus status = store.containerFiles(actor, container, look.container, look.stored);
  if (status != kStoreOk) throw StoreError{status, CloudStore::lastText()};
  const std::string path = platform::systemPath(root);
  look.scan = scanDirectory(path, isOfService);
  if (!look.scan.failure.empty()) throw StoreError{kStoreAccessDenied, look.scan.failure};
  for (const auto& [key, file] : look.settled) look.items[key] = {file.name, {&file, {}, nullptr}};
  for (const ContainerFile& file : look.stored) {
    if (isOfService(file.key)) requireContainerName(file.name);
    CacheItem& item = look.items[file.key];
    item.name = file.name;
    item.content.stored = &file;
  }
  for (const ScannedFile& file : look.scan.files) {
    if (isTemporary(file.name) || isOfService(file.key)) continue;
    CacheItem& item = look.items[file.key];
    const std::wstring name = platform::fromUtf8(file.name);
    if (item.content.here.isKnown()) look.twins.push_back(name);
    item.name = name;
    item.content.here = {file.size, file.modified, {}};
  }
  for (auto& [key, item] : look.items) {
    if (const auto row = look.settled.find(key); row != look.settled.end()) settleWay(row->second, item.content);
    if (!needsHash(item.content)) continue;
    waitForLaterTime(item.content.here.modified);
    item.content.here.sha256 = sha256OfFile(platform::systemPath(platform::joinPath(root, item.name)));
  }
}

bool isEmptied(const CacheLook& look) {
  std::size_t known = 0;
  std::size_t others = 0;
  for (const auto& [key, item] : look.items) {
    if (item.content.base != nullptr && item.content.here.isKnown()) return false;
    if (item.content.base != nullptr) ++known;
    if (item.content.here.isKnown()) ++others;
  }
  // The only file may have got another name.
  return known > 1 || (known == 1 && others == 0);
}

std::vector<StoreError> obstaclesToCommit(const CacheLook& look, const std::wstring& root) {
  std::vector<StoreError> obstacles;
  const auto pathOf = [&](const std::wstring& name) { return L"\"" + platform::joinPath(root, name) + L"\" "; };
  if (isEmptied(look)) {
    obstacles.push_back(
        {kStoreInvalidData, L"\"" + root + L"\" has none of the files of the container \"" + look.container.name +
                                L"\" any more. Download it again, or roll back. A container that is not needed is "
                                L"deleted; one that stays keeps at least one of its files"});
    return obstacles;
  }
  for (const std::wstring& name : look.scan.passedOver) {
    obstacles.push_back(
        {kStoreInvalidName, pathOf(name) + L"has a name that not every workstation can hold: rename it"});
  }
  for (const std::wstring& name : look.twins) {
    obstacles.push_back(
        {kStoreInvalidName, pathOf(name) + L"differs from another file in letter case alone: rename one of them"});
  }
  std::set<std::wstring> told;
  for (const auto& [key, item] : look.items) {
    if (localChange(item.content) != LocalChange::Deleted) continue;
    const std::wstring inPlace = standsInPlaceOf(root, item.name);
    if (inPlace.empty() || !told.insert(inPlace).second) continue;
    obstacles.push_back({kStoreAccessDenied, L"\"" + inPlace +
                                                 L"\" is a link or no plain file: it is no part of the container, "
                                                 L"where its files would count as deleted"});
  }
  return obstacles;
}

std::wstring containerCachePath(const std::wstring& container) {
  const std::wstring data = ZSYST_getLocalDataDirectory();
  if (data.empty() || container.empty()) return {};
  return platform::joinPath(platform::joinPath(data, kCachesDirectory), container);
}

std::wstring containerOfPath(const std::wstring& path, std::wstring& root, std::wstring& relative) {
  std::size_t begin = 0;
  bool isNext = false;
  while (begin <= path.size()) {
    const std::size_t end = std::min(path.find_first_of(L"\\/", begin), path.size());
    std::wstring part = path.substr(begin, end - begin);
    if (isNext && !part.empty()) {
      root = path.substr(0, end);
      relative = end < path.size() ? path.substr(end + 1) : std::wstring();
      std::replace(relative.begin(), relative.end(), L'/', L'\\');
      return part;
    }
    isNext = platform::equalsIgnoreCase(part, kCachesDirectory);
    begin = end + 1;
  }
  return {};
}

SettledFile settledFile(const CacheItem& item) {
  const ContainerFile& stored = *item.content.stored;
  return {item.name, {item.content.here.size, item.content.here.modified, stored.sha256}, stored.revision};
}

void requireContainerName(const std::wstring& name) {
  std::wstring normal;
  if (normaliseStoreName(name, normal) && normal == name && !isOfService(keyOfName(platform::toUtf8(name)))) return;
  throw StoreError{kStoreInvalidName, L"the container has a file \"" + name +
                                          L"\", which would leave its directory or come into the service's own"};
}

}  // namespace workstation
