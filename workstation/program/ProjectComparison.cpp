#include "workstation/program/ProjectComparison.h"

#include <algorithm>
#include <future>
#include <unordered_map>

#include "host/Project.h"
#include "host/Trace.h"
#include "platform/Files.h"
#include "platform/Paths.h"
#include "platform/Text.h"
#include "platform/Time.h"
#include "workstation/program/ChangesSnapshot.h"
#include "workstation/program/Context.h"
#include "workstation/program/ItemStamps.h"
#include "workstation/program/Objects.h"
#include "workstation/program/SyncBase.h"
#include "workstation/store/Bodies.h"
#include "workstation/store/DirectoryScan.h"
#include "workstation/store/LocalTree.h"
#include "workstation/store/StoreError.h"
#include "zephor/UploadFilters.h"

namespace workstation::program {

namespace {

using Points = std::vector<std::pair<std::string, SyncPoint>>;

/// One read of the store, with the reason of its thread when it failed.
struct Listing {
  std::vector<ListedFile> files;
  CloudStatus status = kStoreOk;
  std::wstring error;
};

FileContent contentHere(const ScannedFile& file) {
  return {file.size, file.modified, {}};
}

/// The files here by key; of twins the one that a look-up of the name would find.
class FilesHere {
 public:
  explicit FilesHere(const std::vector<ScannedFile>& files) : files_(files), isSeen_(files.size()) {
    places_.reserve(files.size());
    for (std::size_t i = 0; i < files.size(); ++i) {
      const auto [place, isNew] = places_.try_emplace(files[i].key, i);
      if (isNew) continue;
      twins_.push_back(files[i].key);
      if (files[i].name < files[place->second].name) place->second = i;
    }
    std::sort(twins_.begin(), twins_.end());
  }

  /// Null when there is none. It then counts as seen.
  const ScannedFile* find(const std::string& key) {
    const auto found = places_.find(key);
    if (found == places_.end()) return nullptr;
    isSeen_[found->second] = true;
    return &files_[found->second];
  }
  bool hasTwin(const std::string& key) const { return std::binary_search(twins_.begin(), twins_.end(), key); }
  bool has(const std::string& key) const { return places_.contains(key); }
  template <typename Visit>
  void visitUnseen(const Visit& visit) const {
    for (const auto& [key, place] : places_) {
      if (!isSeen_[place]) visit(files_[place]);
    }
  }

 private:
  const std::vector<ScannedFile>& files_;
  std::vector<bool> isSeen_;
  std::unordered_map<std::string_view, std::size_t> places_;
  std::vector<std::string_view> twins_;
};

/// Results with the keys that order them.
class ByKey {
 public:
  void add(std::string_view key, ComparedFile file) { files_.emplace_back(key, std::move(file)); }
  std::vector<ComparedFile> take() {
    std::sort(files_.begin(), files_.end(), [](const auto& a, const auto& b) { return a.first < b.first; });
    std::vector<ComparedFile> files;
    files.reserve(files_.size());
    for (auto& entry : files_) files.push_back(std::move(entry.second));
    return files;
  }

 private:
  std::vector<std::pair<std::string_view, ComparedFile>> files_;
};

/// @return nothing for an object whose header the store does not tell
std::optional<VersionStamp> storeStampOf(const std::optional<ObjectName>& object, const ListedFile& listed) {
  if (hasStoredHeader(object)) return stampOfImage(*object, listed.header);
  return stampOfStored(listed.file.revision, listed.file.size, contentOf(listed.file).modified);
}

/// Whether the base says of a file that looks the same on both sides what both tell now. What a Zeichnung tells here
/// stands in the file alone, which is what it was when the store's was noted.
bool isRecorded(const std::optional<ObjectName>& object, const FileContent& here, const VersionStamp& store,
                const SyncPoint& base) {
  if (base.store != store) return false;
  if (object) return !hasStoredHeader(object) || base.here == store;
  return base.here == stampOf(here);
}

/// The rules of the upload's filter themselves.
bool isOwnRules(std::string_view key) {
  return key == "wgo_syncfilter.xml";
}

class Comparer {
 public:
  Comparer(ProjectComparison& comparison, const DirectoryScan& scan, const Points& points)
      : comparison_(comparison), here_(scan.files), points_(points) {}

