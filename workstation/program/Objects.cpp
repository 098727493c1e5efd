#include "workstation/program/Objects.h"

#include <algorithm>
#include <map>
#include <set>

#include "host/Files.h"
#include "host/Locking.h"
#include "host/Project.h"
#include "host/ProjectDatabase.h"
#include "platform/Files.h"
#include "platform/Paths.h"
#include "platform/Text.h"
#include "platform/Time.h"
#include "workstation/objects/ObjectFile.h"
#include "workstation/objects/ObjectNames.h"
#include "workstation/program/Context.h"
#include "workstation/program/ItemStamps.h"
#include "workstation/program/StoredContent.h"
#include "workstation/program/SyncBase.h"
#include "workstation/store/CacheRecord.h"
#include "workstation/store/CloudStore.h"
#include "workstation/store/DirectoryScan.h"
#include "workstation/store/StoreContext.h"
#include "zephor/CloudFiles.h"
#include "zephor/HeaderServices.h"

namespace workstation::program {

namespace {

/// By kind and number for objects, then other files; by name within.
using Key = std::pair<int, std::wstring>;
using Views = std::map<Key, ItemView>;

constexpr std::uint64_t kTicksPerSecond = 10'000'000;
constexpr int kAfterObjects = 1000;

Key keyOf(const ItemName& item) {
  return {item.object ? static_cast<int>(item.object->type) : kAfterObjects, platform::toLower(item.fileName)};
}

ItemName nameOf(const ObjectName& object) {
  return ItemName{object, object.fileName()};
}

ItemView& viewOf(Views& views, const ItemName& item) {
  const auto [place, isNew] = views.try_emplace(keyOf(item));
  if (isNew) {
    place->second.object = item.object;
    place->second.fileName = item.fileName;
  }
  return place->second;
}

/// A listing line ends with the file's revision and size.
VersionStamp stampOfListed(const Quorvel::FileAccess::CResourceInfo& file) {
  return stampOfStored(_wtoi(file.text4.c_str()), std::wcstoll(file.text5.c_str(), nullptr, 10),
                       static_cast<std::int64_t>(platform::toTicks(file.modifiedTime)));
}

template <typename Text, std::size_t size>
std::wstring textOf(const Text (&text)[size]) {
  const auto* end = std::find(text, text + size, Text{0});
  return platform::fromUtf16(std::u16string_view(text, static_cast<std::size_t>(end - text)));
}

template <typename Header>
void takeHeader(ItemView& view, const Header& header) {
  view.here = stampOf(header);
  view.title = textOf(header.name);
}

void readHere(ItemView& view) {
  const platform::FileStatus file = platform::fileStatus(itemPath(view.fileName));
  if (!file.exists || file.isDirectory) return;
  view.file = {static_cast<std::int64_t>(file.size), static_cast<std::int64_t>(platform::toTicks(file.writeTime)), {}};
  if (!view.object) {
    view.here = stampOf(view.file);
    return;
  }
  const auto number = static_cast<unsigned>(view.object->number);
  TeilbildHeader teilbild;
  PlanHeader plan;
  ZeichnungHeader zeichnung;
  if (view.object->type == eFileType_Teilbild) {
    if (Quorvel::FileAccess::WGO_getTBHeader(number, &teilbild, true, 1)) takeHeader(view, teilbild);
  } else if (view.object->type == eFileType_Plan) {
    if (Quorvel::FileAccess::WGO_getPLHeader(number, &plan, true, 1)) takeHeader(view, plan);
  } else if (Quorvel::FileAccess::WGO_getZEHeader(number, &zeichnung, true)) {
    takeHeader(view, zeichnung);
  }
  view.damagedHere = !view.here.has_value();
}

/// Whether both sides hold the same content, as far as they tell it.
bool isSame(const ItemView& view) {
  if (!view.here || !view.store) return false;
  if (hasStoredHeader(view)) return *view.here == *view.store;
  const platform::FileStatus file = platform::fileStatus(itemPath(view.fileName));
  const auto seconds = [](std::uint64_t ticks) { return ticks / kTicksPerSecond; };
  return static_cast<std::uint32_t>(file.size) == view.store->check &&
         seconds(platform::toTicks(file.writeTime)) == seconds(static_cast<std::uint64_t>(view.store->modified));
}

/// Header by header: one that is damaged must not hide all others, as it does from the library.
void readListedHeaders(Views& views, QuorvelFileType type) {
  CloudStatus status = 0;
  std::wstring error;
  const auto store = currentStore(status, error);
  std::vector<ListedFile> files;
  if (!store || store->listing(storeActor(), get_ActivePrj().GetOndrathProjectUuid(), files) != 0) {
    throw CommandFailure{ExitCode::Failure, L"the store can't be asked for its objects"};
  }
  for (const ListedFile& file : files) {
    const ItemName item = itemOfFile(file.file.name);
    if (!item.object || item.object->type != type) continue;
    const auto stamp = stampOfImage(*item.object, file.header);
    if (stamp) viewOf(views, item).store = stamp;
  }
}

template <typename Header>
void readStoredHeaders(Views& views, const PRJ& project, QuorvelFileType type) {
  std::vector<void*> headers;
  if (!Quorvel::FileAccess::WGO_DownloadAllHeaders(project, type, headers)) return readListedHeaders(views, type);
  for (const void* record : headers) {
    const auto& header = *static_cast<const Header*>(record);
    if (!isPossibleNumber(type, header.number)) continue;
    ItemView& view = viewOf(views, nameOf(ObjectName{type, header.number}));
    view.store = stampOf(header);
    view.title = textOf(header.name);
  }
  Quorvel::FileAccess::WGO_freeHeaders(type, headers);
}

/// A listing without files says the same when it failed, and what is here would count as deleted in the store.
void requireNoFiles(const PRJ& project, ShareFileTypeID fileClass) {
  CloudStatus status = 0;
  std::wstring error;
  const auto store = currentStore(status, error);
  std::vector<StoredFile> files;
  const unsigned classes = classBit(static_cast<FileClass>(fileClass));
  if (store && store->files(storeActor(), project.GetOndrathProjectUuid(), classes, files) == 0 && files.empty())
    return;
  throw CommandFailure{ExitCode::Failure, L"the store can't list the project's files; try again"};
}

/// Files of a class that the store tells by its listing. Of other files than Zeichnungen only those that are wanted.
void readStoredFiles(Views& views, const PRJ& project, ShareFileTypeID fileClass) {
  std::vector<Quorvel::FileAccess::CResourceInfo> files;
  Quorvel::FileAccess::WGO_getOndrathResourceFiles(project, files, fileClass);
  if (files.empty()) requireNoFiles(project, fileClass);
  for (const auto& file : files) {
    const auto object = parseObjectName(file.name);
    const bool isZeichnung = object && object->type == eFileType_Zeichnung;
    const ItemName item = isZeichnung ? nameOf(*object) : ItemName{std::nullopt, file.name};
    if (!isZeichnung && !views.contains(keyOf(item))) continue;
    ItemView& view = viewOf(views, item);
    view.store = stampOfListed(file);
    view.revision = view.store->version;
  }
}

/// Headers tell neither revisions nor what the files are like. Files that were listed before them make sure that a save
/// in between is noticed.
std::vector<StoredFile> listStoredObjects() {
  CloudStatus status = 0;
  std::wstring error;
  const auto store = currentStore(status, error);
  constexpr unsigned kClasses = classBit(FileClass::Teilbild) | classBit(FileClass::Plan);
  std::vector<StoredFile> files;
  if (!store || store->files(storeActor(), get_ActivePrj().GetOndrathProjectUuid(), kClasses, files) != 0) {
    throw CommandFailure{ExitCode::Failure, L"the store can't be asked for its objects"};
  }
  return files;
}

/// An object that tells the header of the store's may still be another file: a damaged one, or one that is compressed
/// on one side alone. It is read only where size or time differ. A sound one has the content whose checksum both
/// headers tell.
void checkContent(ItemView& view, const StoredFile& stored) {
  if (!view.here || view.here != view.store || view.file.looksLike(contentOf(stored))) return;
  if (view.file.size == stored.size && isContentStored(view.fileName)) return;
  std::wstring error;
  const DWORD code = verifyObject(itemPath(view.fileName), error);
  const bool isStill = readLocal({view.object, view.fileName}).file.looksLike(view.file);
  if (code != ERROR_INVALID_DATA || !isStill) return;
  view.damagedHere = true;
  view.here.reset();
}

void addLocalObjects(Views& views) {
  constexpr std::pair<int, QuorvelFileType> kLoadObjects[] = {
      {1, eFileType_Teilbild}, {2, eFileType_Plan}, {3, eFileType_Zeichnung}};
  for (const auto& [loadObject, type] : kLoadObjects) {
    std::set<int> numbers;
    if (ListFilesInFolder(1, loadObject, numbers, false) != 0) continue;
    for (const int number : numbers) viewOf(views, nameOf(ObjectName{type, number}));
  }
}

void readStore(Views& views, bool withFiles) {
  const PRJ project = get_ActivePrj();
  readStoredHeaders<TeilbildHeader>(views, project, eFileType_Teilbild);
  readStoredHeaders<PlanHeader>(views, project, eFileType_Plan);
  readStoredFiles(views, project, eShareFile_Resource);
  if (!withFiles) return;
  readStoredFiles(views, project, eShareFile_Ordinary);
  readStoredFiles(views, project, eShareFile_Bim);
}

/// Without a stored header only time and size are told. What never was in step here is read, and what seems to have
/// changed on both sides alike, as after an upload that was killed before the base was written.
bool isSurelySame(const ItemView& view) {
  if (!view.same || hasStoredHeader(view)) return view.same;
  if (!view.base) return isContentStored(view.fileName);
  return view.here != view.base->here && view.store != view.base->store && isContentStored(view.fileName);
}

void complete(ItemView& view, const SyncBase& bases) {
  view.base = bases.get(view.fileName);
  view.same = isSame(view);
  const bool surelySame = isSurelySame(view);
  view.state = stateOf(view.here, view.store, surelySame, view.base);
}

/// Reads what is here, and judges.
/// @param listed  by listStoredObjects
void completeAll(Views& views, const std::vector<StoredFile>& listed) {
  const SyncBase bases(get_ActivePrj().GetOndrathProjectUuid());
  for (auto& entry : views) readHere(entry.second);
  for (const StoredFile& file : listed) {
    const auto found = views.find(keyOf(itemOfFile(file.name)));
    if (found == views.end() || !hasStoredHeader(found->second)) continue;
    found->second.revision = file.revision;
    checkContent(found->second, file);
  }
  for (auto& entry : views) complete(entry.second, bases);
}

bool isPrivateByStart(std::string_view key) {
  constexpr std::array<std::string_view, 5> kStarts{"quorvelprojectdb", "notuploadedfiles.", "project1.dat.xml",
                                                    "ondrathbackgroundservice.log.xml", "backup\\"};
  return std::any_of(kStarts.begin(), kStarts.end(), [&](std::string_view start) { return key.starts_with(start); });
}

bool hasPrivateEnding(std::string_view key) {
  return key.ends_with(".part") || key.ends_with(".tmp") || key.ends_with(".lck");
}

}  // namespace

bool hasStoredHeader(const ItemView& view) {
  return hasStoredHeader(view.object);
}

bool isPrivateFile(const std::wstring& name) {
  return isPrivateKey(keyOfName(platform::toUtf8(name)));
}

bool isPrivateKey(std::string_view key) {
  // The library makes "data.cfg" for itself, empty, wherever a project is entered.
  return isPrivateByStart(key) || hasPrivateEnding(key) || key == "backup" || key == "net\\data.cfg" ||
         key == "net\\user.cfg" || key == "net\\user.cfg.old";
}

std::wstring whyPrivate(const std::wstring& name) {
  const bool isUserList = platform::equalsIgnoreCase(name, L"Net\\user.cfg");
  return isUserList ? L"the project's services keep it in step with the members" : L"it belongs to this workstation";
}

bool isUsersPrivate(std::string_view key) {
  const std::string_view leaf = key.substr(key.rfind('\\') + 1);
  // Leftovers of transfers, and what the library's full load leaves.
  return hasPrivateEnding(key) && !isPrivateByStart(key) && !leaf.starts_with('~') && leaf != "ondrathcopy.tmp";
}

ItemName itemOfFile(const std::wstring& fileName) {
  const auto object = parseObjectFileName(fileName);
  if (!object) return {std::nullopt, fileName};
  const ObjectName name{object->type, object->number};
  return {name, name.fileName()};
}

std::wstring itemPath(const std::wstring& fileName) {
  return lfinigC(1) + fileName;
}

void noteInDatabase(const ObjectName& object) {
  const int unit = kgunit();
  const auto number = static_cast<unsigned>(object.number);
  if (unit <= 0) return;
  if (object.type == eFileType_Teilbild) {
    TeilbildHeader header;
    if (Quorvel::FileAccess::WGO_getTBHeader(number, &header, true, 1)) {
      ZP_ProjectDBTeilbildSets(unit).setTeilbildRecord(number, header);
    }
  } else if (object.type == eFileType_Plan) {
    PlanHeader header;
    if (Quorvel::FileAccess::WGO_getPLHeader(number, &header, true, 1)) {
      ZP_ProjectDBPlanSets(unit).setPlanRecord(number, header);
    }
  } else {
    ZeichnungHeader header;
    if (Quorvel::FileAccess::WGO_getZEHeader(number, &header, true)) {
      ZP_ProjectDBZeichnungSets(unit).setZeichnungRecord(number, header);
    }
  }
}

std::wstring objectPath(const ObjectName& object) {
  return lfinigC(1) + object.fileName();
}

std::wstring holderOf(const FileLockInfo& info) {
  std::wstring text = info.userName;
  if (!info.workstation.empty()) text += L" on " + info.workstation;
  if (!info.time.empty()) text += L" since " + info.time + L" UTC";
  return text;
}

bool isLockedHere(const ItemView& view) {
  return view.object && getFileLockingManager().IsLockedByCurrentUser(view.object->number, view.object->objectType());
}

std::vector<ItemName> itemsOf(const std::vector<ObjectName>& objects) {
  std::vector<ItemName> items;
  items.reserve(objects.size());
  for (const auto& object : objects) items.push_back(nameOf(object));
  return items;
}

ItemView readLocal(const ItemName& item) {
  ItemView view;
  view.object = item.object;
  view.fileName = item.fileName;
  readHere(view);
  return view;
}

std::vector<ItemView> readObjects() {
  Views views;
  const std::vector<StoredFile> listed = listStoredObjects();
  readStore(views, false);
  addLocalObjects(views);
  completeAll(views, listed);
  std::vector<ItemView> list;
  list.reserve(views.size());
  for (auto& entry : views) list.push_back(std::move(entry.second));
  return list;
}

std::vector<ItemView> readItems(const std::vector<ItemName>& items) {
  Views views;
  std::set<Key> asked;
  for (const auto& item : items) {
    viewOf(views, item);
    asked.insert(keyOf(item));
  }
  const bool withFiles = std::any_of(items.begin(), items.end(), [](const auto& item) { return !item.object; });
  const bool withHeaders =
      std::any_of(items.begin(), items.end(), [](const auto& item) { return hasStoredHeader(item.object); });
  const std::vector<StoredFile> listed = withHeaders ? listStoredObjects() : std::vector<StoredFile>();
  readStore(views, withFiles);
  std::erase_if(views, [&](const auto& entry) { return !asked.contains(entry.first); });
  completeAll(views, listed);
  std::vector<ItemView> list;
  list.reserve(items.size());
  for (const auto& item : items) list.push_back(views[keyOf(item)]);
  return list;
}

}  // namespace workstation::program
