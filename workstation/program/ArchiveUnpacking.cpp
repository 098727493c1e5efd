// unpack: a project for this workstation, or the files of a plain archive.
#include <filesystem>

#include "host/Project.h"
#include "host/System.h"
#include "platform/Files.h"
#include "platform/Paths.h"
#include "platform/Text.h"
#include "workstation/program/Agreement.h"
#include "workstation/program/ArchiveCommands.h"
#include "workstation/program/ArchiveView.h"
#include "workstation/program/Arguments.h"
#include "workstation/program/CacheContent.h"
#include "workstation/program/Context.h"
#include "workstation/program/InterruptibleRun.h"
#include "workstation/system/Folders.h"
#include "zephor/ProjectArchives.h"

namespace workstation::program {

namespace {

namespace fs = std::filesystem;

/// An archive on its way to a place.
struct Unpacking {
  std::wstring archive;  ///< library path
  std::wstring shown;    ///< as the person named it
  std::wstring target;   ///< library path; empty: where this workstation keeps projects
  std::uint64_t files = 0;
  std::uint64_t size = 0;
};

void tell(const Context& context, const Unpacking& unpacking, const std::wstring& project, const std::wstring& place) {
  const bool isDone = !context.options().dryRun;
  const std::wstring directory = platform::fromUtf8(platform::systemPath(place));
  context.output().result((isDone ? L"unpacked " : L"would unpack ") + (project.empty() ? unpacking.shown : project) +
                              (isDone ? L" in " : L" into ") + directory + L": " +
                              amountText(unpacking.files, unpacking.size),
                          {{"archive", unpacking.shown},
                           {"project", project.empty() ? Value(std::monostate()) : Value(project)},
                           {"directory", directory},
                           {"files", static_cast<std::int64_t>(unpacking.files)},
                           {"size", static_cast<std::int64_t>(unpacking.size)}});
}

/// The name under which the project is going to be unpacked, as far as it can be told before.
std::wstring projectNameIn(const Unpacking& unpacking) {
  std::wstring xml;
  PRJ project;
  if (!Quorvel::FileAccess::WGO_getProjectDatXmlFromZipFile(unpacking.archive.c_str(), xml, &project)) return {};
  for (std::wstring name : {std::wstring(project.GetProjectName()), std::wstring(project.GetDirectoryName())}) {
    const bool isOne =
        name.find_first_of(L"\\/") == std::wstring::npos && name.size() < std::size(project.directoryName);
    if (isOne && platform::isSafeRelativeName(name + L".prj")) return name;
  }
  return {};
}

ExitCode unpackProject(Context& context, const Unpacking& unpacking, const WorkPlaces& places) {
  context.startWorkstation();
  const std::wstring root =
      unpacking.target.empty() ? globalHostsManager::instance().getHostPath(kLocalHost) : unpacking.target;
  std::wstring name = projectNameIn(unpacking);
  const auto directoryOf = [&] { return platform::joinPath(root, name + L".prj"); };
  // The library's own name for what it unpacks; one of which nothing is known here is refused there.
  if (!context.options().dryRun)
    places.announce(context, platform::systemPath(root), "." + platform::toUtf8(name) + ".prj.");
  const bool isThere = !name.empty() && platform::fileStatus(directoryOf()).exists;
  if (context.options().dryRun) {
    if (name.empty()) throw CommandFailure{ExitCode::Failure, unpacking.shown + L": Invalid project zipfile!"};
    tell(context, unpacking, name, directoryOf());
    if (isThere) context.output().message(L"the project that is there would go to the trash, after a question");
    return ExitCode::Done;
  }
  if (!Quorvel::FileAccess::WGO_unzipProjectFolderToPath(unpacking.archive, root, name)) {
    context.output().error(L"zephor: " + unpacking.shown + L" was not unpacked");
    return ExitCode::Failure;
  }
  tell(context, unpacking, name, directoryOf());
  // Says where the old one lies.
  if (isThere) context.explain();
  context.output().message(L"it is on no store; to share it: zephor project create NAME --team TEAM --from " +
                           platform::fromUtf8(platform::systemPath(directoryOf())));
  return ExitCode::Done;
}

/// Files in the target that the archive would replace.
std::vector<std::wstring> replacedFiles(const ArchiveView& view, const std::wstring& target) {
  std::vector<std::wstring> names;
  for (const ArchiveEntry& entry : view.entries()) {
    if (entry.isDirectory || !entry.problem.empty()) continue;
    if (platform::fileStatus(platform::joinPath(target, entry.name)).exists) names.push_back(entry.name);
  }
  return names;
}

ExitCode unpackFolder(Context& context, const ArchiveView& view, const Unpacking& unpacking, const WorkPlaces& places) {
  context.startWorkstation();
  // Before the look at what is there: it may be another run's that is still at work.
  const fs::path directory = platform::systemPath(unpacking.target);
  if (!context.options().dryRun)
    places.announce(context, directory.parent_path().string(), "." + directory.filename().string() + ".");
  const std::vector<std::wstring> replaced = replacedFiles(view, unpacking.target);
  if (context.options().dryRun) {
    for (const std::wstring& name : replaced) context.output().message(name + L" would be replaced");
    tell(context, unpacking, {}, unpacking.target);
    return ExitCode::Done;
  }
  if (!replaced.empty() &&
      !agrees(counted(replaced.size(), L"file is", L"files are") + L" there already (" + replaced.front() +
              (replaced.size() > 1 ? L", ...)" : L")") + L". Replace what the archive has?"))
    throw CommandFailure{ExitCode::Failure, L"nothing was unpacked; --yes replaces what is there"};
  if (!Quorvel::FileAccess::WGO_unzipFolder(unpacking.archive.c_str(), unpacking.target.c_str())) {
    context.output().error(L"zephor: " + unpacking.shown + L" was not unpacked");
    return ExitCode::Failure;
  }
  tell(context, unpacking, {}, unpacking.target);
  return ExitCode::Done;
}

}  // namespace

ExitCode unpackArchive(Context& context, const UnpackArguments& arguments) {
  Unpacking unpacking{fileArgument(arguments.archive), wide(arguments.archive), {}, 0, 0};
  if (!arguments.target.empty()) unpacking.target = platform::libraryPath(absolutePath(arguments.target));
  while (unpacking.target.size() > 1 && unpacking.target.ends_with(L'\\')) unpacking.target.pop_back();
  const ArchiveView view(platform::systemPath(unpacking.archive));
  unpacking.files = view.files();
  unpacking.size = view.size();
  const bool isPlain = view.kind() == ArchiveKind::Plain;
  if (isPlain && platform::endsWithIgnoreCase(unpacking.shown, L".qpn"))
    throw CommandFailure{ExitCode::Failure, unpacking.shown + L": Invalid project zipfile!"};
  if (isPlain && unpacking.target.empty())
    throw CommandFailure{ExitCode::Usage, unpacking.shown + L" holds no project; name a directory for its files, --to"};
  const bool isThere = isPlain && platform::fileStatus(unpacking.target).exists;
  return runInterruptible(context, isThere ? L"files that were unpacked by then stay" : L"nothing of it is left",
                          [&](const WorkPlaces& places) {
                            return isPlain ? unpackFolder(context, view, unpacking, places)
                                           : unpackProject(context, unpacking, places);
                          });
}

}  // namespace workstation::program