  /// In the order of the keys.
  void takeStored(ListedFile& listed) {
    if (isPrivateKey(listed.key)) return;
    const ScannedFile* const scanned = here_.find(listed.key);
    const std::optional<ObjectName> object = objectOf(listed);
    ComparedFile file;
    file.hasTwin = here_.hasTwin(listed.key);
    if (scanned != nullptr) file.here = contentHere(*scanned);
    file.storeStamp = storeStampOf(object, listed);
    const bool isSame = file.storeStamp && !file.hasTwin && file.here.looksLike(contentOf(listed.file));
    const SyncPoint* const base = isSame ? baseOf(listed.key) : nullptr;
    if (base != nullptr && isRecorded(object, file.here, *file.storeStamp, *base)) return;
    file.name = scanned != nullptr ? platform::fromUtf8(scanned->name) : listed.file.name;
    file.store = std::move(listed.file);
    (isSame ? unrecorded_ : differing_).add(listed.key, std::move(file));
  }

  void takeOnlyHere() {
    std::optional<Quorvel::FileAccess::WGO_FileFilter> filter;
    here_.visitUnseen([&](const ScannedFile& scanned) {
      if (!filter) Quorvel::FileAccess::WGO_GetPrjDirUploadFilter(filter.emplace(), true);
      std::wstring name = platform::fromUtf8(scanned.name);
      if (isKeptOut(*filter, name)) {
        if (!isOwnRules(scanned.key)) ++comparison_.neverSent;
        return;
      }
      differing_.add(scanned.key,
                     {std::move(name), contentHere(scanned), std::nullopt, here_.hasTwin(scanned.key), std::nullopt});
    });
  }

  /// @param listing  in the order of the keys
  void takeGone(const std::vector<ListedFile>& listing) {
    auto listed = listing.begin();
    for (const auto& [key, point] : points_) {
      while (listed != listing.end() && listed->key < key) ++listed;
      const bool isStored = listed != listing.end() && listed->key == key;
      if (!isStored && !here_.has(key)) comparison_.gone.push_back(key);
    }
  }

  void finish() {
    comparison_.differing = differing_.take();
    comparison_.unrecorded = unrecorded_.take();
  }

 private:
  static std::optional<ObjectName> objectOf(const ListedFile& listed) {
    const bool isAtTop = listed.key.find('\\') == std::string::npos;
    return isAtTop ? itemOfFile(platform::fromUtf8(listed.key)).object : std::nullopt;
  }
  const SyncPoint* baseOf(const std::string& key) {
    while (next_ < points_.size() && points_[next_].first < key) ++next_;
    return next_ < points_.size() && points_[next_].first == key ? &points_[next_].second : nullptr;
  }

