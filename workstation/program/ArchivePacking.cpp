// pack: a project or a folder becomes an archive that is true to one moment, or none.
#include <sqlite3.h>

#include <algorithm>
#include <filesystem>
#include <map>
#include <random>

#include "host/Project.h"
#include "platform/CheckedRemoval.h"
#include "platform/Durable.h"
#include "platform/Files.h"
#include "platform/Paths.h"
#include "platform/Text.h"
#include "workstation/objects/ProjectDatabaseFile.h"
#include "workstation/program/Agreement.h"
#include "workstation/program/ArchiveCommands.h"
#include "workstation/program/ArchiveView.h"
#include "workstation/program/Arguments.h"
#include "workstation/program/CacheContent.h"
#include "workstation/program/CacheTrash.h"
#include "workstation/program/Context.h"
#include "workstation/program/InterruptibleRun.h"
#include "workstation/program/LeavingProject.h"
#include "zephor/ProjectArchives.h"

namespace workstation::program {

namespace {

namespace fs = std::filesystem;

constexpr const wchar_t* kProjectEnding = L".qpn";
constexpr const wchar_t* kZipEnding = L".zip";
constexpr const wchar_t* kDatabase = L"QuorvelProjectDB.db3";
constexpr const char* kStaging = ".zephor-pack-";
constexpr int kTries = 2;

/// What goes into an archive, by the path below the folder.
using Contents = std::map<std::string, platform::EntryMark>;

/// What is packed, and how the library is asked to.
struct Source {
  std::wstring name;    ///< for the person
  std::wstring folder;  ///< library path
  std::vector<std::wstring> excluded;
  bool isRecursive = true;
  bool isProject = false;

