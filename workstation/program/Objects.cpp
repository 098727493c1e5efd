#include "workstation/program/Objects.h"

#include <algorithm>
#include <set>
#include <tuple>

#include "host/Files.h"
#include "host/Locking.h"
#include "host/Project.h"
#include "host/ProjectDatabase.h"
#include "platform/Files.h"
#include "platform/Text.h"
#include "platform/Time.h"
#include "workstation/program/Context.h"
#include "workstation/program/SyncBase.h"
#include "zephor/CloudFiles.h"
#include "zephor/HeaderServices.h"

namespace workstation::program {

namespace {

using Key = std::tuple<int, int>;  // file type, number
using Views = std::map<Key, ObjectView>;

constexpr std::uint64_t kTicksPerSecond = 10'000'000;

template <typename Header>
VersionStamp stampOf(const Header& header) {
  return VersionStamp{header.versionCounter, header.modifiedTime, header.contentCrc};
}

/// A Zeichnung has no header in the store: its file's time, in the whole seconds of the listing, tells its states
/// apart.
VersionStamp stampOf(const FILETIME& time) {
  return VersionStamp{0, static_cast<std::int64_t>(platform::toTicks(time) / kTicksPerSecond), 0};
}

template <typename Text, std::size_t size>
std::wstring textOf(const Text (&text)[size]) {
  const auto* end = std::find(text, text + size, Text{0});
  return platform::fromUtf16(std::u16string_view(text, static_cast<std::size_t>(end - text)));
}

ObjectView& viewOf(Views& views, const ObjectName& object) {
  ObjectView& view = views[{object.type, object.number}];
  view.object = object;
  return view;
}

void readHere(ObjectView& view) {
  const auto number = static_cast<unsigned>(view.object.number);
  const platform::FileStatus file = platform::fileStatus(objectPath(view.object));
  if (!file.exists) return;
  if (view.object.type == eFileType_Teilbild) {
    TeilbildHeader header;
    if (Quorvel::FileAccess::WGO_getTBHeader(number, &header, true, 1)) {
      view.here = stampOf(header);
      view.name = textOf(header.name);
    }
  } else if (view.object.type == eFileType_Plan) {
    PlanHeader header;
    if (Quorvel::FileAccess::WGO_getPLHeader(number, &header, true, 1)) {
      view.here = stampOf(header);
      view.name = textOf(header.name);
    }
  } else {
    ZeichnungHeader header;
    if (Quorvel::FileAccess::WGO_getZEHeader(number, &header, true)) {
      view.here = stampOf(file.writeTime);
      view.name = textOf(header.name);
    }
  }
  view.damagedHere = !view.here.has_value();
}

template <typename Header>
void readStoredHeaders(Views& views, const PRJ& project, QuorvelFileType type) {
  std::vector<void*> headers;
  if (!Quorvel::FileAccess::WGO_DownloadAllHeaders(project, type, headers)) {
    throw CommandFailure{ExitCode::Failure, L"the store can't be asked for its objects"};
  }
  for (const void* record : headers) {
    const auto& header = *static_cast<const Header*>(record);
    if (header.number <= 0) continue;
    ObjectView& view = viewOf(views, ObjectName{type, header.number});
    view.store = stampOf(header);
    view.name = textOf(header.name);
  }
  Quorvel::FileAccess::WGO_freeHeaders(type, headers);
}

void readStoredZeichnungen(Views& views, const PRJ& project) {
  std::vector<Quorvel::FileAccess::CResourceInfo> files;
  Quorvel::FileAccess::WGO_getOndrathResourceFiles(project, files, eShareFile_Resource);
  for (const auto& file : files) {
    QuorvelFileType type = eFileType_Unknown;
    int number = 0;
    if (!GetTypeFromFilePathName(file.name, type, number) || type != eFileType_Zeichnung) continue;
    viewOf(views, ObjectName{type, number}).store = stampOf(file.modifiedTime);
  }
}

void addLocalObjects(Views& views) {
  constexpr std::pair<int, QuorvelFileType> kLoadObjects[] = {
      {1, eFileType_Teilbild}, {2, eFileType_Plan}, {3, eFileType_Zeichnung}};
  for (const auto& [loadObject, type] : kLoadObjects) {
    std::set<int> numbers;
    if (ListFilesInFolder(1, loadObject, numbers, false) != 0) continue;
    for (const int number : numbers) viewOf(views, ObjectName{type, number});
  }
}

Views readViews() {
  const PRJ project = get_ActivePrj();
  Views views;
  readStoredHeaders<TeilbildHeader>(views, project, eFileType_Teilbild);
  readStoredHeaders<PlanHeader>(views, project, eFileType_Plan);
  readStoredZeichnungen(views, project);
  addLocalObjects(views);
  return views;
}

void complete(Views& views) {
  const SyncBase bases(get_ActivePrj().GetOndrathProjectUuid());
  for (auto& entry : views) {
    ObjectView& view = entry.second;
    readHere(view);
    view.base = bases.get(view.object);
    view.state = stateOf(view.here, view.store, view.base);
  }
}

}  // namespace

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

std::vector<ObjectName> objectArguments(const std::vector<std::string>& arguments) {
  std::vector<ObjectName> objects;
  for (const auto& argument : arguments) {
    const auto object = parseObjectName(wide(argument));
    if (!object) {
      throw CommandFailure{ExitCode::Usage,
                           wide(argument) + L" names no object (expected tb12, 12, pb3, ze7 or a file name)"};
    }
    if (std::find(objects.begin(), objects.end(), *object) == objects.end()) objects.push_back(*object);
  }
  return objects;
}

std::wstring holderOf(const FileLockInfo& info) {
  std::wstring text = info.userName;
  if (!info.workstation.empty()) text += L" on " + info.workstation;
  if (!info.time.empty()) text += L" since " + info.time + L" UTC";
  return text;
}

ObjectView readLocal(const ObjectName& object) {
  ObjectView view;
  view.object = object;
  readHere(view);
  return view;
}

std::vector<ObjectView> readObjects() {
  Views views = readViews();
  complete(views);
  std::vector<ObjectView> list;
  list.reserve(views.size());
  for (auto& entry : views) list.push_back(std::move(entry.second));
  return list;
}

std::vector<ObjectView> readObjects(const std::vector<ObjectName>& objects) {
  Views all = readViews();
  Views wanted;
  for (const auto& object : objects) {
    viewOf(all, object);
    wanted[{object.type, object.number}] = std::move(all[{object.type, object.number}]);
  }
  complete(wanted);
  std::vector<ObjectView> list;
  list.reserve(objects.size());
  for (const auto& object : objects) list.push_back(wanted[{object.type, object.number}]);
  return list;
}

}  // namespace workstation::program