  ProjectComparison& comparison_;
  FilesHere here_;
  const Points& points_;
  std::size_t next_ = 0;
  ByKey differing_;
  ByKey unrecorded_;
};

ProjectComparison openComparison() {
  ProjectComparison comparison;
  const PRJ project = get_ActivePrj();
  comparison.projectUuid = project.GetOndrathProjectUuid();
  comparison.directory = project.GetFullProjectPath(true);
  const auto record = CacheRecord::of(comparison.projectUuid, comparison.directory);
  comparison.isWhole = record != nullptr && record->isWhole();
  return comparison;
}

void takeScan(ProjectComparison& comparison, DirectoryScan& scan) {
  if (!scan.failure.empty()) {
    throw CommandFailure{ExitCode::Failure, L"the project's directory " + scan.failure};
  }
  std::string replaced;
  for (const ScannedFile& file : scan.files) {
    if (isLeftoverOfLoad(std::string_view(file.name).substr(file.name.rfind('\\') + 1), replaced)) {
      comparison.leftovers.push_back(platform::fromUtf8(file.name));
    }
    if (isUsersPrivate(file.key)) ++comparison.neverSent;
  }
  std::erase_if(scan.files, [](const ScannedFile& file) { return isPrivateKey(file.key); });
  comparison.files = scan.files.size();
  for (const ScannedFile& file : scan.files) comparison.bytes += static_cast<std::uint64_t>(file.size);
  std::erase_if(scan.passedOver, [](const std::wstring& name) { return isPrivateFile(name); });
  comparison.passedOver = std::move(scan.passedOver);
  std::sort(comparison.passedOver.begin(), comparison.passedOver.end());
  for (const std::wstring& name : comparison.passedOver) {
    lfperrC(L"%s\\%s is passed over: no other workstation can hold its name\n", comparison.directory, name);
  }
}

using List = CloudStatus (CloudStore::*)(const StoreActor&, const std::wstring&, std::vector<ListedFile>&);

Listing readStore(Context& context, const std::wstring& projectUuid, List list) {
  Listing result;
  result.status = (context.store().*list)(context.actor(), projectUuid, result.files);
  if (result.status != kStoreOk) result.error = CloudStore::lastText();
  return result;
}

void compare(ProjectComparison& comparison, const DirectoryScan& scan, const Points& points, Listing listed) {
  if (listed.status != kStoreOk) throw CommandFailure{ExitCode::Failure, listed.error};
  Comparer comparer(comparison, scan, points);
  for (ListedFile& file : listed.files) comparer.takeStored(file);
  comparer.takeOnlyHere();
  comparer.takeGone(listed.files);
  comparer.finish();
}

}  // namespace

ProjectComparison compareProject(Context& context) {
  ProjectComparison comparison = openComparison();
  auto outline =
      std::async(std::launch::async, [&] { return readStore(context, comparison.projectUuid, &CloudStore::outline); });
  auto bases = std::async(std::launch::async, [&] { return SyncBase(comparison.projectUuid).all(); });
  DirectoryScan scan = scanDirectory(platform::systemPath(comparison.directory), isPrivateKey);
  takeScan(comparison, scan);
  const std::optional<Points> points = bases.get();
  if (!points) throw CommandFailure{ExitCode::Failure, L"what was last in step can't be read to its end"};
  // Where all is as it was, the outline tells it. What differs is told with all that the store knows of it.
  ProjectComparison whole = comparison;
  compare(comparison, scan, *points, outline.get());
  if (comparison.differing.empty() && comparison.unrecorded.empty()) return comparison;
  compare(whole, scan, *points, readStore(context, whole.projectUuid, &CloudStore::listing));
  return whole;
}

namespace {

/// Whether the file here still has the content that was compared, which the store has. @param record  may be null
bool isStored(const std::wstring& path, const ComparedFile& file, CacheRecord* record) {
  const FileContent stored = contentOf(*file.store);
  const SeenFile* const seen = record != nullptr ? record->find(file.name) : nullptr;
  const bool isKnown = seen != nullptr && seen->settled.looksLike(stored) && seen->settled.sha256 == stored.sha256;
  try {
    return isKnown || sha256OfFile(platform::systemPath(path)) == stored.sha256;
  } catch (const StoreError&) {
    return false;
  }
}

/// What an item that has the store's content tells here. @return nothing when it was changed meanwhile
std::optional<VersionStamp> stampHere(const ItemName& item, const std::wstring& path, const ComparedFile& file) {
  if (!item.object) return stampOf(file.here);
  if (hasStoredHeader(item.object)) return file.storeStamp;
  const std::optional<VersionStamp> here = readLocal(item).here;
  const platform::FileStatus now = platform::fileStatus(path);
  const auto modified = static_cast<std::int64_t>(platform::toTicks(now.writeTime));
  return file.here.looksLike({static_cast<std::int64_t>(now.size), modified, {}}) ? here : std::nullopt;
}

}  // namespace

std::vector<ComparedFile> recordInStep(Context& /*context*/, const std::vector<ComparedFile>& files) {
  std::vector<ComparedFile> others;
  if (files.empty()) return others;
  const PRJ project = get_ActivePrj();
  const std::wstring directory = project.GetFullProjectPath(true);
  const auto record = CacheRecord::of(project.GetOndrathProjectUuid(), directory);
  std::vector<std::pair<std::wstring, SyncPoint>> points;
  points.reserve(files.size());
  for (const ComparedFile& file : files) {
    const std::wstring path = platform::joinPath(directory, file.name);
    const ItemName item = itemOfFile(file.name);
    const bool isSame = file.store && file.storeStamp && isStored(path, file, record.get());
    const std::optional<VersionStamp> here = isSame ? stampHere(item, path, file) : std::nullopt;
    if (here) {
      points.emplace_back(item.fileName, SyncPoint{*here, *file.storeStamp});
    } else {
      others.push_back(file);
    }
  }
  SyncBase(project.GetOndrathProjectUuid()).put(points);
  return others;
}

}  // namespace workstation::program
