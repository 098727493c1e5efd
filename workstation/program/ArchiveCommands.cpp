// `zephor pack`, `zephor unpack`, `zephor inspect`: projects and folders in archives.
#include "workstation/program/ArchiveCommands.h"
#include "workstation/program/Agreement.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <memory>
#include <optional>

#include "host/Guid.h"
#include "host/Project.h"
#include "platform/Paths.h"
#include "platform/Text.h"
#include "workstation/program/ArchiveView.h"
#include "workstation/program/Arguments.h"
#include "workstation/program/Commands.h"
#include "workstation/program/Context.h"
#include "workstation/program/ProgressLine.h"
#include "zephor/ProjectArchives.h"

namespace workstation::program {

namespace {

using Quorvel::Cad::Service::ZP_GUIDValueProvider;

struct InspectArguments {
  std::string archive;
  bool lists = false;
  bool checks = false;
};

std::wstring stateOf(const std::wstring& problem, bool isChecked) {
  if (!problem.empty()) return problem;
  return isChecked ? L"checked, whole" : L"";
}

/// What is wrong with each entry, in their order.
std::vector<std::wstring> problemsIn(const ArchiveView& view, bool checks) {
  std::vector<std::wstring> problems;
  ProgressLine progress(L"checking", {view.files(), view.size()});
  ProgressCount done;
  for (std::size_t i = 0; i < view.entries().size(); ++i) {
    const ArchiveEntry& entry = view.entries()[i];
    problems.push_back(checks ? view.check(i) : entry.problem);
    done.files += entry.isDirectory ? 0 : 1;
    done.bytes += entry.size;
    if (checks) progress.step(done);
  }
  return problems;
}

/// What the archive tells of its project.
void describeProject(Context& context, const std::wstring& path, std::vector<Field>& fields, std::wstring& text) {
  context.startWorkstation();
  PRJ project;
  std::wstring xml;
  if (!Quorvel::FileAccess::WGO_getProjectDatXmlFromZipFile(path.c_str(), xml, &project))
    throw CommandFailure{ExitCode::Failure, L"the project's information can't be read"};
  const std::wstring guid = ZP_GUIDValueProvider::printGUID(project.projectGuid);
  const std::wstring team = project.GetOndrathTeamName();
  fields.insert(fields.end(), {{"project", project.GetProjectDisplayName()},
                               {"guid", guid},
                               {"owner", std::int64_t{project.owner}},
                               {"team", team.empty() ? Value(std::monostate()) : Value(team)},
                               {"compressed", project.compressed},
                               {"link", project.link}});
  text = platform::formatWide(L"project %s, %s, owner's number %d%s%s%s", project.GetProjectDisplayName(), guid,
                              project.owner, team.empty() ? L"" : L", of the team " + team,
                              project.compressed ? L", Teilbilder compressed" : L"",
                              project.link ? L", a link to somebody else's" : L"");
}

void listEntries(const Context& context, const ArchiveView& view, const std::vector<std::wstring>& problems,
                 bool isChecked) {
  Table table({{"file", L"FILE"}, {"size", L"SIZE"}, {"packed", L"PACKED"}, {"state", L"STATE"}});
  for (std::size_t i = 0; i < problems.size(); ++i) {
    const ArchiveEntry& entry = view.entries()[i];
    table.row({entry.name, static_cast<std::int64_t>(entry.size), static_cast<std::int64_t>(entry.packed),
               stateOf(problems[i], isChecked)});
  }
  table.print(context.output());
}

ExitCode inspect(Context& context, const InspectArguments& arguments) {
  const std::wstring path = fileArgument(arguments.archive);
  const ArchiveView view(platform::systemPath(path));
  const std::vector<std::wstring> problems = problemsIn(view, arguments.checks);
  const auto bad = static_cast<std::int64_t>(
      std::count_if(problems.begin(), problems.end(), [](const std::wstring& problem) { return !problem.empty(); }));
  std::vector<Field> fields{{"archive", wide(arguments.archive)},
                            {"kind", kindText(view.kind())},
                            {"entries", static_cast<std::int64_t>(problems.size())},
                            {"files", static_cast<std::int64_t>(view.files())},
                            {"size", static_cast<std::int64_t>(view.size())},
                            {"packed", static_cast<std::int64_t>(view.packed())},
                            {"problems", bad}};
  if (arguments.checks) fields.emplace_back("checked", true);
  std::wstring project;
  std::optional<CommandFailure> unknown;
  try {
    if (view.kind() != ArchiveKind::Plain) describeProject(context, path, fields, project);
  } catch (const CommandFailure& failure) {
    unknown = failure;
  }
  context.output().result(wide(arguments.archive) + L": " + kindText(view.kind()) + L", " +
                              amountText(view.files(), view.size(), view.packed()) +
                              (bad == 0 && arguments.checks ? L", checked, whole" : L""),
                          fields);
  if (!project.empty() && !context.output().json()) context.output().result(L"  " + project, {});
  if (arguments.lists || context.options().verbosity > 0) {
    listEntries(context, view, problems, arguments.checks);
  } else {
    for (std::size_t i = 0; i < problems.size(); ++i)
      if (!problems[i].empty()) context.output().error(view.entries()[i].name + L": " + problems[i]);
  }
  // Who has no workstation gets all but that.
  if (unknown && unknown->code == ExitCode::NotLoggedIn)
    context.output().message(L"what it tells of its project needs a workstation");
  else if (unknown)
    throw CommandFailure(*unknown);
  if (bad == 0) return ExitCode::Done;
  context.output().error(L"zephor: this archive is not unpacked as it is");
  return ExitCode::Failure;
}

void addPack(CLI::App& app, Action& selected) {
  auto arguments = std::make_shared<PackArguments>();
  auto* pack = app.add_subcommand("pack", "Pack a project, or a folder, into an archive");
  constexpr int kMostNames = 2;
  pack->add_option("PROJECT ARCHIVE", arguments->names,
                   "Project (the open one without it), and an archive that ends in .qpn, or in .zip")
      ->required()
      ->expected(1, kMostNames);
  auto* folder = pack->add_option("--folder", arguments->folder, "A folder in the place of a project, into a .zip");
  pack->add_option("--exclude", arguments->excluded, "Name of directories that stay out, at any depth")
      ->needs(folder)
      ->allow_extra_args(false);
  pack->add_flag("--no-recursive", arguments->onlyTop, "Without the directories in the folder")->needs(folder);
  pack->callback([&selected, arguments] {
    selected = [arguments](Context& context) { return packArchive(context, *arguments); };
  });
}

void addUnpack(CLI::App& app, Action& selected) {
  auto arguments = std::make_shared<UnpackArguments>();
  auto* unpack = app.add_subcommand("unpack", "Unpack a project, or the files of a plain archive");
  unpack->add_option("ARCHIVE", arguments->archive)->required();
  unpack->add_option("--to", arguments->target,
                     "Directory for the project's one (without it: where this workstation keeps projects), or for the "
                     "files of a plain archive");
  unpack->callback([&selected, arguments] {
    selected = [arguments](Context& context) { return unpackArchive(context, *arguments); };
  });
}

}  // namespace

void addArchiveCommands(CLI::App& app, Action& selected) {
  addPack(app, selected);
  addUnpack(app, selected);
  auto arguments = std::make_shared<InspectArguments>();
  auto* command = app.add_subcommand("inspect", "Tell what an archive holds, and whether it can be unpacked");
  command->add_option("ARCHIVE", arguments->archive)->required();
  command->add_flag("-l,--list", arguments->lists, "List the entries");
  command->add_flag("--check", arguments->checks, "Read all content, and compare it with its check sums");
  command->callback(
      [&selected, arguments] { selected = [arguments](Context& context) { return inspect(context, *arguments); }; });
}

}  // namespace workstation::program