  Contents look() const;
  bool leavesOut(const std::wstring& entry, bool isDirectory) const;
  bool pack(const std::wstring& archive) const {
    if (isProject) return Quorvel::FileAccess::WGO_zipProjectFolder(folder.c_str(), archive.c_str(), false, nullptr);
    return Quorvel::FileAccess::WGO_zipFolder(folder.c_str(), archive.c_str(), excluded, isRecursive);
  }
};

bool Source::leavesOut(const std::wstring& entry, bool isDirectory) const {
  if (!isDirectory) return isProject && platform::equalsIgnoreCase(entry, L"Project1.Dat.xml");
  return !isRecursive || std::any_of(excluded.begin(), excluded.end(), [&](const std::wstring& directory) {
    return platform::equalsIgnoreCase(directory, entry);
  });
}

Contents Source::look() const {
  Contents contents;
  std::error_code error;
  const fs::path root = platform::systemPath(folder);
  for (fs::recursive_directory_iterator entry(root, error), end; !error && entry != end; entry.increment(error)) {
    const fs::file_status status = entry->symlink_status(error);
    const bool isDirectory = status.type() == fs::file_type::directory;
    const std::wstring base = platform::fromUtf8(entry->path().filename().string());
    const bool isOut = leavesOut(base, isDirectory);
    if (isDirectory && isOut) entry.disable_recursion_pending();
    // Every look into the database changes what SQLite shares there, and nothing else.
    const bool isShared = isProject && platform::endsWithIgnoreCase(base, L".db3-shm");
    if (isOut || isShared || status.type() != fs::file_type::regular) continue;
    if (const auto mark = platform::markOf(entry->path().string()))
      contents.emplace(entry->path().lexically_relative(root).generic_string(), *mark);
  }
  if (error)
    throw CommandFailure{ExitCode::Failure, platform::fromUtf8(root.string() + " can't be read: " + error.message())};
  return contents;
}

std::uint64_t bytesOf(const Contents& contents) {
  std::uint64_t sum = 0;
  for (const auto& entry : contents) sum += static_cast<std::uint64_t>(entry.second.size);
  return sum;
}

/// The first file that is not as it was, or not there on one side; empty when there is none.
std::string firstDifference(const Contents& before, const Contents& after) {
  const auto [first, second] = std::mismatch(before.begin(), before.end(), after.begin(), after.end());
  if (first == before.end()) return second != after.end() ? second->first : std::string();
  return second != after.end() ? std::min(first->first, second->first) : first->first;
}

/// Brings what the database keeps beside it into the one file.
void settleDatabase(const Context& context, const std::wstring& folder) {
  closeProjectDatabases();
  const std::wstring path = platform::joinPath(folder, kDatabase);
  if (!platform::fileStatus(path).exists) return;
  sqlite3* database = nullptr;
  bool isSettled =
      sqlite3_open_v2(platform::systemPath(path).c_str(), &database, SQLITE_OPEN_READWRITE, nullptr) == SQLITE_OK;
  constexpr int kBusyMilliseconds = 5000;
  if (isSettled) sqlite3_busy_timeout(database, kBusyMilliseconds);
  isSettled = isSettled &&
              sqlite3_wal_checkpoint_v2(database, nullptr, SQLITE_CHECKPOINT_TRUNCATE, nullptr, nullptr) == SQLITE_OK;
  sqlite3_close(database);
  if (!isSettled)
    context.output().message(
        L"the project database is in use and goes in with its log beside it (zephor db update "
        L"brings rows in line)");
}

void tellUnsent(Context& context, const LeftProject& project) {
  if (!project.hasStore) {
    context.output().message(L"what of it was never sent can't be told: " + project.whyNot);
    return;
  }
  const CacheContent content = readCache(context);
  if (context.options().verbosity > 0) reportUnsent(context, content);
  if (const std::uint64_t unsent = content.unsent.size() - content.backups; unsent > 0)
    context.output().message(
        counted(unsent, L"item", L"items") +
        L" that the store does not have, or has otherwise, in the project here (zephor cache info)");
}

std::string stagingName() {
  std::random_device random;
  return kStaging + platform::toUtf8(platform::formatWide(L"%08x%08x", random(), random())) + ".tmp";
}

/// What killed runs have left beside their archives.
void removeKilled(const fs::path& directory) {
  std::error_code error;
  for (fs::directory_iterator entry(directory, error), end; !error && entry != end; entry.increment(error)) {
    std::error_code ignored;
    if (entry->path().filename().string().starts_with(kStaging)) fs::remove_all(entry->path(), ignored);
  }
}

/// Packs beside the archive's place until nothing changed meanwhile, and gives the whole one its place once it could be
/// read again.
/// @param mayReplace  false: what came to the place meanwhile stays
ArchiveView packInto(const Context& context, const Source& source, const std::string& archive, bool mayReplace) {
  const fs::path place = archive;
  const fs::path staging = place.parent_path() / stagingName();
  std::error_code error;
  if (!fs::create_directory(staging, error))
    throw CommandFailure{ExitCode::Failure, platform::fromUtf8(place.parent_path().string() + ": " + error.message())};
  const std::shared_ptr<void> removal(nullptr, [&](void*) { fs::remove_all(staging, error); });
  const std::wstring built = platform::libraryPath((staging / place.filename()).string());
  std::string changed;
  for (int i = 0; i < kTries; ++i) {
    const Contents contents = source.look();
    if (!source.pack(built)) throw CommandFailure{ExitCode::Failure, platform::fromUtf8(archive) + L" was not written"};
    changed = firstDifference(contents, source.look());
    if (changed.empty()) break;
    context.output().message(platform::fromUtf8(changed) + L" was changed while it was packed");
    DeleteFileW(built.c_str());
  }
  if (!changed.empty())
    throw CommandFailure{ExitCode::Failure, source.name + L" does not keep still; " + platform::fromUtf8(archive) +
                                                L" was not written. Close what works in it, and pack again"};
  ArchiveView view((staging / place.filename()).string());
  if (!mayReplace && MoveFileExW(built.c_str(), platform::libraryPath(archive).c_str(), 0) == FALSE)
    throw CommandFailure{ExitCode::Failure, platform::fromUtf8(archive) + L" was not written: error " +
                                                std::to_wstring(GetLastError()) + L"; expected a free name"};
  if (mayReplace) fs::rename(staging / place.filename(), place, error);
  if (error) throw CommandFailure{ExitCode::Failure, platform::fromUtf8(archive + ": " + error.message())};
  // It was synced as it was built; who is told of it may delete what it was made of.
  platform::makeDurable(platform::libraryPath(place.parent_path().string()),
                        {platform::fromUtf8(place.filename().string())});
  return view;
}

ExitCode tellContents(const Context& context, const Source& source, const std::wstring& archive) {
  const Contents contents = source.look();
  Table table({{"file", L"FILE"}, {"size", L"SIZE"}});
  for (const auto& [name, mark] : contents) table.row({platform::fromUtf8(name), mark.size});
  table.print(context.output());
  context.output().message(L"would pack " + source.name + L" into " + archive + L": " +
                           amountText(contents.size(), bytesOf(contents)));
  return ExitCode::Done;
}

ExitCode packSource(const Context& context, const Source& source, const std::string& archive) {
  const std::wstring shown = platform::fromUtf8(archive);
  // A link, or another name for it, leads into the folder as well.
  const std::wstring place = platform::lexicallyRelative(
      platform::weaklyCanonical(platform::libraryPath(fs::path(archive).parent_path().string())),
      platform::weaklyCanonical(source.folder));
  if (!place.empty() && place != L".." && !place.starts_with(L"..\\"))
    throw CommandFailure{ExitCode::Usage, shown + L" lies in what is packed; name a place outside of it"};
  const platform::FileStatus there = platform::fileStatus(platform::libraryPath(archive));
  if (there.isDirectory) throw CommandFailure{ExitCode::Failure, shown + L" is a directory; expected a file"};
  if (context.options().dryRun) return tellContents(context, source, shown);
  if (there.exists && !agrees(shown + L" is there already. Replace it?"))
    throw CommandFailure{ExitCode::Failure, shown + L" stays, and nothing was packed; --yes replaces it"};
  const ArchiveView view = packInto(context, source, archive, there.exists);
  context.output().result(
      L"packed " + source.name + L" into " + shown + L": " + amountText(view.files(), view.size(), view.packed()),
      {{"archive", shown},
       {source.isProject ? "project" : "folder", source.name},
       {"files", static_cast<std::int64_t>(view.files())},
       {"size", static_cast<std::int64_t>(view.size())},
       {"packed", static_cast<std::int64_t>(view.packed())}});
  return ExitCode::Done;
}

ExitCode packProject(Context& context, const std::string& name, const std::string& archive) {
  const LeftProject project = openToLeave(context, wide(name.empty() ? context.options().project : name));
  const ProjectGuard guard = context.guardProject();
  tellUnsent(context, project);
  const Source source{project.name, get_ActPrjPath(), {L"Lck"}, true, true};
  if (!context.options().dryRun) settleDatabase(context, source.folder);
  const ExitCode code = packSource(context, source, archive);
  if (platform::endsWithIgnoreCase(wide(archive), kZipEnding))
    context.output().message(L"a .zip is unpacked as a folder; what ends in .qpn is unpacked as a project");
  return code;
}

ExitCode packFolder(Context& context, const PackArguments& arguments, const std::string& archive) {
  context.startWorkstation();
  const std::string folder = absolutePath(arguments.folder);
  Source source{wide(arguments.folder), platform::libraryPath(folder), {}, !arguments.onlyTop, false};
  for (const std::string& name : arguments.excluded) source.excluded.push_back(wide(name));
  if (!fs::is_directory(folder)) throw CommandFailure{ExitCode::Failure, wide(arguments.folder) + L" is no directory"};
  return packSource(context, source, archive);
}

}  // namespace

ExitCode packArchive(Context& context, const PackArguments& arguments) {
  const bool isFolder = !arguments.folder.empty();
  const std::string archive = absolutePath(arguments.names.back());
  const bool isZip = platform::endsWithIgnoreCase(wide(archive), kZipEnding);
  if (!isZip && (isFolder || !platform::endsWithIgnoreCase(wide(archive), kProjectEnding)))
    throw CommandFailure{ExitCode::Usage,
                         wide(arguments.names.back()) + (isFolder ? L": expected a name that ends in .zip"
                                                                  : L": expected a name that ends in .qpn or .zip")};
  if (isFolder && arguments.names.size() > 1) throw CommandFailure{ExitCode::Usage, L"a project or --folder, not both"};
  return runInterruptible(context, L"no archive was written", [&](const WorkPlaces& places) {
    const fs::path directory = fs::path(archive).parent_path();
    if (places.announce(context, directory.string(), kStaging)) removeKilled(directory);
    return isFolder ? packFolder(context, arguments, archive)
                    : packProject(context, arguments.names.size() > 1 ? arguments.names.front() : "", archive);
  });
}

}  // namespace workstation::program
